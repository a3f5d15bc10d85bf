#include "connection_private.h"

#include <robaxi/kv_frame_stream.h>

#include <memory>
#include <utility>

struct KVFrameStream::Private {
    std::shared_ptr<KVConnection> fConnection;
    std::shared_ptr<robaxi::PictureStream> fStream;  // destroyed before the connection
};

std::shared_ptr<KVFrameStream> KVFrameStream::start(std::shared_ptr<KVConnection> connection,
                                                    const std::string& module,
                                                    const std::string& stream,
                                                    Callbacks callbacks) {
    if (!connection || module.empty() || stream.empty()) {
        throw KVError(KVError::Cause::InvalidArgument,
                      "Watching needs a connection and the names of a module and of a camera.");
    }
    const auto& link = *connection->fPrivate;
    robaxi::Target target = link.fTarget;
    target.fModule = module;
    auto implementation = std::make_shared<Private>();
    implementation->fStream = link.fLink->watch(target, stream, std::move(callbacks));
    implementation->fConnection = std::move(connection);
    return std::shared_ptr<KVFrameStream>(new KVFrameStream(std::move(implementation)));
}

KVFrameStream::KVFrameStream(std::shared_ptr<Private> implementation)
    : fPrivate(std::move(implementation)) {
}

KVFrameStream::~KVFrameStream() {
    stop();
}

void KVFrameStream::requestKeyFrame() {
    fPrivate->fStream->requestKeyFrame();
}

void KVFrameStream::stop() {
    fPrivate->fStream->stop();
}

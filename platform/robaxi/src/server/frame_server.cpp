#include "server/frame_server.h"

#include <algorithm>
#include <utility>

namespace robaxi {

FrameServer::FrameServer(Server& server, grpc::CallbackServerContext* context)
    : ServerStream(server, context), fPool(server.calls()) {
}

FrameServer::~FrameServer() = default;

void FrameServer::xHandle() {
    if (fRequest.has_start()) {
        xStartWatching(fRequest.start());
    }
    const std::lock_guard lock(fMutex);
    fReceived = std::max(fReceived, fRequest.received());
}

void FrameServer::xStartWatching(const v1::WatchStart& start) {
    if (fSource) {
        xEnd(KVError::Cause::InvalidArgument, "watching was started twice");
        return;
    }
    const auto module = xJoin(start);
    if (!module) {
        return;
    }
    const auto frames = module->getFrames();
    if (!frames) {
        xEnd(KVError::Cause::NoSuchStream, {});
        return;
    }
    {
        const std::lock_guard lock(fMutex);
        fStream = start.stream();
        fSource = frames->getPrivate();
    }
    if (!fSource->addWatcher(fStream, this)) {
        xEnd(KVError::Cause::NoSuchStream, fStream);
    }
}

void FrameServer::xLeave() {
    if (fSource) {
        fSource->removeWatcher(fStream, this);
    }
}

void FrameServer::framePublished() {
    xWake();
}

void FrameServer::streamRemoved() {
    xEnd(KVError::Cause::NoSuchStream, "the robot has taken it away");
}

void FrameServer::xPump() {
    if (!xEndsNow()) {
        xSend();
    }
}

void FrameServer::OnWriteDone(bool ok) {
    const GrpcReaction reaction(this);
    takeFromGrpc(&fUpdate);
    fUpdate.Clear();
    if (fGate.leave()) {
        xFinishWhen(true);
    } else if (!ok) {
        xFinishWhen(fGate.close());
    } else {
        xSend();
    }
}

void FrameServer::xSend() {
    fIsWanted = true;
    while (fIsWanted && fGate.enter()) {
        fIsWanted = false;
        if (xCompose()) {
            xStartWrite();
            return;
        }
        if (fGate.leave()) {
            xFinishWhen(true);
            return;
        }
    }
}

bool FrameServer::xCompose() {
    std::shared_ptr<KVFrameSource::Private> source;
    {
        const std::lock_guard lock(fMutex);
        source = fSource;
    }
    if (!fFrame && source && xHasCredit()) {
        xBegin(source->newestAfter(fStream, fVersion));
    }
    if (!fFrame) {
        return false;
    }
    fUpdate = fFrame->next();
    if (fFrame->isComplete()) {
        fFrame.reset();
    }
    return true;
}

void FrameServer::xBegin(const std::optional<KVFrameSource::Private::Newest>& newest) {
    if (!newest) {
        return;
    }
    if (newest->fFrame.fSize > fServer.limits().fFrame) {
        xEnd(KVError::Cause::TooLarge, "a frame of the camera");
        return;
    }
    fVersion = newest->fVersion;
    fFrame = std::make_unique<FrameSplitter>(newest->fFrame, fPool);
    ++fSent;
}

bool FrameServer::xHasCredit() {
    const std::lock_guard lock(fMutex);
    return fSent < fReceived + limits::a_framesInFlight;
}

}  // namespace robaxi

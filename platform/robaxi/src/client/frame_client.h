#ifndef ROBAXI_FRAME_CLIENT_H
#define ROBAXI_FRAME_CLIENT_H

#include "client/client_stream.h"
#include "wire/frame_codec.h"

#include <robaxi/kv_frame_stream.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace robaxi {

/**
 * The client's end of one watched camera.
 *
 * Frames are read and assembled on gRPC's thread even while a callback is busy; the single slot
 * for a waiting frame always holds the newest.
 */
class FrameClient : public ClientStream<Stream, grpc::ByteBuffer, grpc::ByteBuffer> {
  public:
    FrameClient(const std::shared_ptr<Runtime>& runtime, std::shared_ptr<ClientSession> session,
                Target target, std::string stream, KVFrameStream::Callbacks callbacks);
    ~FrameClient() override;

    void start();

  private:
    void xOpen(ClientTransport& transport, grpc::ClientContext* context) override;
    bool xTakeRequest(grpc::ByteBuffer& request) override;
    v1::Error::Cause xNotFound() const override { return v1::Error::NO_SUCH_STREAM; }
    void xReceived() override;
    void xTellEnd(const KVError& error) override;
    void xKeep(KVFrame frame);
    void xDeliver();

    const std::string fStream;
    const KVFrameStream::Callbacks fCallbacks;
    FrameAssembler fAssembler;  // used on gRPC's thread only

    // Guarded by fMutex:
    std::optional<v1::WatchRequest> fNextRequest;
    std::uint64_t fReceived = 0;                                  // on this call
    std::optional<std::pair<std::uint64_t, std::int64_t>> fLast;  // number and time of a frame
    std::optional<KVFrame> fWaiting;
    std::uint64_t fPassedOver = 0;
};

}  // namespace robaxi

#endif

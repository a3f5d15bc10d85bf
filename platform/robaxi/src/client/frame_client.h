#ifndef ROBAXI_FRAME_CLIENT_H
#define ROBAXI_FRAME_CLIENT_H

#include "client/client_stream.h"
#include "wire/frame_codec.h"

#include <robaxi/kv_frame_chain.h>
#include <robaxi/kv_frame_stream.h>

#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>

namespace robaxi {

/**
 * The client's end of one watched camera.
 *
 * Frames are read and assembled on gRPC's thread even while a callback is busy; only the newest
 * waits, or of H.264 the frames up to it.
 */
class FrameClient : public ClientStream<PictureStream, grpc::ByteBuffer, grpc::ByteBuffer> {
  public:
    FrameClient(const std::shared_ptr<Runtime>& runtime, std::shared_ptr<ClientSession> session,
                Target target, std::string stream, KVFrameStream::Callbacks callbacks);
    ~FrameClient() override;

    void start();
    void requestKeyFrame() override;

  private:
    /** The fields by which a frame is recognised. */
    struct Identity {
        std::uint64_t fNumber = 0;
        std::int64_t fTime = 0;
        std::uint64_t fSequence = 0;  // 0 unless H.264
    };

    void xOpen(ClientTransport& transport, grpc::ClientContext* context) override;
    bool xTakeRequest(grpc::ByteBuffer& request) override;
    v1::Error::Cause xNotFound() const override { return v1::Error::NO_SUCH_STREAM; }
    void xReceived() override;
    void xTellEnd(const KVError& error) override;
    void xKeep(KVFrame frame);
    bool xIsRepeated(const KVFrame& frame);
    void xQueue(KVFrame frame);
    bool xRequestKeyFrame();
    bool xDeliverOne();
    void xDeliver();

    const std::string fStream;
    const KVFrameStream::Callbacks fCallbacks;
    const std::size_t fMostBytes;  // of a frame, and of those that wait
    FrameAssembler fAssembler;     // used on gRPC's thread only

    // Guarded by fMutex:
    std::optional<v1::WatchRequest> fNextRequest;
    std::uint64_t fReceived = 0;  // on this call
    Identity fLast;               // the newest frame
    bool fMayRepeat = false;      // every frame of this call was received on a former one
    std::deque<KVFrame> fWaiting;
    bool fIsDelivering = false;  // xDeliver() is posted or running
    KVFrameChain fChain;         // of the frames that were queued
    bool fIsKeyWanted = false;   // not requested yet
    std::chrono::steady_clock::time_point fKeyRequested;
    std::uint64_t fPassedOver = 0;
};

}  // namespace robaxi

#endif

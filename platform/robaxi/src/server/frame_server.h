#ifndef ROBAXI_FRAME_SERVER_H
#define ROBAXI_FRAME_SERVER_H

#include "frame_source_private.h"
#include "server/server_stream.h"
#include "wire/frame_codec.h"

#include <atomic>
#include <memory>
#include <optional>
#include <string>

namespace robaxi {

/**
 * The robot's end of one watched camera.
 *
 * It keeps no queue: whenever it may send (the last write is done, the client has received enough),
 * it takes the next frame from the source. The publisher's thread only wakes it; a frame is started
 * on the timer thread or on one of gRPC's, and its further parts follow when gRPC reports that the
 * last one was sent.
 */
class FrameServer : public ServerStream<v1::WatchRequest>, private KVFrameSource::Private::Watcher {
  public:
    FrameServer(Server& server, grpc::CallbackServerContext* context);
    ~FrameServer() override;

    Kind kind() const override { return Kind::Camera; }

    void OnWriteDone(bool ok) override;

  private:
    void framePublished() override;
    void streamRemoved() override;

    void xHandle() override;
    void xPump() override;
    void xLeave() override;
    void xStartWatching(const v1::WatchStart& start);
    void xSend();
    bool xCompose();
    void xBeginNext(KVFrameSource::Private& source);
    std::uint64_t xInFlight();

    const std::shared_ptr<TaskPool> fPool;
    /** A frame was requested while another thread was sending. */
    std::atomic<bool> fIsWanted{false};

    // Set once, by the first request, with fMutex held:
    std::string fStream;
    std::shared_ptr<KVFrameSource::Private> fSource;

    std::uint64_t fReceived = 0;  // guarded by fMutex

    // Used inside the gate only:
    std::unique_ptr<FrameSplitter> fFrame;  // being sent
    std::uint64_t fSent = 0;
    std::uint64_t fVersion = 0;
};

}  // namespace robaxi

#endif

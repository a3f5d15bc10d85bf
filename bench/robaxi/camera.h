#ifndef OBVISTA_BENCH_ROBAXI_CAMERA_H
#define OBVISTA_BENCH_ROBAXI_CAMERA_H

#include <robaxi/kv_connection.h>
#include <robaxi/kv_frame_source.h>
#include <robaxi/kv_frame_stream.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <future>
#include <memory>
#include <thread>

class KVBroker;

namespace bench {

constexpr std::size_t a_bytesOfPixel = 3;

/** A broker's camera: publishes the same RGB frame repeatedly while it has watchers. */
class Camera {
  public:
    /** Create one for each broker. @param period from one frame to the next */
    Camera(KVBroker& broker, std::uint32_t width, std::uint32_t height,
           std::chrono::microseconds period);
    ~Camera();
    Camera(const Camera&) = delete;
    Camera& operator=(const Camera&) = delete;

  private:
    const std::shared_ptr<KVFrameSource> fSource;
    std::atomic<bool> fStop{false};
    std::thread fThread;
};

/** Watches the far end's camera and counts the received frames. */
class Watcher {
  public:
    /** Returns when the first frame has arrived. @throws std::runtime_error if none arrives */
    explicit Watcher(const std::shared_ptr<KVConnection>& connection);

    /** Returns the bytes of all received frames. */
    const std::atomic<std::uint64_t>& bytes() const { return fBytes; }
    std::uint64_t frames() const { return fFrames; }
    /** Returns the number of frames since the first one that were replaced by newer ones. */
    std::uint64_t framesLeftOut() const { return fFramesLeftOut; }

  private:
    void xTake(const KVFrame& frame, std::uint64_t passedOver);

    std::atomic<std::uint64_t> fBytes{0};
    std::atomic<std::uint64_t> fFrames{0};
    std::atomic<std::uint64_t> fFramesLeftOut{0};
    std::uint64_t fLastNumber = 0;
    std::promise<void> fFirst;
    const std::shared_ptr<KVFrameStream> fStream;
};

}  // namespace bench

#endif

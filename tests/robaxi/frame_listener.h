#ifndef OBVISTA_TESTS_ROBAXI_FRAME_LISTENER_H
#define OBVISTA_TESTS_ROBAXI_FRAME_LISTENER_H

#include <robaxi/kv_frame_source.h>
#include <robaxi/kv_frame_stream.h>

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <vector>

namespace robaxi_test {

/** Records the frames of a watched camera, so that a test can wait for them. */
class FrameListener {
  public:
    /** Returns functions that record here; they must not be called after this object is gone. */
    KVFrameStream::Callbacks callbacks();

    /** Called before a frame is recorded, without any lock. Set it before the stream starts. */
    std::function<void()> fOnFrame;

    bool waitUntil(const std::function<bool()>& condition);
    bool waitForFrame(std::uint64_t number);
    bool waitForEnd();

    /**
     * @name Results so far; only under waitUntil() or after the end
     */
    ///@{
    std::optional<KVFrame> fLast;
    std::vector<std::uint64_t> fNumbers;
    std::uint64_t fPassedOver = 0;
    std::optional<KVError> fEnd;
    ///@}

    KVFrame last();
    std::size_t count();

  private:
    std::mutex fMutex;
    std::condition_variable fChanged;
};

/** Creates a frame of that size whose bytes depend on their position and the frame's number. */
KVFrame makeFrame(std::uint64_t number, std::size_t size);
bool hasBytesOf(const KVFrame& frame, std::uint64_t number);

/**
 * Publishes H.264 frames of the camera "head" with these numbers and sequence numbers, 20 a second
 * by their time stamps. Only the first one may be a key frame.
 */
void publishH264(KVFrameSource& source, std::uint64_t first, std::uint64_t last,
                 bool beginsWithKey = false);
/** Waits until a client needs a key frame of the camera "head". */
bool waitForKeyFrameRequest(KVFrameSource& source);

}  // namespace robaxi_test

#endif

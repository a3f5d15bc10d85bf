#ifndef OBVISTA_TOOLS_ROBAXI_SNAPSHOT_FRESH_FRAME_H
#define OBVISTA_TOOLS_ROBAXI_SNAPSHOT_FRESH_FRAME_H

#include "process/bell.h"

#include <robaxi/kv_frame_stream.h>

#include <exception>
#include <mutex>
#include <optional>

namespace robaxi_tool {

/**
 * Waits for one frame of a camera that was not there before.
 *
 * A stream begins with the newest frame that the robot has, which may be of yesterday: a camera
 * that nobody watches may rest. The clocks of robot and computer differ, so its time does not tell.
 * Only the frame after it is known to be new.
 */
class FreshFrame : public KVFrameStream::Listener {
  public:
    /** @param bell rung when something of what follows changes */
    explicit FreshFrame(Bell& bell) : fBell(bell) {}

    // On the library's thread.
    void frameReceived(const KVFrame& frame, std::uint64_t passedOver) override;
    void ended(const KVError& error) override;

    struct Result {
        KVFrame fFrame;
        bool fIsNew = false;  ///< not so when the camera stands still
    };

    /**
     * On the command's thread.
     *
     * @param deadline until which a first frame must have come
     * @param patience how long after it a new one is waited for
     * @return nothing when no frame came at all
     * @throws KVError when the stream ended; Interrupted
     */
    std::optional<Result> wait(Clock::time_point deadline, Clock::duration patience);

  private:
    bool xIsOver(const std::optional<KVFrame>& frame) const;

    Bell& fBell;
    mutable std::mutex fMutex;  ///< guards all that follows
    std::optional<KVFrame> fFirst;
    std::optional<KVFrame> fNew;
    std::exception_ptr fEnd;
};

}  // namespace robaxi_tool

#endif

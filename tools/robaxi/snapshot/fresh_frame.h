#ifndef OBVISTA_TOOLS_ROBAXI_SNAPSHOT_FRESH_FRAME_H
#define OBVISTA_TOOLS_ROBAXI_SNAPSHOT_FRESH_FRAME_H

#include "process/bell.h"

#include <robaxi/kv_frame_stream.h>

#include <cstddef>
#include <exception>
#include <mutex>
#include <optional>
#include <vector>

namespace robaxi_tool {

/**
 * Waits for a new frame of a camera.
 *
 * A stream begins with the newest frame that the robot has, which may be a day old: a camera
 * without watchers may rest. The clocks of robot and computer differ, so its time stamp cannot show
 * that. Only the following frame is known to be new, or of H.264 one that comes later than all the
 * frames that a robot keeps.
 */
class FreshFrame {
  public:
    /** @param bell rung when any of the results changes */
    explicit FreshFrame(Bell& bell) : fBell(bell) {}

    /** Returns the functions below, for a stream that this object outlives. */
    KVFrameStream::Callbacks callbacks();

    // Called on the library's thread.
    void frameReceived(const KVFrame& frame);
    void ended(const KVError& error);

    struct Result {
        KVFrame fFrame;
        bool fIsNew = false;           ///< false if the camera has stopped
        std::vector<KVFrame> fBefore;  ///< H.264 frames that the frame needs, in their order
    };

    /**
     * Waits for the frame, on the command's thread.
     *
     * @param deadline for the first frame
     * @param patience time to wait for a new frame after it
     * @return nothing if there was no frame
     * @throws KVError if the stream ended; Interrupted
     */
    std::optional<Result> wait(Clock::time_point deadline, Clock::duration patience);

  private:
    bool xIsNew(const KVFrame& frame) const;

    Bell& fBell;
    mutable std::mutex fMutex;  ///< guards the following members
    std::optional<KVFrame> fFirst;
    std::size_t fReceived = 0;
    std::vector<KVFrame>
        fFrames;          ///< the newest is the last; the H.264 frames that it needs before it
    bool fIsNew = false;  ///< the newest
    std::exception_ptr fEnd;
};

}  // namespace robaxi_tool

#endif

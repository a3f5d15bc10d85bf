#ifndef OBVISTA_CAMERAVIEWER_FRAME_FEED_H
#define OBVISTA_CAMERAVIEWER_FRAME_FEED_H

#include <picture/frame_check.h>
#include <picture/jpeg.h>
#include <robaxi/kv_frame_stream.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>

namespace obvista {
class Notice;
}

namespace cameraviewer {

class PictureWorker;

/** Counters of frames since the viewer was opened. */
struct FeedCounts {
    std::uint64_t fReceived = 0;  ///< frames that reached this computer
    std::uint64_t fBytes = 0;     ///< of the frames that were checked
    /**
     * Frames that the camera took while it was watched and that are not displayed: not sent,
     * skipped on the way, or replaced while they waited to be decoded.
     */
    std::uint64_t fDropped = 0;
    std::map<picture::FrameFault, std::uint64_t> fFaults;  ///< frames that cannot be shown
};

/** State of the watched camera's stream. */
struct FeedState {
    using Clock = std::chrono::steady_clock;

    Clock::time_point fStarted;                 ///< start of watching
    std::optional<Clock::time_point> fArrived;  ///< time of the last frame, valid or not
    picture::FrameFault fFault = picture::FrameFault::None;  ///< of the last frame
    std::optional<KVError> fEnd;                             ///< reason for the end of the stream
    Clock::time_point fEnded;                                ///< time of the end
};

/**
 * Receives the frames of one camera at a time on the library's threads: checks them, counts them,
 * and passes them on for decoding.
 *
 * Its own operations may be called from any thread.
 */
class FrameFeed {
  public:
    /**
     * Both are used while frames arrive. The notice is given at the stream's end, at the first
     * frame, and at the first faulty one.
     */
    FrameFeed(PictureWorker& worker, obvista::Notice& notice);

    /**
     * Starts watching: resets the state of the stream, but not the counters. Call it while no
     * stream is connected.
     */
    void begin();

    FeedCounts counts() const;
    FeedState state() const;

    /** Counts a frame that failed to decode. */
    void addFault(picture::FrameFault fault);

    using Tap = std::function<void(const picture::CheckedFrame&)>;
    using EndTap = std::function<void(const KVError&)>;
    /**
     * Sets functions that receive every valid frame, and the end of the stream, on a thread of the
     * library; they must not block. Empty functions take effect without delay: no call follows.
     */
    void setTap(Tap tap, EndTap endTap = {});

    /** Returns the functions below, for a stream that this object outlives. */
    KVFrameStream::Callbacks callbacks();

    void frameReceived(const KVFrame& frame, std::uint64_t passedOver);
    void ended(const KVError& error);

  private:
    std::uint64_t xNotSeen(const KVFrame& frame, std::uint64_t passedOver) const;

    PictureWorker& fWorker;
    obvista::Notice& fNotice;
    picture::JpegReader fReader;  // used by the thread that delivers frames

    mutable std::mutex fMutex;  // guards all members below
    FeedCounts fCounts;
    FeedState fState;
    std::optional<std::uint64_t> fLastNumber;
    std::mutex fTapMutex;
    Tap fTap;
    EndTap fEndTap;
};

}  // namespace cameraviewer

#endif

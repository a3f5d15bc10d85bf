#ifndef OBVISTA_CAMERAVIEWER_FRAME_FEED_H
#define OBVISTA_CAMERAVIEWER_FRAME_FEED_H

#include <robaxi/kv_frame_stream.h>

#include <chrono>
#include <cstdint>
#include <frame_check.h>
#include <functional>
#include <jpeg_reader.h>
#include <map>
#include <mutex>
#include <optional>

namespace cameraviewer {

class Notice;
class PictureWorker;

/** What has come from a robot's cameras since the viewer was opened. */
struct FeedCounts {
    std::uint64_t fReceived = 0;  ///< frames that reached this computer
    std::uint64_t fBytes = 0;     ///< of the frames that were looked at
    /** Frames that the camera took while it was watched and that nobody will see: not sent, passed
     *  over on the way, or overtaken while they waited to be decoded. */
    std::uint64_t fDropped = 0;
    std::map<FrameFault, std::uint64_t> fFaults;  ///< frames that cannot be shown
};

/** How it stands with the camera that is watched. */
struct FeedState {
    using Clock = std::chrono::steady_clock;

    Clock::time_point fStarted;                 ///< when watching began
    std::optional<Clock::time_point> fArrived;  ///< the last frame, good or not
    FrameFault fFault = FrameFault::None;       ///< of the last frame
    std::optional<KVError> fEnd;                ///< why the stream is over
    Clock::time_point fEnded;                   ///< when that was
};

/**
 * Takes the frames of one camera at a time from the library's threads: checks them, counts them,
 * and hands them on to be decoded.
 *
 * The operations of its own may be called from any thread.
 */
class FrameFeed : public KVFrameStream::Listener {
  public:
    /** Both are used while frames come. The notice is given at the stream's end and at the first
     *  frame, and the first faulty one. */
    FrameFeed(PictureWorker& worker, Notice& notice);

    /** Watching begins; what is known of the stream before is forgotten, but not the counts. To be
     *  called while no stream is connected. */
    void begin();

    FeedCounts counts() const;
    FeedState state() const;

    /** A frame could not be decoded after all. */
    void addFault(FrameFault fault);

    /** Sets what gets every good frame, on a thread of the library; it must not block. An empty
     *  function is set without delay and none is called after that. */
    void setTap(std::function<void(const KVFrame&)> tap);

    void frameReceived(const KVFrame& frame, std::uint64_t passedOver) override;
    void ended(const KVError& error) override;

  private:
    std::uint64_t xNotSeen(const KVFrame& frame, std::uint64_t passedOver) const;

    PictureWorker& fWorker;
    Notice& fNotice;
    JpegReader fReader;  // of the thread that brings frames

    mutable std::mutex fMutex;  // guards all below
    FeedCounts fCounts;
    FeedState fState;
    std::optional<std::uint64_t> fLastNumber;
    std::mutex fTapMutex;
    std::function<void(const KVFrame&)> fTap;
};

}  // namespace cameraviewer

#endif

#include "frame_feed.h"

#include "picture_worker.h"

#include <obvista/viewer/notice.h>

#include <utility>

namespace cameraviewer {

using picture::FrameFault;

namespace {

/**
 * A larger step of the frame number is not a gap: the camera has restarted, or the number is
 * invalid.
 */
constexpr std::uint64_t a_maxGap = 100000;

}  // namespace

FrameFeed::FrameFeed(PictureWorker& worker, obvista::Notice& notice)
    : fWorker(worker), fNotice(notice) {
}

void FrameFeed::begin() {
    const std::lock_guard<std::mutex> lock(fMutex);
    fState = FeedState();
    fState.fStarted = FeedState::Clock::now();
    fLastNumber.reset();
}

FeedCounts FrameFeed::counts() const {
    const std::lock_guard<std::mutex> lock(fMutex);
    return fCounts;
}

FeedState FrameFeed::state() const {
    const std::lock_guard<std::mutex> lock(fMutex);
    return fState;
}

void FrameFeed::addFault(picture::FrameFault fault) {
    const std::lock_guard<std::mutex> lock(fMutex);
    ++fCounts.fFaults[fault];
}

void FrameFeed::setTap(Tap tap, EndTap endTap) {
    const std::lock_guard<std::mutex> lock(fTapMutex);
    fTap = std::move(tap);
    fEndTap = std::move(endTap);
}

KVFrameStream::Callbacks FrameFeed::callbacks() {
    return {[this](const KVFrame& frame, std::uint64_t passedOver) {
                frameReceived(frame, passedOver);
            },
            [this](const KVError& error) { ended(error); }};
}

void FrameFeed::frameReceived(const KVFrame& frame, std::uint64_t passedOver) {
    const picture::CheckedFrame checked = check(frame, fReader);
    const FrameFault fault = checked.fault();
    bool isNews = false;
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        isNews = !fState.fArrived || fState.fFault != fault;
        fState.fArrived = FeedState::Clock::now();
        fState.fFault = fault;
        fCounts.fReceived += 1 + passedOver;
        fCounts.fBytes += frame.fSize;
        fCounts.fDropped += xNotSeen(frame, passedOver);
        fLastNumber = frame.fNumber;
        if (fault != FrameFault::None) {
            ++fCounts.fFaults[fault];
        }
    }
    if (isNews) {
        fNotice.give();
    }
    if (fault != FrameFault::None) {
        return;
    }
    {
        const std::lock_guard<std::mutex> lock(fTapMutex);
        if (fTap) {
            fTap(checked);
        }
    }
    if (fWorker.offer(checked)) {
        const std::lock_guard<std::mutex> lock(fMutex);
        ++fCounts.fDropped;
    }
}

void FrameFeed::ended(const KVError& error) {
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        fState.fEnd = error;
        fState.fEnded = FeedState::Clock::now();
    }
    {
        const std::lock_guard<std::mutex> lock(fTapMutex);
        if (fEndTap) {
            fEndTap(error);
        }
    }
    fNotice.give();
}

/** Returns the number of frames between the last one and this one. Called with the lock held. */
std::uint64_t FrameFeed::xNotSeen(const KVFrame& frame, std::uint64_t passedOver) const {
    const bool goesOn =
        fLastNumber && frame.fNumber > *fLastNumber && frame.fNumber - *fLastNumber <= a_maxGap;
    return goesOn ? frame.fNumber - *fLastNumber - 1 : passedOver;
}

}  // namespace cameraviewer

#include "snapshot/fresh_frame.h"

#include <picture/h264.h>
#include <robaxi/kv_frame_chain.h>

#include <cstdint>

namespace robaxi_tool {

namespace {

/** Most H.264 frames that a robot keeps for watchers that come later; see docs/video.md. */
constexpr std::uint64_t a_longestKept = 300'000;  // microseconds
constexpr std::size_t a_mostKept = 64;

}  // namespace

KVFrameStream::Callbacks FreshFrame::callbacks() {
    return {[this](const KVFrame& frame, std::uint64_t /*passedOver*/) { frameReceived(frame); },
            [this](const KVError& error) { ended(error); }};
}

void FreshFrame::frameReceived(const KVFrame& frame) {
    {
        const std::lock_guard lock(fMutex);
        if (fIsNew) {
            return;
        }
        if (!fFirst) {
            fFirst = frame;
        }
        ++fReceived;
        fIsNew = xIsNew(frame);
        // The library passes on only frames that follow the one before.
        if (standsAlone(frame)) {
            fFrames.clear();
        }
        fFrames.push_back(frame);
    }
    fBell.ring();
}

/** Requires fMutex. */
bool FreshFrame::xIsNew(const KVFrame& frame) const {
    if (frame.fFormat != KVPixelFormat::H264 || fFirst->fFormat != KVPixelFormat::H264) {
        return frame.fNumber != fFirst->fNumber;
    }
    // Without a sign there is no overflow; the times are the robot's.
    const std::uint64_t since =
        frame.fTime > fFirst->fTime
            ? static_cast<std::uint64_t>(frame.fTime) - static_cast<std::uint64_t>(fFirst->fTime)
            : 0;
    // Too large a frame ends the wait, since it cannot be shown.
    return since > a_longestKept || fReceived > a_mostKept || frame.fSize > picture::a_maxH264Bytes;
}

void FreshFrame::ended(const KVError& error) {
    {
        const std::lock_guard lock(fMutex);
        fEnd = std::make_exception_ptr(error);
    }
    fBell.ring();
}

std::optional<FreshFrame::Result> FreshFrame::wait(Clock::time_point deadline,
                                                   Clock::duration patience) {
    const bool hasBegun = fBell.waitUntil(deadline, [this] {
        const std::lock_guard lock(fMutex);
        return fFirst || fEnd;
    });
    if (hasBegun) {
        fBell.waitUntil(Clock::now() + patience, [this] {
            const std::lock_guard lock(fMutex);
            return fIsNew || fEnd;
        });
    }
    const std::lock_guard lock(fMutex);
    if (fEnd && !fIsNew) {
        std::rethrow_exception(fEnd);
    }
    if (fFrames.empty()) {
        return std::nullopt;
    }
    return Result{fFrames.back(), fIsNew, {fFrames.begin(), fFrames.end() - 1}};
}

}  // namespace robaxi_tool

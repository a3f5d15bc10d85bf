#include "snapshot/fresh_frame.h"

#include <robaxi/kv_frame_chain.h>

namespace robaxi_tool {

KVFrameStream::Callbacks FreshFrame::callbacks() {
    return {[this](const KVFrame& frame, std::uint64_t /*passedOver*/) { frameReceived(frame); },
            [this](const KVError& error) { ended(error); }};
}

void FreshFrame::frameReceived(const KVFrame& frame) {
    {
        const std::lock_guard lock(fMutex);
        if (!fFirst) {
            fFirst = frame;
        } else if (!fNew && frame.fNumber != fFirst->fNumber) {
            fNew = frame;
        }
    }
    fBell.ring();
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
    const bool hasBegun = fBell.waitUntil(deadline, [this] { return xIsOver(fFirst); });
    if (hasBegun) {
        fBell.waitUntil(Clock::now() + patience, [this] { return xIsOver(fNew); });
    }
    const std::lock_guard lock(fMutex);
    if (fNew) {
        // The library passes on only frames that follow the one before.
        return standsAlone(*fNew) ? Result{*fNew, true, {}} : Result{*fNew, true, {*fFirst}};
    }
    if (fEnd) {
        std::rethrow_exception(fEnd);
    }
    return fFirst ? std::optional<Result>({*fFirst, false, {}}) : std::nullopt;
}

bool FreshFrame::xIsOver(const std::optional<KVFrame>& frame) const {
    const std::lock_guard lock(fMutex);
    return frame || fEnd;
}

}  // namespace robaxi_tool

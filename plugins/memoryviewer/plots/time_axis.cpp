#include "plots/time_axis.h"

#include <algorithm>

namespace memoryviewer {

namespace {

constexpr double a_shortestSpan = 100;
constexpr double a_longestSpan = 100.0 * 366 * 86400 * 1e6;
/** Range of times in 64-bit microseconds. */
constexpr double a_latestTime = 9.2e18;

}  // namespace

void TimeAxis::setNow(double time) {
    fNow = time;
    if (fIsFollowing) {
        xSet(fNow, fSpan);
    }
}

void TimeAxis::setReplay(const ReplayTimes& replay) {
    const bool hasOtherSpan =
        !fReplay || fReplay->fStart != replay.fStart || fReplay->fEnd != replay.fEnd;
    fReplay = replay;
    setNow(replay.fPosition);
    if (hasOtherSpan) {
        show(replay.fStart, replay.fEnd);
    }
    Q_EMIT replayMoved();
}

void TimeAxis::endReplay() {
    fReplay.reset();
    Q_EMIT replayMoved();
}

void TimeAxis::setFollowing(bool isFollowing) {
    if (isFollowing == fIsFollowing) {
        return;
    }
    fIsFollowing = isFollowing;
    Q_EMIT followingChanged(isFollowing);
    if (isFollowing) {
        xSet(fNow, fSpan);
    }
}

void TimeAxis::show(double left, double right) {
    setFollowing(false);
    xSet(right, right - left);
}

void TimeAxis::setSpan(double span) {
    xSet(fRight, span);
}

void TimeAxis::pan(double share) {
    setFollowing(false);
    xSet(fRight + share * fSpan, fSpan);
}

void TimeAxis::zoom(double factor, double anchor) {
    const double fixed = fIsFollowing ? fRight : anchor;
    const double span = std::clamp(fSpan * factor, a_shortestSpan, a_longestSpan);
    xSet(fixed + (fRight - fixed) * (span / fSpan), span);
}

void TimeAxis::setCursor(std::optional<double> time) {
    if (time != fCursor) {
        fCursor = time;
        Q_EMIT cursorMoved();
    }
}

void TimeAxis::xSet(double right, double span) {
    const double newSpan = std::clamp(span, a_shortestSpan, a_longestSpan);
    const double newRight = std::clamp(right, -a_latestTime, a_latestTime);
    if (newRight != fRight || newSpan != fSpan) {
        fRight = newRight;
        fSpan = newSpan;
        Q_EMIT changed();
    }
}

}  // namespace memoryviewer

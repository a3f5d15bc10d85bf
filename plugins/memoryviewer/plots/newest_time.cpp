#include "plots/newest_time.h"

#include <base/time.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace memoryviewer {

namespace {

/** Milliseconds without a sample after which time advances without one. */
constexpr int a_silence = 300;
/**
 * A time further than this from this computer's clock is followed only if there is no better one.
 */
constexpr double a_plausibleDistance = 86400.0 * base::a_microsecondsPerSecond;
constexpr int a_plausibleFor = 2000;

}  // namespace

void NewestTime::take(const std::vector<PlotSample>& samples) {
    const auto here = static_cast<double>(base::microsecondsNow());
    double newest = -std::numeric_limits<double>::infinity();
    double newestPlausible = newest;
    for (const PlotSample& sample : samples) {
        const auto time = static_cast<double>(sample.fTime);
        newest = std::max(newest, time);
        if (std::fabs(time - here) < a_plausibleDistance) {
            newestPlausible = std::max(newestPlausible, time);
        }
    }
    if (std::isfinite(newestPlausible)) {
        newest = newestPlausible;
        fSincePlausible.start();
    } else if (fSincePlausible.isValid() && fSincePlausible.elapsed() < a_plausibleFor) {
        return;
    }
    // Keys of one robot arrive slightly out of order; only a clock that was set goes back further.
    const bool isDisorder = newest < fNewest && fNewest - newest < base::a_microsecondsPerSecond;
    if (!isDisorder) {
        fNewest = newest;
        fSinceSample.start();
    }
}

double NewestTime::at(bool isGoingOn) const {
    const bool isSilent = fSinceSample.isValid() && fSinceSample.elapsed() > a_silence;
    if (!isSilent || !isGoingOn) {
        return fNewest;
    }
    return fNewest + static_cast<double>(fSinceSample.elapsed() - a_silence) *
                         base::a_microsecondsPerMillisecond;
}

double NewestTime::hold(bool isGoingOn) {
    fNewest = at(isGoingOn);
    return fNewest;
}

void NewestTime::takeBack(bool isGoingOn, double latest) {
    fNewest = std::min(at(isGoingOn), std::max(fNewest, latest));
}

}  // namespace memoryviewer

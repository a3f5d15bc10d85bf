#include <algorithm>
#include <matroska/recording_clock.h>

namespace matroska {
namespace {

/** For frames that arrive at the same time: the resolution of the files. */
constexpr std::int64_t a_leastStep = 1000;

/** Returns the positive difference of the stamps; nothing if it is negative or overflows. */
std::optional<std::int64_t> stepForward(std::int64_t from, std::int64_t to) {
    std::int64_t step = 0;
    if (__builtin_sub_overflow(to, from, &step) || step <= 0) {
        return std::nullopt;
    }
    return step;
}

}  // namespace

std::int64_t RecordingClock::next(std::int64_t stamp, std::int64_t arrival) {
    if (!fLast) {
        fLast = Frame{stamp, arrival, 0};
        return 0;
    }
    const std::int64_t waited = std::max(arrival - fLast->fArrival, a_leastStep);
    const std::optional<std::int64_t> step = stepForward(fLast->fStamp, stamp);
    const bool isBelieved = step && *step >= waited - a_tolerance && *step <= waited + a_tolerance;
    fLast = Frame{stamp, arrival, fLast->fTime + (isBelieved ? *step : waited)};
    return fLast->fTime;
}

}  // namespace matroska

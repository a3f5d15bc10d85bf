#ifndef BASE_TIME_H
#define BASE_TIME_H

#include <chrono>
#include <cstdint>
#include <string>

/** Times exchanged by robots and programs: microseconds since 1970-01-01 UTC. */
namespace base {

constexpr std::int64_t a_microsecondsPerSecond = 1'000'000;
constexpr std::int64_t a_microsecondsPerMillisecond = 1'000;
constexpr std::int64_t a_nanosecondsPerMicrosecond = 1'000;
/** The last microsecond of the year 9999. */
constexpr std::int64_t a_latestTime = 253'402'300'799'999'999;

/** Converts seconds to the unit of the steady clock, which can represent some 290 years. */
constexpr std::chrono::steady_clock::duration steadyDuration(double seconds) {
    return std::chrono::duration_cast<std::chrono::steady_clock::duration>(
        std::chrono::duration<double>(seconds));
}

/** Returns the time of this machine's clock, which may be set back and forth. */
std::int64_t microsecondsNow();

/** Clamps a time from a peer to the years 1970 to 9999, so that calculations with it do not
 *  overflow. */
std::int64_t withinCalendar(std::int64_t microseconds);

/** Returns for instance "2024-05-01T12:34:56.789012Z", or an empty text outside the years 0 to
 *  9999. */
std::string utcText(std::int64_t microseconds);

/** Returns utcText() without punctuation for a file name, for instance "20240501T123456789012";
 *  outside those years, the number of microseconds since 1970. */
std::string fileTimeText(std::int64_t microseconds);

}  // namespace base

#endif

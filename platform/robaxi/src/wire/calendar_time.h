#ifndef ROBAXI_CALENDAR_TIME_H
#define ROBAXI_CALENDAR_TIME_H

#include <algorithm>
#include <cstdint>

namespace robaxi {

/** The last microsecond of the year 9999. */
constexpr std::int64_t a_latestTime = 253'402'300'799'999'999;

/** Brings a time that a peer sent into the years 1970 to 9999, so that whoever computes with it
 *  need not fear an overflow. */
inline std::int64_t withinCalendar(std::int64_t microseconds) {
    return std::clamp<std::int64_t>(microseconds, 0, a_latestTime);
}

}  // namespace robaxi

#endif

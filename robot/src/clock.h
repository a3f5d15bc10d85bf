#ifndef OBVISTA_ROBOT_CLOCK_H
#define OBVISTA_ROBOT_CLOCK_H

#include <chrono>
#include <cstdint>

namespace robot {

/** Microseconds since 1970-01-01 UTC by the robot's clock. */
inline std::int64_t microsecondsNow() {
    return std::chrono::duration_cast<std::chrono::microseconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

}  // namespace robot

#endif

#include "deadline.h"

#include <base/time.h>
#include <robaxi/kv_error.h>

#include <algorithm>
#include <limits>
#include <string>

namespace robaxi {

Deadline deadlineAfter(double timeOut) {
    if (!(timeOut > 0)) {
        throw KVError(KVError::Cause::InvalidArgument, "A time-out must be longer than 0 seconds.");
    }
    constexpr double longest = 1e9;  // some thirty years, within the range of the clock
    return Clock::now() + base::steadyDuration(std::min(timeOut, longest));
}

int millisecondsUntil(Deadline deadline) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    return static_cast<int>(std::clamp<std::int64_t>(left, 0, std::numeric_limits<int>::max()));
}

void checkPort(int port) {
    constexpr int highestPort = 65535;
    if (port < 1 || port > highestPort) {
        throw KVError(KVError::Cause::InvalidArgument,
                      "A port is a number from 1 to 65535; " + std::to_string(port) + " is not.");
    }
}

}  // namespace robaxi

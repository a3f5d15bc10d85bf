#ifndef ROBAXI_DEADLINE_H
#define ROBAXI_DEADLINE_H

#include <robaxi/robaxi_export.h>

#include <chrono>

namespace robaxi {

using Clock = std::chrono::steady_clock;
using Deadline = Clock::time_point;

/**
 * Returns the time at the end of a time-out that starts now.
 *
 * @param timeOut seconds
 * @throws KVError InvalidArgument if it is not above 0
 */
ROBAXI_EXPORT Deadline deadlineAfter(double timeOut);

/** Returns the milliseconds until a deadline, rounded up, for poll(); 0 if it has passed. */
ROBAXI_EXPORT int millisecondsUntil(Deadline deadline);

/** @throws KVError InvalidArgument if a port is not from 1 to 65535 */
void checkPort(int port);

}  // namespace robaxi

#endif

#ifndef ROBAXI_DEADLINE_H
#define ROBAXI_DEADLINE_H

#include <chrono>

namespace robaxi {

using Clock = std::chrono::steady_clock;
using Deadline = Clock::time_point;

/**
 * The instant a time-out from now.
 *
 * @param timeOut seconds
 * @throws KVError InvalidArgument when it is not above 0
 */
Deadline deadlineAfter(double timeOut);

/** Milliseconds until a deadline, rounded up, as poll() takes them; 0 when it has passed. */
int millisecondsUntil(Deadline deadline);

/** @throws KVError InvalidArgument when a port is not from 1 to 65535 */
void checkPort(int port);

}  // namespace robaxi

#endif

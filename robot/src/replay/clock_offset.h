#ifndef OBVISTA_ROBOT_REPLAY_CLOCK_OFFSET_H
#define OBVISTA_ROBOT_REPLAY_CLOCK_OFFSET_H

#include <cstdint>
#include <recording/reader.h>
#include <set>

namespace robot {

/**
 * Returns the recorder's clock minus the robot's in nanoseconds, as estimated from some messages of
 * a recording: the shortest time from a change at the robot to its recording. 0 if there are no
 * messages to tell.
 *
 * A time that is more than a day off counts only if there is no better one. A channel's first
 * message does not count, since it may have a value of long ago.
 */
std::int64_t clockOffset(recording::Reader& reader, const std::set<std::uint16_t>& channels);

}  // namespace robot

#endif

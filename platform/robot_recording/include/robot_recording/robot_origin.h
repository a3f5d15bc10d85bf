#ifndef ROBOT_RECORDING_ROBOT_ORIGIN_H
#define ROBOT_RECORDING_ROBOT_ORIGIN_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <recording/records.h>
#include <string>

namespace robot_recording {

/** Most bytes of a description in a recording; a longer one is cut off. */
constexpr std::size_t a_longestText = 1000;
/** Time-out of the download of a robot's icon, for which nothing waits. */
constexpr std::chrono::seconds a_iconTimeout(10);

/** The robot that messages come from. */
struct RobotOrigin {
    std::string fName;  ///< unique in the recording
    std::string fHost;  ///< as the user wrote it
    std::string fAddress;
    int fPort = 0;
};

/** Returns the beginning of a robot's topics: "/robot1", or "/robot" without a name. A name has no
 *  levels, so '/' becomes '_'. */
std::string topicPrefix(std::string robot);

/** Returns the record that describes a robot. */
recording::Metadata robotMetadata(const RobotOrigin& origin);

/** Returns the robot's icon as a file of the recording. */
recording::Attachment robotIcon(const std::string& robot, std::string bytes);

/** Converts microseconds since 1970, which are not negative, to a time of a message. */
std::uint64_t messageTime(std::int64_t microseconds);

/** Returns the present time of this computer, for a message. */
std::uint64_t logTimeNow();

}  // namespace robot_recording

#endif

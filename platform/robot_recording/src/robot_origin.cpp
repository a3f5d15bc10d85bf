#include <base/time.h>

#include <algorithm>
#include <robot_recording/robot_origin.h>
#include <utility>

namespace robot_recording {

std::string topicPrefix(std::string robot) {
    std::replace(robot.begin(), robot.end(), '/', '_');
    return '/' + (robot.empty() ? "robot" : robot);
}

recording::Metadata robotMetadata(const RobotOrigin& origin) {
    return {"robot",
            {{"name", origin.fName},
             {"topics", topicPrefix(origin.fName)},
             {"host", origin.fHost},
             {"address", origin.fAddress},
             {"port", std::to_string(origin.fPort)}}};
}

recording::Attachment robotIcon(const std::string& robot, std::string bytes) {
    return {logTimeNow(), 0, robot + "/icon", "application/octet-stream", std::move(bytes)};
}

std::uint64_t messageTime(std::int64_t microseconds) {
    return static_cast<std::uint64_t>(microseconds) * base::a_nanosecondsPerMicrosecond;
}

std::uint64_t logTimeNow() {
    return messageTime(base::microsecondsNow());
}

}  // namespace robot_recording

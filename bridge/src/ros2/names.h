#ifndef OBVISTA_BRIDGE_ROS2_NAMES_H
#define OBVISTA_BRIDGE_ROS2_NAMES_H

#include <string>
#include <string_view>

namespace bridge {

/** Returns "/joint_states" for DDS's "rt/joint_states"; empty for what is no topic of ROS 2, such
 *  as a service. */
std::string rosTopic(std::string_view ddsTopic);
std::string ddsTopic(std::string_view rosTopic);

/** Returns "sensor_msgs/msg/Imu" for DDS's "sensor_msgs::msg::dds_::Imu_"; other names as they
 *  are. */
std::string rosType(std::string_view ddsType);
std::string ddsType(std::string_view rosType);

/** Returns the part of a topic's name up to the last "/". */
std::string folderOf(const std::string& topic);

/** Returns true if a topic's name matches a pattern, in which "*" stands for any characters. */
bool matches(std::string_view pattern, std::string_view topic);

}  // namespace bridge

#endif

#ifndef ROS2_MESSAGE_MESSAGE_TABLE_H
#define ROS2_MESSAGE_MESSAGE_TABLE_H

#include <memory>
#include <ros2_message/message_type.h>
#include <string>
#include <vector>

namespace ros2_message {

/** Returns a type of ROS 2's common packages, for instance "sensor_msgs/msg/Imu"; null for any
 *  other. May be called from any thread. */
std::shared_ptr<const MessageType> knownType(const std::string& name);

/** Returns the names of the known types. */
std::vector<std::string> knownTypes();

}  // namespace ros2_message

#endif

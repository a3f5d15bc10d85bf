#ifndef ROS2_MESSAGE_MESSAGE_SCHEMA_H
#define ROS2_MESSAGE_MESSAGE_SCHEMA_H

#include <memory>
#include <ros2_message/message_type.h>
#include <string>
#include <string_view>

namespace ros2_message {

/**
 * Returns the type that a recording describes as "ros2msg": the definition of the message and,
 * behind lines of "=" and "MSG: PACKAGE/TYPE", those of the types that it uses. The text is not
 * trusted.
 *
 * Types that knownType() describes alike are the known ones, with their units and the names of
 * their elements.
 *
 * @param name of the message, for instance "sensor_msgs/msg/Imu"
 * @throws std::runtime_error with a sentence if it does not describe the message
 */
std::shared_ptr<const MessageType> typeOfSchema(const std::string& name, std::string_view text);

}  // namespace ros2_message

#endif

#ifndef OBVISTA_BRIDGE_ROS2_STD_VALUE_H
#define OBVISTA_BRIDGE_ROS2_STD_VALUE_H

#include <robaxi/kv_value.h>

#include <ros2_message/message_type.h>
#include <vector>

namespace bridge {

/** Returns true for the messages of std_msgs with one number, bool or text. */
bool isStdValue(const ros2_message::MessageType& type);

/** Returns the value of a new message of such a type: 0, false or empty. */
KVValue initialStdValue(const ros2_message::MessageType& type);

/**
 * Returns the message of such a type with a value, in CDR.
 *
 * @throws KVError if the value has another type or is out of range
 */
std::vector<unsigned char> stdMessage(const ros2_message::MessageType& type, const KVValue& value);

}  // namespace bridge

#endif

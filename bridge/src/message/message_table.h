#ifndef OBVISTA_BRIDGE_MESSAGE_MESSAGE_TABLE_H
#define OBVISTA_BRIDGE_MESSAGE_MESSAGE_TABLE_H

#include "message/message_type.h"

#include <memory>
#include <string>
#include <vector>

namespace bridge {

/** Returns a type of ROS 2's common packages, for instance "sensor_msgs/msg/Imu"; null for any
 *  other. May be called from any thread. */
std::shared_ptr<const MessageType> knownType(const std::string& name);

/** Returns the names of the known types. */
std::vector<std::string> knownTypes();

}  // namespace bridge

#endif

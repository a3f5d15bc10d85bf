#ifndef OBVISTA_BRIDGE_ROS2_TYPE_DESCRIPTION_H
#define OBVISTA_BRIDGE_ROS2_TYPE_DESCRIPTION_H

#include <dds/dds.h>
#include <memory>
#include <ros2_message/message_type.h>
#include <string>

namespace bridge {

/** Returns a copy of what a writer has sent. */
std::shared_ptr<const dds_typeinfo_t> copyOf(const dds_typeinfo_t* info);

/**
 * Returns the type that a writer has described (DDS-XTypes): of numbers, bools, texts, and
 * structures, arrays and sequences of these. Null if it has a part of another kind, if the writer
 * does not answer, and for more fields and deeper nesting than any type needs. Waits up to a second
 * for each part.
 *
 * @param name of the type for users
 */
std::shared_ptr<const ros2_message::MessageType> describedType(dds_entity_t participant,
                                                               const dds_typeinfo_t* info,
                                                               const std::string& name);

}  // namespace bridge

#endif

#ifndef OBVISTA_BRIDGE_ROS2_TOPIC_WRITER_H
#define OBVISTA_BRIDGE_ROS2_TOPIC_WRITER_H

#include "ros2/domain.h"
#include "ros2/raw_type.h"

#include <robaxi/kv_value.h>

#include <memory>
#include <ros2_message/message_type.h>
#include <string>

namespace bridge {

/** Writes values to a topic of one number, bool or text of std_msgs. */
class TopicWriter {
  public:
    /** @param topic, type names in DDS @throws std::runtime_error */
    TopicWriter(dds_entity_t participant, const std::string& topic, const std::string& type,
                std::shared_ptr<const ros2_message::MessageType> message);

    const std::shared_ptr<const ros2_message::MessageType>& message() const { return fMessage; }

    /** Publishes a value; called from any thread. @throws KVError */
    void write(const KVValue& value) const;

  private:
    const std::shared_ptr<const ros2_message::MessageType> fMessage;
    const RawTopic fTopic;
    const Entity fTopicEntity;
    const Entity fWriter;
};

}  // namespace bridge

#endif

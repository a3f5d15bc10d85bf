#include "ros2/topic_writer.h"

#include "ros2/qos_policies.h"
#include "ros2/std_value.h"

#include <robaxi/kv_error.h>

#include <utility>

namespace bridge {

using ros2_message::MessageType;

TopicWriter::TopicWriter(dds_entity_t participant, const std::string& topic,
                         const std::string& type, std::shared_ptr<const MessageType> message)
    : fMessage(std::move(message)),
      fTopic(createRawTopic(participant, topic, type, std::make_shared<Arrivals>())),
      fTopicEntity(created(fTopic.fEntity, "a topic")),
      fWriter(created(
          dds_create_writer(participant, fTopicEntity.get(), makeWriterQos().get(), nullptr),
          "a writer")) {
}

void TopicWriter::write(const KVValue& value) const {
    const dds_return_t written = writeRaw(fWriter.get(), fTopic, stdMessage(*fMessage, value));
    if (written < 0) {
        throw KVError(KVError::Cause::RaisedByModule,
                      std::string("DDS has not sent it: ") + dds_strretcode(written) + ".");
    }
}

}  // namespace bridge

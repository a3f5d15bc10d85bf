#ifndef RECORDED_ROBOT_PARSED_SCHEMAS_H
#define RECORDED_ROBOT_PARSED_SCHEMAS_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <recorded_robot/protobuf_fields.h>
#include <recording/records.h>
#include <ros2_message/message_type.h>
#include <string>

namespace recorded_robot {

/**
 * The schemas of a recording, each of which is parsed once for all channels that have it. What they
 * describe takes many times their bytes in memory, so that only some megabytes of them are used.
 *
 * For one thread at a time. What it returns may be used from any thread, and outlives it.
 */
class ParsedSchemas {
  public:
    /** @throws std::runtime_error with the reason for which the schema cannot be used */
    std::shared_ptr<const ProtobufFields> protobuf(const recording::Schema& schema);
    /** @throws std::runtime_error with the reason for which the schema cannot be used */
    std::shared_ptr<const ros2_message::MessageType> ros2(const recording::Schema& schema);

  private:
    template <typename Parsed>
    struct Known {
        std::shared_ptr<const Parsed> fParsed;
        std::string fReason;  ///< if it is null
    };
    template <typename Parsed>
    using KnownById = std::map<std::uint16_t, Known<Parsed>>;

    template <typename Parsed, typename Parse>
    std::shared_ptr<const Parsed> xParsed(KnownById<Parsed>& known, const recording::Schema& schema,
                                          const Parse& parse);

    KnownById<ProtobufFields> fProtobuf;
    KnownById<ros2_message::MessageType> fRos2;
    std::size_t fBytes = 0;  ///< of all schemas that were parsed
};

}  // namespace recorded_robot

#endif

#ifndef RECORDED_ROBOT_PROTOBUF_FIELDS_H
#define RECORDED_ROBOT_PROTOBUF_FIELDS_H

#include <memory>
#include <recorded_robot/recorded_value.h>
#include <recording/records.h>
#include <string>
#include <string_view>

namespace recorded_robot {

/** Reads messages in protobuf whose schema is in the recording. take() may be called from any
 * thread. */
class ProtobufFields {
  public:
    /** @throws std::runtime_error with a sentence if the schema does not describe its message */
    explicit ProtobufFields(const recording::Schema& schema);
    ~ProtobufFields();
    ProtobufFields(const ProtobufFields&) = delete;
    ProtobufFields& operator=(const ProtobufFields&) = delete;

    /**
     * Calls a function with each field of a message and the path of its name, as
     * takeFields() does. Of repeated messages the first 100 are taken. A damaged
     * message has no fields.
     */
    void take(std::string_view message, const std::string& path, const TakeValue& take) const;

  private:
    struct Private;
    std::unique_ptr<Private> fPrivate;
};

}  // namespace recorded_robot

#endif

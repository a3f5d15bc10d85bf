#ifndef RECORDED_ROBOT_CHANNEL_READER_H
#define RECORDED_ROBOT_CHANNEL_READER_H

#include <picture/jpeg.h>
#include <robaxi/kv_frame.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <recorded_robot/parsed_schemas.h>
#include <recorded_robot/protobuf_fields.h>
#include <recorded_robot/recorded_robot.h>
#include <recorded_robot/recorded_value.h>
#include <recording/reader.h>
#include <ros2_message/message_type.h>
#include <string>

namespace recorded_robot {

/** Returns the robot's time of a message, or ours if it has none, in microseconds since 1970. */
std::int64_t timeOf(const recording::Message& message);

/** The reason for which a camera is left out, if its first picture cannot be read: a part of a
 *  sentence. */
constexpr const char* a_noPicture = "its first picture cannot be shown";

/** Reads the messages of one channel of a recorded robot. */
class ChannelReader {
  public:
    /** The channel becomes Unknown, with the reason, if its schema in protobuf or of ROS 2 cannot
     *  be used. The name of a camera becomes one that the protocol allows. */
    ChannelReader(const recording::Reader& reader, std::uint16_t id, RecordedChannel channel,
                  ParsedSchemas& schemas);

    const RecordedChannel& channel() const { return fChannel; }

    /**
     * Calls a function with each key and value of a message. The names of keys may be invalid
     * UTF-8. May be called from any thread.
     */
    void takeValues(const recording::Message& message, const TakeValue& take) const;

    /** Returns the frame of a message. A JPEG has its own width and height. */
    std::optional<KVFrame> frame(const recording::Message& message,
                                 picture::JpegReader& jpegs) const;

  private:
    void xUseSchema(const recording::Schema& schema, ParsedSchemas& schemas);

    RecordedChannel fChannel;
    std::string fSchema;
    std::shared_ptr<const ProtobufFields> fProtobuf;
    std::shared_ptr<const ros2_message::MessageType> fRos2;
};

}  // namespace recorded_robot

#endif

#ifndef RECORDED_ROBOT_RECORDED_ROBOT_H
#define RECORDED_ROBOT_RECORDED_ROBOT_H

#include <cstdint>
#include <map>
#include <optional>
#include <recording/reader.h>
#include <string>
#include <vector>

namespace recorded_robot {

/** The contents of a channel's messages. */
enum class Content {
    Value,           ///< {"value": ...} of one key
    Group,           ///< {"KEY": ...} of several keys
    JsonFields,      ///< any JSON: each field is a key
    ProtobufFields,  ///< any protobuf message: each field is a key
    Picture,         ///< a frame in protobuf
    JsonPicture,     ///< a frame in JSON
    Events,          ///< events of the robot
    Unknown
};

/** The meaning of a channel. The texts are untrusted. */
struct RecordedChannel {
    Content fContent = Content::Unknown;
    /** The key of a value, the name of a camera, or the first levels of the keys of fields. */
    std::string fName;
    std::string fUnit;
    std::string fDescription;
    std::string fReason;  ///< the reason if Unknown: a part of a sentence
};

/** A robot in a recording. The name is untrusted, and empty if the recording has none. */
struct RecordedRobot {
    std::string fName;
    std::map<std::uint16_t, RecordedChannel> fChannels;
    std::optional<recording::AttachmentIndex> fIcon;
};

/**
 * Returns the robots of a recording, in its order. Channels that belong to none of them, such as
 * all those of other programs' recordings, are those of one more robot without a name.
 */
std::vector<RecordedRobot> robotsOf(const recording::Reader& reader);

}  // namespace recorded_robot

#endif

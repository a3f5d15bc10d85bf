#ifndef RECORDED_ROBOT_RECORDED_ROBOT_H
#define RECORDED_ROBOT_RECORDED_ROBOT_H

#include <cstdint>
#include <map>
#include <optional>
#include <recording/reader.h>
#include <stdexcept>
#include <string>
#include <vector>

namespace recorded_robot {

/** The contents of a channel's messages. */
enum class Content {
    Value,                  ///< {"value": ...} of one key
    Group,                  ///< {"KEY": ...} of several keys
    JsonFields,             ///< any JSON: each field is a key
    ProtobufFields,         ///< any protobuf message: each field is a key
    Ros2Fields,             ///< any message of ROS 2: each field is a key
    Picture,                ///< a frame in protobuf
    JsonPicture,            ///< a frame in JSON
    Ros2Picture,            ///< a frame in sensor_msgs/Image
    Ros2CompressedPicture,  ///< a frame in sensor_msgs/CompressedImage
    Events,                 ///< events of the robot
    Unknown
};

/** Returns true if each field of a message is a key. */
bool hasFields(Content content);
/** Returns true if messages have values of keys. */
bool hasValues(Content content);
bool hasPictures(Content content);

/** The meaning of a channel. The texts are untrusted. */
struct RecordedChannel {
    Content fContent = Content::Unknown;
    /** The key of a value, the name of a camera, or the first levels of the keys of fields. */
    std::string fName;
    std::string fUnit;
    std::string fDescription;
    /** The frames are H.264, of which most need the frame before: see RecordedVideo. */
    bool fIsVideo = false;
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

/** A recording has no such robot, or several, or cannot be read. The text is a part of a sentence.
 */
class RobotChoiceError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/** Returns a robot's name for people, or that of the file if the recording has none. */
std::string displayName(const RecordedRobot& robot, const std::string& file);

/** Returns the robots that have something to replay. @throws RobotChoiceError if there is none */
std::vector<RecordedRobot> replayableRobots(const recording::Reader& reader,
                                            const std::string& file);

/**
 * Returns the robot with a display name among replayableRobots().
 *
 * @param name may be empty if there is only one
 * @throws RobotChoiceError
 */
RecordedRobot chosenRobot(const recording::Reader& reader, const std::string& file,
                          const std::string& name);

}  // namespace recorded_robot

#endif

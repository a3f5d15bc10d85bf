#include <base/safe_text.h>

#include <algorithm>
#include <filesystem>
#include <recorded_robot/recorded_robot.h>
#include <ros2_message/message_values.h>
#include <string_view>
#include <utility>

namespace recorded_robot {

namespace {

using recording::Channel;
using recording::Reader;
using recording::Schema;

constexpr std::string_view a_memory = "/memory";
constexpr std::string_view a_camera = "/camera/";
constexpr std::string_view a_events = "/events";
constexpr const char* a_compressedVideo = "foxglove.CompressedVideo";
/** More metadata records than a recording has robots are not read. */
constexpr std::size_t a_mostRobots = 1000;
constexpr std::size_t a_longestName = 63;  // the longest label of a name that is announced
constexpr std::size_t a_mostNamed = 20;
/** Each of thousands of keys of a message begins with its topic. */
constexpr std::size_t a_longestTopic = 4096;  // bytes

bool startsWith(std::string_view text, std::string_view beginning) {
    return text.substr(0, beginning.size()) == beginning;
}

std::string entry(const recording::Texts& texts, const std::string& name,
                  const std::string& otherwise = {}) {
    const auto found = texts.find(name);
    return found == texts.end() ? otherwise : found->second;
}

/** Returns the first levels of the keys of a topic's fields. */
std::string keyOf(const std::string& topic) {
    const std::size_t start = topic.find_first_not_of('/');
    return start == std::string::npos ? "message" : topic.substr(start);
}

/** The meaning of a channel of ROS 2, which has the keys and cameras of the bridge. */
RecordedChannel ros2Channel(const Channel& channel, const Schema* schema) {
    RecordedChannel result;
    result.fName = keyOf(channel.fTopic);
    if (schema == nullptr) {
        result.fReason = "it has no schema";
        return result;
    }
    const std::string type = ros2_message::fullTypeName(schema->fName, "");
    if (type == "sensor_msgs/msg/Image") {
        result.fContent = Content::Ros2Picture;
    } else if (type == "sensor_msgs/msg/CompressedImage") {
        result.fContent = Content::Ros2CompressedPicture;
    } else {
        result.fContent = Content::Ros2Fields;
        result.fName = ros2_message::prefixFor('/' + result.fName, type);
    }
    return result;
}

/** The meaning of a channel by its schema alone. */
RecordedChannel channelBySchema(const Channel& channel, const Schema* schema) {
    if (channel.fTopic.size() > a_longestTopic) {
        RecordedChannel unread;
        unread.fReason = "its topic is too long";
        return unread;
    }
    if (channel.fMessageEncoding == "cdr") {
        return ros2Channel(channel, schema);
    }
    const std::string name = schema == nullptr ? std::string() : schema->fName;
    RecordedChannel result;
    result.fName = keyOf(channel.fTopic);
    const bool isImage = name == "foxglove.CompressedImage" || name == a_compressedVideo ||
                         name == "foxglove.RawImage";
    result.fIsVideo = name == a_compressedVideo;
    if (channel.fMessageEncoding == "json") {
        result.fContent = isImage ? Content::JsonPicture : Content::JsonFields;
    } else if (channel.fMessageEncoding == "protobuf" && isImage) {
        result.fContent = Content::Picture;
    } else if (channel.fMessageEncoding == "protobuf" && schema != nullptr &&
               schema->fEncoding == "protobuf") {
        result.fContent = Content::ProtobufFields;
    } else if (channel.fMessageEncoding == "protobuf") {
        result.fReason = "it has no protobuf schema";
    } else if (channel.fMessageEncoding.empty()) {
        result.fReason = "its messages have no encoding";
    } else {
        result.fReason = "the encoding '" + channel.fMessageEncoding + "' is not supported";
    }
    return result;
}

/** The meaning of a channel of one of our recordings. @param rest of the topic */
RecordedChannel channelByTopic(const Channel& channel, const Schema* schema,
                               std::string_view rest) {
    RecordedChannel result = channelBySchema(channel, schema);
    const bool isOurs = schema != nullptr && startsWith(schema->fName, "robaxi.") &&
                        channel.fMessageEncoding == "json";
    if (isOurs && rest == a_events) {
        result.fContent = Content::Events;
    } else if (isOurs && rest == a_memory) {
        result.fContent = Content::Group;
    } else if (isOurs && startsWith(rest, std::string(a_memory) + '/')) {
        result.fContent = Content::Value;
        result.fName =
            entry(channel.fMetadata, "key", std::string(rest.substr(a_memory.size() + 1)));
        result.fUnit = entry(channel.fMetadata, "unit");
    } else if (result.fContent == Content::Picture && startsWith(rest, a_camera)) {
        result.fName =
            entry(channel.fMetadata, "camera", std::string(rest.substr(a_camera.size())));
    }
    if (result.fContent != Content::Unknown) {
        result.fReason.clear();
    }
    result.fDescription = entry(channel.fMetadata, "description");
    return result;
}

struct Robot {
    RecordedRobot fRobot;
    std::string fPrefix;  ///< of its topics
};

std::vector<Robot> describedRobots(const Reader& reader) {
    std::vector<Robot> robots;
    for (const recording::MetadataIndex& index : reader.metadata()) {
        if (index.fName != "robot" || robots.size() == a_mostRobots) {
            continue;
        }
        const recording::Texts texts = reader.readMetadata(index).fEntries;
        Robot robot{{entry(texts, "name"), {}, {}}, entry(texts, "topics")};
        const bool isKnown =
            std::any_of(robots.begin(), robots.end(),
                        [&robot](const Robot& known) { return known.fPrefix == robot.fPrefix; });
        if (robot.fPrefix.empty() || robot.fRobot.fName.empty() || isKnown) {
            continue;
        }
        for (const recording::AttachmentIndex& attachment : reader.attachments()) {
            if (attachment.fName == robot.fRobot.fName + "/icon") {
                robot.fRobot.fIcon = attachment;
            }
        }
        robots.push_back(std::move(robot));
    }
    return robots;
}

bool canBeReplayed(const RecordedRobot& robot) {
    return std::any_of(robot.fChannels.begin(), robot.fChannels.end(), [](const auto& channel) {
        return channel.second.fContent != Content::Unknown;
    });
}

std::string listed(const std::vector<RecordedRobot>& robots, const std::string& file) {
    std::string names;
    for (std::size_t i = 0; i < std::min(robots.size(), a_mostNamed); ++i) {
        names += (i == 0 ? "" : ", ") + displayName(robots[i], file);
    }
    return names;
}

}  // namespace

bool hasFields(Content content) {
    return content == Content::JsonFields || content == Content::ProtobufFields ||
           content == Content::Ros2Fields;
}

bool hasValues(Content content) {
    return content == Content::Value || content == Content::Group || hasFields(content);
}

bool hasPictures(Content content) {
    return content == Content::Picture || content == Content::JsonPicture ||
           content == Content::Ros2Picture || content == Content::Ros2CompressedPicture;
}

std::string displayName(const RecordedRobot& robot, const std::string& file) {
    const std::string name =
        robot.fName.empty() ? std::filesystem::path(file).stem().string() : robot.fName;
    return std::string(base::beginning(base::oneLine(name), a_longestName));
}

std::vector<RecordedRobot> robotsOf(const Reader& reader) {
    std::vector<Robot> robots = describedRobots(reader);
    std::map<std::string, Robot*, std::less<>> byPrefix;
    for (Robot& robot : robots) {
        byPrefix.emplace(robot.fPrefix, &robot);
    }
    RecordedRobot rest;
    for (const auto& [id, channel] : reader.channels()) {
        const auto schemaPlace = reader.schemas().find(channel.fSchemaId);
        const Schema* schema =
            schemaPlace == reader.schemas().end() ? nullptr : &schemaPlace->second;
        // A prefix has one level.
        const std::string_view topic = channel.fTopic;
        const std::size_t end = topic.find('/', 1);
        const auto robot = byPrefix.find(topic.substr(0, end));
        if (robot == byPrefix.end() || end == std::string_view::npos) {
            rest.fChannels.emplace(id, channelBySchema(channel, schema));
        } else {
            robot->second->fRobot.fChannels.emplace(
                id, channelByTopic(channel, schema, topic.substr(end)));
        }
    }
    std::vector<RecordedRobot> result;
    result.reserve(robots.size() + 1);
    for (Robot& robot : robots) {
        result.push_back(std::move(robot.fRobot));
    }
    if (!rest.fChannels.empty()) {
        result.push_back(std::move(rest));
    }
    return result;
}

std::vector<RecordedRobot> replayableRobots(const Reader& reader, const std::string& file) {
    if (const std::string compression = reader.unknownCompression(); !compression.empty()) {
        throw RobotChoiceError(base::oneLine(file) + " is compressed with \"" + compression +
                               "\", which is not supported");
    }
    std::vector<RecordedRobot> robots = robotsOf(reader);
    robots.erase(std::remove_if(robots.begin(), robots.end(),
                                [](const RecordedRobot& robot) { return !canBeReplayed(robot); }),
                 robots.end());
    if (robots.empty()) {
        throw RobotChoiceError(base::oneLine(file) +
                               " has no values and pictures that can be replayed");
    }
    return robots;
}

RecordedRobot chosenRobot(const Reader& reader, const std::string& file, const std::string& name) {
    std::vector<RecordedRobot> robots = replayableRobots(reader, file);
    const std::string shown = base::oneLine(file);
    if (name.empty() && robots.size() > 1) {
        throw RobotChoiceError(shown + " has several robots: " + listed(robots, file) +
                               "; --robot chooses one");
    }
    const auto chosen = std::find_if(robots.begin(), robots.end(), [&](const RecordedRobot& robot) {
        return name.empty() || displayName(robot, file) == name;
    });
    if (chosen == robots.end()) {
        throw RobotChoiceError(shown + " has no robot named " + base::oneLine(name) + "; it has " +
                               listed(robots, file));
    }
    return std::move(*chosen);
}

}  // namespace recorded_robot

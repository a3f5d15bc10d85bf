#include <base/safe_text.h>

#include <robot_recording/camera_topic.h>
#include <robot_recording/image_message.h>
#include <robot_recording/robot_origin.h>
#include <utility>

namespace robot_recording {

CameraTopic::CameraTopic(RecordingSink& sink, const std::string& robot, std::string camera,
                         std::string description)
    : fSink(sink),
      fTopic(topicPrefix(robot) + "/camera/" + camera),
      fCamera(std::move(camera)),
      fDescription(std::move(description)) {
}

bool CameraTopic::canWrite(const KVFrame& frame) {
    return !imageSchema(frame.fFormat).fName.empty();
}

bool CameraTopic::write(const KVFrame& frame, std::uint64_t logTime) {
    if (!fChain.accepts(frame)) {
        fSink.countDrop();
        return false;
    }
    const MessageSchema& schema = imageSchema(frame.fFormat);
    auto topic = fTopics.find(&schema);
    if (topic == fTopics.end()) {
        const RecordingSink::Topic added = fSink.addTopic(
            schema, fTopic,
            {{"camera", fCamera}, {"description", base::shortened(fDescription, a_longestText)}},
            RecordingSink::Repeat::No);
        topic = fTopics.emplace(&schema, added).first;
    }
    const bool isWritten =
        fSink.write(topic->second, static_cast<std::uint32_t>(frame.fNumber), logTime,
                    messageTime(frame.fTime), imageMessage(frame, fCamera));
    if (!isWritten) {
        fChain.interrupt();
    }
    return isWritten;
}

}  // namespace robot_recording

#include "value_json.h"

#include <robot_recording/event_topic.h>
#include <robot_recording/robot_origin.h>

namespace robot_recording {

namespace {

const MessageSchema& eventSchema() {
    static const MessageSchema schema{
        "robaxi.Event", "jsonschema",
        R"({"type":"object","properties":{"event":{"type":"string"},"text":{"type":"string"},)"
        R"("messages":{"type":"integer"},"since":{"type":"integer"}}})",
        "json"};
    return schema;
}

std::string eventMessage(const std::string& event, const std::string& text) {
    std::string message = R"({"event":)";
    appendJsonText(message, event);
    message += R"(,"text":)";
    appendJsonText(message, text);
    return message;
}

}  // namespace

EventTopic::EventTopic(RecordingSink& sink, const std::string& robot)
    : fSink(sink),
      fTopic(sink.addTopic(eventSchema(), topicPrefix(robot) + "/events", {},
                           RecordingSink::Repeat::No)) {
}

void EventTopic::write(const std::string& event, const std::string& text) {
    const std::lock_guard lock(fMutex);
    const std::uint64_t time = logTimeNow();
    fSink.write(fTopic, ++fSequence, time, time, eventMessage(event, text) + '}');
}

void EventTopic::countDrops(std::uint64_t messages) {
    const std::lock_guard lock(fMutex);
    if (fDropped == 0) {
        fDroppedSince = logTimeNow();
    }
    fDropped += messages;
}

void EventTopic::reportDrops() {
    const std::lock_guard lock(fMutex);
    if (fDropped == 0) {
        return;
    }
    const std::uint64_t time = logTimeNow();
    const std::string message =
        eventMessage("dropped", "The disk was too slow, or a message too large.") +
        R"(,"messages":)" + std::to_string(fDropped) + R"(,"since":)" +
        std::to_string(fDroppedSince) + '}';
    if (fSink.write(fTopic, ++fSequence, time, time, message)) {
        fDropped = 0;
    }
}

}  // namespace robot_recording

#include "value_json.h"

#include <robot_recording/event_topic.h>
#include <robot_recording/robot_origin.h>

namespace robot_recording {

namespace {

/** From the first value that was passed over to the event, in nanoseconds. */
constexpr std::uint64_t a_passedOverDelay = 1'000'000'000;

const MessageSchema& eventSchema() {
    static const MessageSchema schema{
        "robaxi.Event", "jsonschema",
        R"({"type":"object","properties":{"event":{"type":"string"},"text":{"type":"string"},)"
        R"("messages":{"type":"integer"},"values":{"type":"integer"},)"
        R"("since":{"type":"integer"}}})",
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

void EventTopic::Missing::add(std::uint64_t count) {
    if (fCount == 0) {
        fSince = logTimeNow();
    }
    fCount += count;
}

void EventTopic::write(const std::string& event, const std::string& text) {
    const std::lock_guard lock(fMutex);
    xReportDrops();
    xReportPassedOver();
    xWrite(logTimeNow(), eventMessage(event, text) + '}');
}

void EventTopic::countDrops(std::uint64_t messages) {
    const std::lock_guard lock(fMutex);
    fDropped.add(messages);
}

void EventTopic::countPassedOver(std::uint64_t values) {
    const std::lock_guard lock(fMutex);
    fPassedOver.add(values);
}

void EventTopic::report() {
    const std::lock_guard lock(fMutex);
    xReportDrops();
    if (fPassedOver.fCount != 0 && logTimeNow() >= fPassedOver.fSince + a_passedOverDelay) {
        xReportPassedOver();
    }
}

void EventTopic::xReportDrops() {
    xReport(fDropped, "dropped", "The disk was too slow, or a message too large.", "messages");
}

void EventTopic::xReportPassedOver() {
    xReport(fPassedOver, "passed over",
            "Values changed more often than they were requested or could be sent; the newest were "
            "recorded.",
            "values");
}

void EventTopic::xReport(Missing& missing, const char* event, const char* text, const char* unit) {
    if (missing.fCount == 0) {
        return;
    }
    const std::string message = eventMessage(event, text) + ",\"" + unit +
                                "\":" + std::to_string(missing.fCount) +
                                ",\"since\":" + std::to_string(missing.fSince) + '}';
    if (xWrite(logTimeNow(), message)) {
        missing.fCount = 0;
    }
}

bool EventTopic::xWrite(std::uint64_t time, const std::string& message) {
    return fSink.write(fTopic, ++fSequence, time, time, message);
}

}  // namespace robot_recording

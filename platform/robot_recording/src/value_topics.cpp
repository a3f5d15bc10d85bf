#include <base/safe_text.h>

#include <robot_recording/robot_origin.h>
#include <robot_recording/value_topics.h>

namespace robot_recording {

ValueTopics::ValueTopics(RecordingSink& sink, const std::string& robot)
    : fSink(sink),
      fPrefix(topicPrefix(robot) + "/memory"),
      fGroup(sink.addTopic(groupSchema(), fPrefix, {}, RecordingSink::Repeat::No)) {
}

bool ValueTopics::write(const KVKeyInfo& key, const KVValue& value, std::int64_t time,
                        std::uint64_t logTime) {
    Key& known = fKeys[key.fName];
    const std::optional<RecordingSink::Topic> topic = xTopicOf(known, key, formOf(value));
    if (!topic) {
        return fSink.write(fGroup, ++fGroupSequence, logTime, messageTime(time),
                           groupMessage(key.fName, value));
    }
    return fSink.write(*topic, ++known.fSequence, logTime, messageTime(time), valueMessage(value));
}

/** Returns the topic of a key's values, or nothing if it belongs to the group. */
std::optional<RecordingSink::Topic> ValueTopics::xTopicOf(Key& key, const KVKeyInfo& info,
                                                          ValueForm form) {
    const auto known = key.fTopics.find(form);
    if (known != key.fTopics.end()) {
        return known->second;
    }
    if (info.fName.size() > a_longestText || !fSink.hasTopicsLeft()) {
        return std::nullopt;
    }
    const RecordingSink::Topic topic =
        fSink.addTopic(valueSchema(form), fPrefix + '/' + info.fName,
                       {{"key", info.fName},
                        {"unit", base::shortened(info.fUnit, a_longestText)},
                        {"description", base::shortened(info.fDescription, a_longestText)},
                        {"writable", info.fWritable ? "true" : "false"}},
                       RecordingSink::Repeat::Yes);
    key.fTopics.emplace(form, topic);
    return topic;
}

}  // namespace robot_recording

#ifndef ROBOT_RECORDING_VALUE_TOPICS_H
#define ROBOT_RECORDING_VALUE_TOPICS_H

#include <robaxi/kv_value_table.h>

#include <cstdint>
#include <map>
#include <optional>
#include <robot_recording/recording_sink.h>
#include <robot_recording/value_message.h>
#include <string>
#include <unordered_map>

namespace robot_recording {

/**
 * The topics of one robot's values: one for each key, and a common one for keys for which there is
 * no channel number left or whose name is too long. For one thread at a time.
 */
class ValueTopics {
  public:
    /** @param robot its name */
    ValueTopics(RecordingSink& sink, const std::string& robot);

    /**
     * Writes a value of a key. The description of the key's first value counts.
     *
     * @param time microseconds since 1970 by the robot's clock
     * @return false if it was dropped
     */
    bool write(const KVKeyInfo& key, const KVValue& value, std::int64_t time,
               std::uint64_t logTime);

  private:
    struct Key {
        std::uint32_t fSequence = 0;
        std::map<ValueForm, RecordingSink::Topic> fTopics;
    };

    std::optional<RecordingSink::Topic> xTopicOf(Key& key, const KVKeyInfo& info, ValueForm form);

    RecordingSink& fSink;
    const std::string fPrefix;
    const RecordingSink::Topic fGroup;
    std::uint32_t fGroupSequence = 0;
    std::unordered_map<std::string, Key> fKeys;
};

}  // namespace robot_recording

#endif

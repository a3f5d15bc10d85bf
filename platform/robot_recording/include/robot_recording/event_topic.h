#ifndef ROBOT_RECORDING_EVENT_TOPIC_H
#define ROBOT_RECORDING_EVENT_TOPIC_H

#include <cstdint>
#include <mutex>
#include <robot_recording/recording_sink.h>
#include <string>

namespace robot_recording {

/** The events of one robot in a recording: gaps, drops, removed keys. For any thread. */
class EventTopic {
  public:
    /** @param robot its name */
    EventTopic(RecordingSink& sink, const std::string& robot);

    /** Writes an event now. @param text for people */
    void write(const std::string& event, const std::string& text);

    /** Counts messages that were dropped. */
    void countDrops(std::uint64_t messages = 1);
    /** Writes an event about dropped messages if there were some and the disk accepts it. */
    void reportDrops();

  private:
    RecordingSink& fSink;
    const RecordingSink::Topic fTopic;
    std::mutex fMutex;  ///< guards the following members
    std::uint32_t fSequence = 0;
    std::uint64_t fDropped = 0;
    std::uint64_t fDroppedSince = 0;
};

}  // namespace robot_recording

#endif

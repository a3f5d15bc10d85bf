#ifndef ROBOT_RECORDING_EVENT_TOPIC_H
#define ROBOT_RECORDING_EVENT_TOPIC_H

#include <cstdint>
#include <mutex>
#include <robot_recording/recording_sink.h>
#include <string>

namespace robot_recording {

/** The events of one robot in a recording: gaps, losses, removed keys. For any thread. */
class EventTopic {
  public:
    /** @param robot its name */
    EventTopic(RecordingSink& sink, const std::string& robot);

    /** Writes an event now. @param text for people */
    void write(const std::string& event, const std::string& text);

    /** Counts messages that were dropped. */
    void countDrops(std::uint64_t messages = 1);
    /** Counts changes of values that newer ones replaced before they were sent. */
    void countPassedOver(std::uint64_t values);
    /**
     * Writes an event about dropped messages if there were some and the disk accepts it, and one
     * about values passed over, at most one a second. write() does both at once.
     */
    void report();

  private:
    /** A number that is written down with the time since when. */
    struct Missing {
        void add(std::uint64_t count);

        std::uint64_t fCount = 0;
        std::uint64_t fSince = 0;
    };

    // Called with fMutex held.
    void xReportDrops();
    void xReportPassedOver();
    void xReport(Missing& missing, const char* event, const char* text, const char* unit);
    bool xWrite(std::uint64_t time, const std::string& message);

    RecordingSink& fSink;
    const RecordingSink::Topic fTopic;
    std::mutex fMutex;  ///< guards the following members
    std::uint32_t fSequence = 0;
    Missing fDropped;
    Missing fPassedOver;
};

}  // namespace robot_recording

#endif

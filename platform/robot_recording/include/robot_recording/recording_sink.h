#ifndef ROBOT_RECORDING_RECORDING_SINK_H
#define ROBOT_RECORDING_RECORDING_SINK_H

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <recording/writer.h>
#include <robot_recording/message_schema.h>
#include <string>
#include <vector>

namespace robot_recording {

/** A snapshot of a sink's counters, over all files. */
struct SinkProgress {
    std::uint64_t fBytes = 0;    ///< in the files
    std::uint64_t fWritten = 0;  ///< messages
    /** Messages for which the disk was too slow, too large ones, and those that need such a one. */
    std::uint64_t fDropped = 0;
    std::uint64_t fFileBytes = 0;  ///< in the current file
};

/**
 * The files of a recording: one, or one after the other, each of which can be opened alone.
 *
 * Messages and topics may come from any thread. Writing never waits for the disk: if that is too
 * slow, messages are dropped and counted.
 */
class RecordingSink {
  public:
    using Topic = std::size_t;

    /** Yes: the next file begins with the topic's newest message. */
    enum class Repeat { No, Yes };

    /**
     * Creates the first file.
     *
     * @param path of the file, or, with `isSplit`, with a number before its ending: "walk-001.mcap"
     * @param failed called once, on any thread, after the first write error
     * @throws recording::RecordingError
     */
    RecordingSink(const std::string& path, bool isSplit, std::function<void()> failed,
                  recording::WriterOptions options = usualOptions());

    static recording::WriterOptions usualOptions();

    /** Adds a topic, which gets a channel in each file where it has messages. */
    Topic addTopic(const MessageSchema& schema, const std::string& topic,
                   const recording::Texts& metadata, Repeat repeat);

    /** Returns true if there can be a topic for another value; the last ones are for cameras. */
    bool hasTopicsLeft() const;

    /**
     * Writes a message.
     *
     * @return false if it was dropped
     */
    bool write(Topic topic, std::uint32_t sequence, std::uint64_t logTime,
               std::uint64_t publishTime, const std::string& data);

    /** Counts a message that is left out since it needs one that was dropped. */
    void countDrop();

    /** @name Waiting for the disk. Called on one thread. */
    ///@{
    /** Adds a record to the beginning of this file and of those that follow. */
    void addMetadata(const recording::Metadata& metadata);
    void addAttachment(const recording::Attachment& attachment);
    /** Begins another file and finishes the previous one. */
    void split();
    /** Writes everything so far. */
    void flush();

    /** Writes what is left and completes the file. */
    void finish();
    ///@}

    SinkProgress progress() const;
    /** Returns the sentence of the first write error. */
    std::optional<std::string> error() const;
    const std::vector<std::string>& files() const { return fFiles; }

  private:
    struct Newest {
        std::uint32_t fSequence = 0;
        std::uint64_t fPublishTime = 0;
        std::string fData;
    };

    struct TopicState {
        const MessageSchema* fSchema;
        std::string fTopic;
        recording::Texts fMetadata;
        Repeat fRepeat;
        std::optional<std::uint16_t> fChannel;  ///< in the current file
        std::optional<Newest> fNewest;
    };

    std::string xNextPath();
    std::unique_ptr<recording::Writer> xOpen();
    std::uint16_t xChannelOf(TopicState& topic);
    bool xWrite(TopicState& topic, std::uint32_t sequence, std::uint64_t logTime,
                std::uint64_t publishTime, const std::string& data);
    void xFail(const std::string& sentence);
    void xRepeatNewest();
    void xWait(const std::function<void(recording::Writer&)>& operation);

    const std::string fPath;
    const bool fIsSplit;
    const recording::WriterOptions fOptions;
    const std::function<void()> fFailed;
    std::vector<std::string> fFiles;  ///< changed by split() only

    mutable std::mutex fMutex;  ///< guards the following members
    std::unique_ptr<recording::Writer> fWriter;
    std::map<const MessageSchema*, std::uint16_t> fSchemas;  ///< of the current file
    std::vector<TopicState> fTopics;
    std::vector<recording::Metadata> fMetadata;
    std::vector<recording::Attachment> fAttachments;
    SinkProgress fPast;  ///< of the files before, and of what no writer has seen
    std::optional<std::string> fError;
};

}  // namespace robot_recording

#endif

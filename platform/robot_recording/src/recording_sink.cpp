#include <algorithm>
#include <filesystem>
#include <iomanip>
#include <limits>
#include <robot_recording/recording_sink.h>
#include <robot_recording/robot_origin.h>
#include <sstream>
#include <utility>

namespace robot_recording {

namespace {

using recording::RecordingError;
using recording::WriteError;
using recording::Writer;

/** Channel numbers that are left for cameras, events and groups of values. */
constexpr std::size_t a_reservedTopics = 4096;
constexpr std::size_t a_mostValueTopics =
    std::numeric_limits<std::uint16_t>::max() - a_reservedTopics;
/** A value that is larger is not repeated in the next file. */
constexpr std::size_t a_largestRepeated = 65'536;

}  // namespace

recording::WriterOptions RecordingSink::usualOptions() {
    recording::WriterOptions options;
    options.fHeader.fLibrary = "robaxi " OBVISTA_VERSION;
    options.fOverflow = recording::Overflow::Drop;
    return options;
}

RecordingSink::RecordingSink(const std::string& path, bool isSplit, std::function<void()> failed,
                             recording::WriterOptions options)
    : fPath(path),
      fIsSplit(isSplit),
      fOptions(std::move(options)),
      fFailed(std::move(failed)),
      fWriter(xOpen()) {
}

std::string RecordingSink::xNextPath() {
    if (!fIsSplit) {
        return fPath;
    }
    const std::filesystem::path path(fPath);
    std::ostringstream name;
    name << path.stem().string() << '-' << std::setw(3) << std::setfill('0') << fFiles.size() + 1
         << path.extension().string();
    return (path.parent_path() / name.str()).string();
}

std::unique_ptr<Writer> RecordingSink::xOpen() {
    const std::string path = xNextPath();
    auto writer = std::make_unique<Writer>(path, fOptions);
    fFiles.push_back(path);
    return writer;
}

RecordingSink::Topic RecordingSink::addTopic(const MessageSchema& schema, const std::string& topic,
                                             const recording::Texts& metadata, Repeat repeat) {
    const std::lock_guard lock(fMutex);
    fTopics.push_back({&schema, topic, metadata, repeat, std::nullopt, std::nullopt});
    return fTopics.size() - 1;
}

bool RecordingSink::hasTopicsLeft() const {
    const std::lock_guard lock(fMutex);
    return fTopics.size() < a_mostValueTopics;
}

std::uint16_t RecordingSink::xChannelOf(TopicState& topic) {
    if (topic.fChannel) {
        return *topic.fChannel;
    }
    auto schema = fSchemas.find(topic.fSchema);
    if (schema == fSchemas.end()) {
        const std::uint16_t id = fWriter->addSchema(topic.fSchema->fName, topic.fSchema->fEncoding,
                                                    topic.fSchema->fData);
        schema = fSchemas.emplace(topic.fSchema, id).first;
    }
    topic.fChannel = fWriter->addChannel(schema->second, topic.fTopic,
                                         topic.fSchema->fMessageEncoding, topic.fMetadata);
    return *topic.fChannel;
}

bool RecordingSink::write(Topic topic, std::uint32_t sequence, std::uint64_t logTime,
                          std::uint64_t publishTime, const std::string& data) {
    const std::lock_guard lock(fMutex);
    TopicState& state = fTopics.at(topic);
    if (state.fRepeat == Repeat::Yes && fIsSplit) {
        state.fNewest.reset();
        if (data.size() <= a_largestRepeated) {
            state.fNewest = Newest{sequence, publishTime, data};
        }
    }
    return xWrite(state, sequence, logTime, publishTime, data);
}

void RecordingSink::countDrop() {
    const std::lock_guard lock(fMutex);
    ++fPast.fDropped;
}

bool RecordingSink::xWrite(TopicState& topic, std::uint32_t sequence, std::uint64_t logTime,
                           std::uint64_t publishTime, const std::string& data) {
    if (fError) {
        ++fPast.fDropped;
        return false;
    }
    try {
        return fWriter->write({xChannelOf(topic), sequence, logTime, publishTime, data});
    } catch (const WriteError& error) {
        xFail(error.what());
    } catch (const RecordingError&) {
        // A message or a definition that is too large; the recording goes on.
    }
    ++fPast.fDropped;
    return false;
}

/** Called with fMutex held. */
void RecordingSink::xFail(const std::string& sentence) {
    if (!fError) {
        fError = sentence;
        fFailed();
    }
}

void RecordingSink::addMetadata(const recording::Metadata& metadata) {
    {
        const std::lock_guard lock(fMutex);
        fMetadata.push_back(metadata);
    }
    xWait([&](Writer& writer) { writer.writeMetadata(metadata); });
}

void RecordingSink::addAttachment(const recording::Attachment& attachment) {
    {
        const std::lock_guard lock(fMutex);
        fAttachments.push_back(attachment);
    }
    xWait([&](Writer& writer) { writer.writeAttachment(attachment); });
}

void RecordingSink::split() {
    std::vector<recording::Metadata> allMetadata;
    std::vector<recording::Attachment> attachments;
    {
        const std::lock_guard lock(fMutex);
        allMetadata = fMetadata;
        attachments = fAttachments;
    }
    std::unique_ptr<Writer> previous;
    try {
        std::unique_ptr<Writer> next = xOpen();
        for (const recording::Metadata& metadata : allMetadata) {
            next->writeMetadata(metadata);
        }
        for (const recording::Attachment& attachment : attachments) {
            next->writeAttachment(attachment);
        }
        const std::lock_guard lock(fMutex);
        previous = std::exchange(fWriter, std::move(next));
        fSchemas.clear();
        for (TopicState& topic : fTopics) {
            topic.fChannel.reset();
        }
        xRepeatNewest();
    } catch (const RecordingError& error) {
        const std::lock_guard lock(fMutex);
        xFail(error.what());
        return;
    }
    try {
        previous->finish();
    } catch (const RecordingError& error) {
        const std::lock_guard lock(fMutex);
        xFail(error.what());
    }
    const recording::WriterProgress progress = previous->progress();
    const std::lock_guard lock(fMutex);
    fPast.fBytes += progress.fFileBytes;
    fPast.fWritten += progress.fMessages;
    fPast.fDropped += progress.fDropped;
}

/** A file can be looked at alone if it begins with the present values. */
void RecordingSink::xRepeatNewest() {
    const std::uint64_t now = logTimeNow();
    for (TopicState& topic : fTopics) {
        if (topic.fNewest) {
            xWrite(topic, topic.fNewest->fSequence, now, topic.fNewest->fPublishTime,
                   topic.fNewest->fData);
        }
    }
}

void RecordingSink::flush() {
    xWait([](Writer& writer) { writer.flush(); });
}

void RecordingSink::finish() {
    xWait([](Writer& writer) { writer.finish(); });
}

/** Runs an operation that waits for the disk. Without the lock, which write() needs. */
void RecordingSink::xWait(const std::function<void(Writer&)>& operation) {
    Writer* writer = nullptr;
    {
        const std::lock_guard lock(fMutex);
        writer = fWriter.get();
    }
    try {
        operation(*writer);
    } catch (const RecordingError& error) {
        const std::lock_guard lock(fMutex);
        xFail(error.what());
    }
}

SinkProgress RecordingSink::progress() const {
    const std::lock_guard lock(fMutex);
    SinkProgress progress = fPast;
    const recording::WriterProgress present = fWriter->progress();
    progress.fBytes += present.fFileBytes;
    progress.fWritten += present.fMessages;
    progress.fDropped += present.fDropped;
    progress.fFileBytes = present.fFileBytes + present.fWaitingBytes;
    return progress;
}

std::optional<std::string> RecordingSink::error() const {
    const std::lock_guard lock(fMutex);
    return fError ? fError : fWriter->error();
}

}  // namespace robot_recording

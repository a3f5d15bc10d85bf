#include "compression.h"
#include "fields.h"
#include "spill.h"
#include "summary_writer.h"

#include <base/safe_text.h>

#include <algorithm>
#include <array>
#include <condition_variable>
#include <deque>
#include <limits>
#include <mutex>
#include <recording/output_file.h>
#include <recording/writer.h>
#include <thread>
#include <utility>
#include <vector>

namespace recording {

namespace {

using Clock = std::chrono::steady_clock;

struct IndexEntry {
    std::uint64_t fLogTime;
    std::uint32_t fOffset;
    std::uint16_t fChannelId;
};

/** Messages and definitions that become a chunk. */
struct OpenChunk {
    std::string fBytes;
    std::vector<IndexEntry> fEntries;
    std::uint64_t fStart = 0;
    std::uint64_t fEnd = 0;
    Clock::time_point fDeadline;

    void clear() {
        fBytes.clear();
        fEntries.clear();
    }
};

Texts validTexts(const Texts& texts) {
    Texts valid;
    for (const auto& [name, text] : texts) {
        valid[base::validUtf8(name)] = base::validUtf8(text);
    }
    return valid;
}

template <class Record>
std::string recordOf(const Record& record, const char* name) {
    std::string bytes;
    putRecord(bytes, record);
    if (bytes.size() > a_largestDefinition) {
        throw RecordingError(std::string("a ") + name + " of " + std::to_string(bytes.size()) +
                             " bytes is too large for a recording");
    }
    return bytes;
}

WriterOptions bounded(WriterOptions options) {
    constexpr std::size_t largest = std::size_t{64} << 20U;
    options.fChunkBytes = std::min(options.fChunkBytes, largest);
    return options;
}

/** Turns the messages of a chunk into records, sorted by channel. For one thread. */
class IndexBuilder {
  public:
    /**
     * Appends a message index for each channel.
     *
     * @param position of the first one in the file
     * @return the pairs of channel and offset for the chunk index
     */
    std::string append(std::vector<IndexEntry>& entries, std::uint64_t position,
                       std::string& bytes);

    /** Calls `count` with each channel of the last chunk and its number of messages. */
    template <class Count>
    void forEachChannel(Count count) const {
        for (const Run& run : fRuns) {
            count(run.fChannelId, run.fCount);
        }
    }

  private:
    struct Run {
        std::uint16_t fChannelId;
        std::uint32_t fCount;
    };

    void xSortByChannel(const std::vector<IndexEntry>& entries);

    std::vector<Run> fRuns;
    std::vector<IndexEntry> fSorted;
    /** For each channel the number of messages, then the place of the next one. */
    std::vector<std::uint32_t> fPlaces;
};

void IndexBuilder::xSortByChannel(const std::vector<IndexEntry>& entries) {
    fRuns.clear();
    for (const IndexEntry& entry : entries) {
        if (entry.fChannelId >= fPlaces.size()) {
            fPlaces.resize(entry.fChannelId + std::size_t{1});
        }
        if (fPlaces[entry.fChannelId]++ == 0) {
            fRuns.push_back({entry.fChannelId, 0});
        }
    }
    std::uint32_t next = 0;
    for (Run& run : fRuns) {
        run.fCount = std::exchange(fPlaces[run.fChannelId], next);
        next += run.fCount;
    }
    fSorted.resize(entries.size());
    for (const IndexEntry& entry : entries) {
        fSorted[fPlaces[entry.fChannelId]++] = entry;
    }
    for (const Run& run : fRuns) {
        fPlaces[run.fChannelId] = 0;
    }
}

std::string IndexBuilder::append(std::vector<IndexEntry>& entries, std::uint64_t position,
                                 std::string& bytes) {
    xSortByChannel(entries);
    const std::size_t start = bytes.size();
    std::string offsets;
    offsets.reserve(fRuns.size() * a_messageIndexOffsetSize);
    auto entry = fSorted.begin();
    for (const Run& run : fRuns) {
        const auto end = entry + run.fCount;
        const auto isEarlier = [](const IndexEntry& left, const IndexEntry& right) {
            return left.fLogTime < right.fLogTime;
        };
        if (!std::is_sorted(entry, end, isEarlier)) {
            std::stable_sort(entry, end, isEarlier);
        }
        putNumber(offsets, run.fChannelId);
        putNumber(offsets, std::uint64_t{position + (bytes.size() - start)});
        const RecordAppender record(bytes, Opcode::MessageIndex);
        putNumber(bytes, run.fChannelId);
        putNumber(bytes, static_cast<std::uint32_t>(run.fCount * a_messageIndexEntrySize));
        const std::size_t entriesStart = bytes.size();
        bytes.resize(entriesStart + run.fCount * a_messageIndexEntrySize);
        for (char* place = bytes.data() + entriesStart; entry != end; ++entry) {
            place = storeNumber(place, entry->fLogTime);
            place = storeNumber(place, std::uint64_t{entry->fOffset});
        }
    }
    return offsets;
}

}  // namespace

class Writer::Impl {
  public:
    Impl(const std::string& path, WriterOptions options);

    std::uint16_t addSchema(Schema schema);
    std::uint16_t addChannel(Channel channel);
    bool write(const Message& message);
    void writeAttachment(const Attachment& attachment);
    void writeMetadata(const Metadata& metadata);
    void flush();
    void finish();
    WriterProgress progress() const;
    std::optional<std::string> error() const;

  private:
    using Lock = std::unique_lock<std::mutex>;

    /** A definition and whether a chunk has it. */
    template <class Record>
    struct Definitions {
        std::vector<Record> fRecords;
        std::vector<bool> fArePlaced;
    };

    void xThrowIfUnusable() const;
    void xPlace(std::uint16_t channelId);
    void xCloseChunk();
    void xRun();
    void xWriteChunk(OpenChunk& chunk);
    void xAppendChunk(OpenChunk& chunk);
    void xReport(const std::exception& exception);
    void xAppendRecord(const std::string& bytes, Spill& indexes, const std::string& index);
    void xWriteSummary();

    const WriterOptions fOptions;

    /** Guards what follows. Taken after fFileMutex where both are held. */
    mutable std::mutex fMutex;
    std::condition_variable fWork;
    std::condition_variable fProgressed;
    Definitions<Schema> fSchemas;
    Definitions<Channel> fChannels;
    std::uint64_t fDefinitionBytes = 0;
    std::unique_ptr<OpenChunk> fOpen = std::make_unique<OpenChunk>();
    std::unique_ptr<OpenChunk> fSpare;
    std::deque<std::unique_ptr<OpenChunk>> fQueue;
    /** The bytes of the queue and of the chunk that is being written. */
    std::uint64_t fWaitingBytes = 0;
    WriterProgress fProgress;
    std::optional<std::string> fError;
    bool fIsClosing = false;

    /** Guards what follows, while data is written. */
    std::mutex fFileMutex;
    OutputFile fFile;
    Compressor fCompressor;
    IndexBuilder fIndexBuilder;
    std::string fRecord;
    Statistics fStatistics;
    std::vector<std::uint64_t> fCounts;
    Spill fChunkIndexes;
    Spill fAttachmentIndexes;
    Spill fMetadataIndexes;

    std::mutex fFinishMutex;
    std::thread fThread;
};

Writer::Impl::Impl(const std::string& path, WriterOptions options)
    : fOptions(bounded(std::move(options))),
      fFile(path, fOptions.fOverwrites),
      fCompressor(fOptions.fCompression, fOptions.fLevel),
      fChunkIndexes(path),
      fAttachmentIndexes(path),
      fMetadataIndexes(path) {
    std::string start(a_magic);
    putRecord(start, Header{base::validUtf8(fOptions.fHeader.fProfile),
                            base::validUtf8(fOptions.fHeader.fLibrary)});
    fFile.append(start);
    fProgress.fFileBytes = fFile.size();
    fThread = std::thread([this] { xRun(); });
}

std::uint16_t Writer::Impl::addSchema(Schema schema) {
    const std::lock_guard<std::mutex> lock(fMutex);
    xThrowIfUnusable();
    constexpr std::size_t most = std::numeric_limits<std::uint16_t>::max();
    const std::uint64_t size = recordOf(schema, "schema").size();
    if (fSchemas.fRecords.size() == most || fDefinitionBytes + size > a_largestDefinitions) {
        throw RecordingError("a recording cannot have more schemas");
    }
    fDefinitionBytes += size;
    schema.fId = static_cast<std::uint16_t>(fSchemas.fRecords.size() + 1);
    fSchemas.fRecords.push_back(std::move(schema));
    fSchemas.fArePlaced.push_back(false);
    return fSchemas.fRecords.back().fId;
}

std::uint16_t Writer::Impl::addChannel(Channel channel) {
    const std::lock_guard<std::mutex> lock(fMutex);
    xThrowIfUnusable();
    constexpr std::size_t most = std::size_t{std::numeric_limits<std::uint16_t>::max()} + 1;
    const std::uint64_t size = recordOf(channel, "channel").size();
    if (channel.fSchemaId > fSchemas.fRecords.size()) {
        throw RecordingError("a channel has an unknown schema");
    }
    if (fChannels.fRecords.size() == most || fDefinitionBytes + size > a_largestDefinitions) {
        throw RecordingError("a recording cannot have more channels");
    }
    fDefinitionBytes += size;
    channel.fId = static_cast<std::uint16_t>(fChannels.fRecords.size());
    fChannels.fRecords.push_back(std::move(channel));
    fChannels.fArePlaced.push_back(false);
    return fChannels.fRecords.back().fId;
}

void Writer::Impl::xThrowIfUnusable() const {
    if (fError) {
        throw WriteError(*fError);
    }
    if (fIsClosing) {
        throw RecordingError("the recording is finished");
    }
}

/** Puts the definitions of a channel into the open chunk, before the first message. */
void Writer::Impl::xPlace(std::uint16_t channelId) {
    const Channel& channel = fChannels.fRecords[channelId];
    if (channel.fSchemaId != 0 && !fSchemas.fArePlaced[channel.fSchemaId - 1U]) {
        putRecord(fOpen->fBytes, fSchemas.fRecords[channel.fSchemaId - 1U]);
        fSchemas.fArePlaced[channel.fSchemaId - 1U] = true;
    }
    putRecord(fOpen->fBytes, channel);
    fChannels.fArePlaced[channelId] = true;
}

bool Writer::Impl::write(const Message& message) {
    // Definitions of a channel may come before it.
    constexpr std::size_t largest = a_largestChunk - 2 * a_largestDefinition - a_messageHeadSize;
    if (message.fData.size() > largest) {
        throw RecordingError("a message of " + std::to_string(message.fData.size()) +
                             " bytes is too large for a recording");
    }
    Lock lock(fMutex);
    xThrowIfUnusable();
    if (message.fChannelId >= fChannels.fRecords.size()) {
        throw RecordingError("a message has an unknown channel");
    }
    if (fWaitingBytes > fOptions.fWaitingBytes) {
        if (fOptions.fOverflow == Overflow::Drop) {
            ++fProgress.fDropped;
            return false;
        }
        fProgressed.wait(lock, [this] {
            return fWaitingBytes <= fOptions.fWaitingBytes || fError || fIsClosing;
        });
        xThrowIfUnusable();
    }
    const std::size_t size = a_messageHeadSize + message.fData.size();
    if (!fOpen->fEntries.empty() && fOpen->fBytes.size() + size > fOptions.fChunkBytes) {
        xCloseChunk();
    }
    if (fOpen->fEntries.empty()) {
        fOpen->fStart = message.fLogTime;
        fOpen->fEnd = message.fLogTime;
        fOpen->fDeadline = Clock::now() + fOptions.fChunkAge;
        fWork.notify_one();
    }
    if (!fChannels.fArePlaced[message.fChannelId]) {
        xPlace(message.fChannelId);
    }
    std::string& bytes = fOpen->fBytes;
    fOpen->fEntries.push_back(
        {message.fLogTime, static_cast<std::uint32_t>(bytes.size()), message.fChannelId});
    fOpen->fStart = std::min(fOpen->fStart, message.fLogTime);
    fOpen->fEnd = std::max(fOpen->fEnd, message.fLogTime);
    // In one piece: with small messages this is most of the work.
    std::array<char, a_messageHeadSize> head;
    char* end = storeNumber(head.data(), static_cast<std::uint8_t>(Opcode::Message));
    end = storeNumber(end, std::uint64_t{size - a_prefixSize});
    end = storeNumber(end, message.fChannelId);
    end = storeNumber(end, message.fSequence);
    end = storeNumber(end, message.fLogTime);
    storeNumber(end, message.fPublishTime);
    bytes.append(head.data(), head.size());
    bytes += message.fData;
    if (bytes.size() >= fOptions.fChunkBytes) {
        xCloseChunk();
    }
    return true;
}

/** Moves the open chunk to the queue. Called with fMutex held. */
void Writer::Impl::xCloseChunk() {
    if (fOpen->fEntries.empty()) {
        return;
    }
    fWaitingBytes += fOpen->fBytes.size();
    fQueue.push_back(std::move(fOpen));
    fOpen = fSpare ? std::move(fSpare) : std::make_unique<OpenChunk>();
    fOpen->fBytes.reserve(fOptions.fChunkBytes);
    fWork.notify_one();
}

/** The writer's thread. */
void Writer::Impl::xRun() {
    Lock lock(fMutex);
    while (true) {
        if (fQueue.empty() && !fOpen->fEntries.empty() &&
            (fIsClosing || Clock::now() >= fOpen->fDeadline)) {
            xCloseChunk();
        }
        if (!fQueue.empty()) {
            std::unique_ptr<OpenChunk> chunk = std::move(fQueue.front());
            fQueue.pop_front();
            lock.unlock();
            const std::uint64_t size = chunk->fBytes.size();
            xWriteChunk(*chunk);
            chunk->clear();
            lock.lock();
            fWaitingBytes -= size;
            // A chunk with one large message would keep its memory for good.
            if (chunk->fBytes.capacity() <= 2 * fOptions.fChunkBytes) {
                fSpare = std::move(chunk);
            }
            fProgressed.notify_all();
        } else if (fIsClosing) {
            return;
        } else if (fOpen->fEntries.empty()) {
            fWork.wait(lock);
        } else {
            fWork.wait_until(lock, Clock::time_point(fOpen->fDeadline));
        }
    }
}

void Writer::Impl::xWriteChunk(OpenChunk& chunk) {
    const std::lock_guard<std::mutex> fileLock(fFileMutex);
    if (error()) {
        return;
    }
    try {
        xAppendChunk(chunk);
    } catch (const std::exception& exception) {
        xReport(exception);
        return;
    }
    const std::lock_guard<std::mutex> lock(fMutex);
    fProgress.fMessages = fStatistics.fMessageCount;
    fProgress.fFileBytes = fFile.size();
}

/** Called with fFileMutex held. */
void Writer::Impl::xReport(const std::exception& exception) {
    const std::lock_guard<std::mutex> lock(fMutex);
    if (!fError) {
        fError = exception.what();
    }
}

void Writer::Impl::xAppendChunk(OpenChunk& chunk) {
    const std::uint64_t offset = fFile.size();
    const std::uint32_t crcBefore = fFile.crc();
    const std::uint32_t crc = crc32Of(chunk.fBytes);
    Compression compression = fOptions.fCompression;
    std::size_t dataStart = 0;
    const auto putHead = [&] {
        fRecord.clear();
        putNumber(fRecord, static_cast<std::uint8_t>(Opcode::Chunk));
        putNumber(fRecord, std::uint64_t{0});
        putNumber(fRecord, chunk.fStart);
        putNumber(fRecord, chunk.fEnd);
        putNumber(fRecord, std::uint64_t{chunk.fBytes.size()});
        putNumber(fRecord, crc);
        putSized<std::uint32_t>(fRecord, nameOf(compression));
        putNumber(fRecord, std::uint64_t{0});
        dataStart = fRecord.size();
    };
    putHead();
    const Compression used = fCompressor.append(chunk.fBytes, fRecord);
    if (used != compression) {
        compression = used;
        putHead();
        fRecord += chunk.fBytes;
    }
    const std::uint64_t chunkLength = fRecord.size();
    const std::uint64_t compressedSize = chunkLength - dataStart;
    setNumber(fRecord, 1, chunkLength - a_prefixSize);
    setNumber(fRecord, dataStart - sizeof(std::uint64_t), compressedSize);
    const std::string indexOffsets =
        fIndexBuilder.append(chunk.fEntries, offset + chunkLength, fRecord);

    std::string index;
    {
        const RecordAppender record(index, Opcode::ChunkIndex);
        putNumber(index, chunk.fStart);
        putNumber(index, chunk.fEnd);
        putNumber(index, offset);
        putNumber(index, chunkLength);
        putSized<std::uint32_t>(index, indexOffsets);
        putNumber(index, std::uint64_t{fRecord.size() - chunkLength});
        putSized<std::uint32_t>(index, nameOf(compression));
        putNumber(index, compressedSize);
        putNumber(index, std::uint64_t{chunk.fBytes.size()});
    }
    fFile.append(fRecord);
    try {
        fChunkIndexes.append(index);
    } catch (...) {
        fFile.cutOff(offset, crcBefore);
        throw;
    }
    if (fRecord.capacity() > 4 * fOptions.fChunkBytes) {
        std::string().swap(fRecord);
    }

    const bool isFirst = fStatistics.fMessageCount == 0;
    fStatistics.fStart = isFirst ? chunk.fStart : std::min(fStatistics.fStart, chunk.fStart);
    fStatistics.fEnd = isFirst ? chunk.fEnd : std::max(fStatistics.fEnd, chunk.fEnd);
    fStatistics.fMessageCount += chunk.fEntries.size();
    ++fStatistics.fChunkCount;
    fIndexBuilder.forEachChannel([this](std::uint16_t channel, std::uint32_t count) {
        if (channel >= fCounts.size()) {
            fCounts.resize(channel + std::size_t{1});
        }
        fCounts[channel] += count;
    });
}

/** Writes a record between chunks and keeps its index. Called with fFileMutex held. */
void Writer::Impl::xAppendRecord(const std::string& bytes, Spill& indexes,
                                 const std::string& index) {
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        xThrowIfUnusable();
    }
    const std::uint64_t offset = fFile.size();
    const std::uint32_t crc = fFile.crc();
    try {
        fFile.append(bytes);
        try {
            indexes.append(index);
        } catch (...) {
            fFile.cutOff(offset, crc);
            throw;
        }
    } catch (const std::exception& exception) {
        xReport(exception);
        throw;
    }
    const std::lock_guard<std::mutex> lock(fMutex);
    fProgress.fFileBytes = fFile.size();
}

void Writer::Impl::writeAttachment(const Attachment& attachment) {
    if (attachment.fData.size() > a_largestAttachment) {
        throw RecordingError("an attachment of " + std::to_string(attachment.fData.size()) +
                             " bytes is too large for a recording");
    }
    std::string bytes;
    putRecord(bytes, attachment);
    const std::lock_guard<std::mutex> lock(fFileMutex);
    std::string index;
    putRecord(index, AttachmentIndex{fFile.size(), bytes.size(), attachment.fLogTime,
                                     attachment.fCreateTime, attachment.fData.size(),
                                     attachment.fName, attachment.fMediaType});
    xAppendRecord(bytes, fAttachmentIndexes, index);
    ++fStatistics.fAttachmentCount;
}

void Writer::Impl::writeMetadata(const Metadata& metadata) {
    const std::string bytes = recordOf(metadata, "metadata record");
    const std::lock_guard<std::mutex> lock(fFileMutex);
    std::string index;
    putRecord(index, MetadataIndex{fFile.size(), bytes.size(), metadata.fName});
    xAppendRecord(bytes, fMetadataIndexes, index);
    ++fStatistics.fMetadataCount;
}

void Writer::Impl::flush() {
    Lock lock(fMutex);
    xThrowIfUnusable();
    xCloseChunk();
    fProgressed.wait(lock, [this] { return fWaitingBytes == 0 || fError || fIsClosing; });
    if (fError) {
        throw WriteError(*fError);
    }
}

void Writer::Impl::finish() {
    const std::lock_guard<std::mutex> finishLock(fFinishMutex);
    if (!fThread.joinable()) {
        return;
    }
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        fIsClosing = true;
        fWork.notify_one();
        fProgressed.notify_all();
    }
    fThread.join();
    const std::lock_guard<std::mutex> fileLock(fFileMutex);
    try {
        xWriteSummary();
    } catch (const std::exception& exception) {
        xReport(exception);
    }
    try {
        fFile.close();
    } catch (const std::exception& exception) {
        xReport(exception);
    }
    const std::lock_guard<std::mutex> lock(fMutex);
    fProgress.fFileBytes = fFile.size();
    if (fError) {
        throw WriteError(*fError);
    }
}

void Writer::Impl::xWriteSummary() {
    // After an error the definitions may have been in the chunk that was lost.
    const bool isAnyLost = error().has_value();
    std::string definitions;
    const auto put = [&](const auto& kind) {
        for (std::size_t i = 0; i < kind.fRecords.size(); ++i) {
            if (isAnyLost || !kind.fArePlaced[i]) {
                putRecord(definitions, kind.fRecords[i]);
            }
        }
    };
    put(fSchemas);
    put(fChannels);
    fStatistics.fSchemaCount = static_cast<std::uint16_t>(fSchemas.fRecords.size());
    fStatistics.fChannelCount = static_cast<std::uint32_t>(fChannels.fRecords.size());
    for (std::size_t channel = 0; channel < fCounts.size(); ++channel) {
        if (fCounts[channel] > 0) {
            fStatistics.fMessagesByChannel[static_cast<std::uint16_t>(channel)] = fCounts[channel];
        }
    }
    writeSummary(fFile, {definitions, fSchemas.fRecords, fChannels.fRecords, fStatistics,
                         fChunkIndexes, fAttachmentIndexes, fMetadataIndexes});
}

WriterProgress Writer::Impl::progress() const {
    const std::lock_guard<std::mutex> lock(fMutex);
    WriterProgress progress = fProgress;
    progress.fWaitingBytes = fWaitingBytes;
    return progress;
}

std::optional<std::string> Writer::Impl::error() const {
    const std::lock_guard<std::mutex> lock(fMutex);
    return fError;
}

Writer::Writer(const std::string& path, WriterOptions options)
    : fImpl(std::make_unique<Impl>(path, std::move(options))) {
}

Writer::~Writer() {
    try {
        finish();
    } catch (const std::exception&) {
        // Callers that need the error call finish().
    }
}

std::uint16_t Writer::addSchema(const std::string& name, const std::string& encoding,
                                const std::string& data) {
    return fImpl->addSchema({0, base::validUtf8(name), base::validUtf8(encoding), data});
}

std::uint16_t Writer::addChannel(std::uint16_t schemaId, const std::string& topic,
                                 const std::string& messageEncoding, const Texts& metadata) {
    return fImpl->addChannel({0, schemaId, base::validUtf8(topic), base::validUtf8(messageEncoding),
                              validTexts(metadata)});
}

bool Writer::write(const Message& message) {
    return fImpl->write(message);
}

void Writer::writeAttachment(const Attachment& attachment) {
    Attachment valid = attachment;
    valid.fName = base::validUtf8(attachment.fName);
    valid.fMediaType = base::validUtf8(attachment.fMediaType);
    fImpl->writeAttachment(valid);
}

void Writer::writeMetadata(const Metadata& metadata) {
    fImpl->writeMetadata({base::validUtf8(metadata.fName), validTexts(metadata.fEntries)});
}

void Writer::flush() {
    fImpl->flush();
}

void Writer::finish() {
    fImpl->finish();
}

WriterProgress Writer::progress() const {
    return fImpl->progress();
}

std::optional<std::string> Writer::error() const {
    return fImpl->error();
}

}  // namespace recording

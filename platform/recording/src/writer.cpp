#include "chunk_packer.h"
#include "fields.h"
#include "spill.h"
#include "summary_writer.h"

#include <base/safe_text.h>

#include <algorithm>
#include <array>
#include <condition_variable>
#include <deque>
#include <exception>
#include <limits>
#include <mutex>
#include <recording/output_file.h>
#include <recording/writer.h>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace recording {

namespace {

using Clock = std::chrono::steady_clock;

/** Threads that compress: while one writes to the file, the other compresses the next chunk. */
constexpr std::size_t a_threads = 2;

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

// Two definitions may come before a message in its chunk.
static_assert(a_largestMessage + a_messageHeadSize + 2 * a_largestDefinition <= a_largestChunk);

WriterOptions bounded(WriterOptions options) {
    constexpr std::size_t largest = std::size_t{64} << 20U;
    options.fChunkBytes = std::min(options.fChunkBytes, largest);
    return options;
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
    void xWriteChunk(const ChunkContent& chunk, ChunkPacker& packer, Lock& lock);
    void xAppendChunk(const ChunkContent& chunk, ChunkPacker& packer);
    void xRecycle(std::unique_ptr<ChunkContent> chunk);
    void xReport(const std::exception& exception);
    void xAppendRecord(const std::string& bytes, Spill& indexes, const std::string& index);
    void xWriteSummary();

    const WriterOptions fOptions;

    /** Guards what follows. Taken after fFileMutex where both are held. */
    mutable std::mutex fMutex;
    std::condition_variable fWork;
    /** When fDone, fWaitingBytes, fError or fIsClosing changes. */
    std::condition_variable fProgressed;
    Definitions<Schema> fSchemas;
    Definitions<Channel> fChannels;
    std::uint64_t fDefinitionBytes = 0;
    std::unique_ptr<ChunkContent> fOpen = std::make_unique<ChunkContent>();
    Clock::time_point fDeadline;  ///< of the open chunk
    std::vector<std::unique_ptr<ChunkContent>> fSpares;
    std::deque<std::unique_ptr<ChunkContent>> fQueue;
    /** The bytes of the queue and of the chunks that are being written. */
    std::uint64_t fWaitingBytes = 0;
    /** The numbers of chunks that were taken from the queue, and that were written or lost. */
    std::uint64_t fTaken = 0;
    std::uint64_t fDone = 0;
    WriterProgress fProgress;
    std::optional<std::string> fError;
    bool fIsClosing = false;

    /** Guards what follows, while data is written. */
    std::mutex fFileMutex;
    OutputFile fFile;
    Statistics fStatistics;
    std::vector<std::uint64_t> fCounts;
    Spill fChunkIndexes;
    Spill fAttachmentIndexes;
    Spill fMetadataIndexes;

    std::mutex fFinishMutex;
    std::array<std::thread, a_threads> fThreads;
};

Writer::Impl::Impl(const std::string& path, WriterOptions options)
    : fOptions(bounded(std::move(options))),
      fFile(path, fOptions.fOverwrites),
      fChunkIndexes(path),
      fAttachmentIndexes(path),
      fMetadataIndexes(path) {
    std::string start(a_magic);
    putRecord(start, Header{base::validUtf8(fOptions.fHeader.fProfile),
                            base::validUtf8(fOptions.fHeader.fLibrary)});
    fFile.append(start);
    fProgress.fFileBytes = fFile.size();
    for (std::thread& thread : fThreads) {
        try {
            thread = std::thread([this] { xRun(); });
        } catch (const std::system_error&) {
            if (!fThreads.front().joinable()) {
                throw;
            }
            // One is enough.
        }
    }
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
    if (message.fData.size() > a_largestMessage) {
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
        fDeadline = Clock::now() + fOptions.fChunkAge;
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
    if (fSpares.empty()) {
        fOpen = std::make_unique<ChunkContent>();
        fOpen->fBytes.reserve(fOptions.fChunkBytes);
    } else {
        fOpen = std::move(fSpares.back());
        fSpares.pop_back();
    }
    fWork.notify_one();
}

/** A thread of the writer. */
void Writer::Impl::xRun() {
    ChunkPacker packer(fOptions.fCompression, fOptions.fLevel);
    Lock lock(fMutex);
    while (true) {
        if (fQueue.empty() && !fOpen->fEntries.empty() &&
            (fIsClosing || Clock::now() >= fDeadline)) {
            xCloseChunk();
        }
        if (!fQueue.empty()) {
            std::unique_ptr<ChunkContent> chunk = std::move(fQueue.front());
            fQueue.pop_front();
            xWriteChunk(*chunk, packer, lock);
            fWaitingBytes -= chunk->fBytes.size();
            xRecycle(std::move(chunk));
            fProgressed.notify_all();
        } else if (fIsClosing) {
            return;
        } else if (fOpen->fEntries.empty()) {
            fWork.wait(lock);
        } else {
            fWork.wait_until(lock, Clock::time_point(fDeadline));
        }
    }
}

/** Writes a chunk as soon as the earlier ones are written. Called with fMutex held, which is
 *  released in between. */
void Writer::Impl::xWriteChunk(const ChunkContent& chunk, ChunkPacker& packer, Lock& lock) {
    const std::uint64_t place = fTaken++;
    lock.unlock();
    std::exception_ptr failure;
    try {
        packer.pack(chunk);
    } catch (const std::exception&) {
        failure = std::current_exception();
    }
    lock.lock();
    fProgressed.wait(lock, [this, place] { return fDone == place; });
    lock.unlock();
    {
        const std::lock_guard<std::mutex> fileLock(fFileMutex);
        try {
            if (failure) {
                std::rethrow_exception(failure);
            }
            if (!error()) {
                xAppendChunk(chunk, packer);
            }
        } catch (const std::exception& exception) {
            xReport(exception);
        }
        lock.lock();
        fProgress.fMessages = fStatistics.fMessageCount;
        fProgress.fFileBytes = fFile.size();
    }
    ++fDone;
}

/** Keeps the memory of a chunk for the next one. Called with fMutex held. */
void Writer::Impl::xRecycle(std::unique_ptr<ChunkContent> chunk) {
    // A chunk with one large message would keep its memory for good.
    if (chunk->fBytes.capacity() <= 2 * fOptions.fChunkBytes) {
        chunk->clear();
        fSpares.push_back(std::move(chunk));
    }
    // Together with the queue no more than were in it.
    fSpares.resize(std::min(fSpares.size(), fQueue.size() + 1));
}

/** Called with fFileMutex held. */
void Writer::Impl::xReport(const std::exception& exception) {
    const std::lock_guard<std::mutex> lock(fMutex);
    if (!fError) {
        fError = exception.what();
    }
}

/** Called with fFileMutex held. */
void Writer::Impl::xAppendChunk(const ChunkContent& chunk, ChunkPacker& packer) {
    packer.append(fFile, fChunkIndexes);
    const bool isFirst = fStatistics.fMessageCount == 0;
    fStatistics.fStart = isFirst ? chunk.fStart : std::min(fStatistics.fStart, chunk.fStart);
    fStatistics.fEnd = isFirst ? chunk.fEnd : std::max(fStatistics.fEnd, chunk.fEnd);
    fStatistics.fMessageCount += chunk.fEntries.size();
    ++fStatistics.fChunkCount;
    packer.forEachChannel([this](std::uint16_t channel, std::uint32_t count) {
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
    // Not for chunks that are closed later, of which there may always be some.
    const std::uint64_t last = fTaken + fQueue.size();
    fProgressed.wait(lock, [this, last] { return fDone >= last || fError; });
    if (fError) {
        throw WriteError(*fError);
    }
}

void Writer::Impl::finish() {
    const std::lock_guard<std::mutex> finishLock(fFinishMutex);
    if (!fThreads.front().joinable()) {
        return;
    }
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        fIsClosing = true;
        fWork.notify_all();
        fProgressed.notify_all();
    }
    for (std::thread& thread : fThreads) {
        if (thread.joinable()) {
            thread.join();
        }
    }
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

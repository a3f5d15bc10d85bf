#include "chunk_store.h"

#include <base/safe_text.h>

#include <algorithm>
#include <tuple>
#include <utility>

namespace recording {

namespace {

constexpr std::size_t a_channelNumbers = std::size_t{1} << 16U;
constexpr std::size_t a_reportedDamages = 100;
constexpr std::uint64_t a_mostDamages = 10'000;
/** Messages outside chunks are read in pieces of about this size. */
constexpr std::uint64_t a_bareSize = std::uint64_t{1} << 20U;
/** Numbers in all lists of channels that a scan makes: 16 MiB. Further chunks have no list. */
constexpr std::size_t a_scannedNumbers = std::size_t{8} << 20U;
/** The parts of a chunk's record that are not data. */
constexpr std::uint64_t a_chunkOverhead = std::uint64_t{1} << 20U;
/** The fields of a chunk index before the pairs of channel and offset. */
constexpr std::size_t a_chunkIndexHead = 4 * sizeof(std::uint64_t) + sizeof(std::uint32_t);

bool isEarlier(const StoredChunk& left, const StoredChunk& right) {
    return std::tie(left.fStart, left.fOffset) < std::tie(right.fStart, right.fOffset);
}

bool isBefore(const StoredChunk& left, const StoredChunk& right) {
    return left.fOffset < right.fOffset;
}

bool operator==(const Schema& left, const Schema& right) {
    return std::tie(left.fName, left.fEncoding, left.fData) ==
           std::tie(right.fName, right.fEncoding, right.fData);
}

bool operator==(const Channel& left, const Channel& right) {
    return std::tie(left.fSchemaId, left.fTopic, left.fMessageEncoding, left.fMetadata) ==
           std::tie(right.fSchemaId, right.fTopic, right.fMessageEncoding, right.fMetadata);
}

template <class Record>
void define(std::map<std::uint16_t, Record>& records, Record record, Opcode opcode,
            std::uint64_t position) {
    const std::uint16_t id = record.fId;
    const auto [known, isNew] = records.try_emplace(id, record);
    if (!isNew && !(known->second == record)) {
        fail(nameOf(opcode), position,
             "has the number " + std::to_string(id) + ", which another one has");
    }
}

}  // namespace

ChunkStore::ChunkStore(const std::string& path, Access access)
    : fFile(path), fKnown(a_channelNumbers) {
    if (fFile.size() < a_magic.size() || fFile.view(0, a_magic.size()) != a_magic) {
        throw RecordingError(base::oneLine(path) + " is not an MCAP file");
    }
    if (access == Access::Indexed) {
        try {
            xOpenIndexed();
            return;
        } catch (const RecordingError&) {
            // The scan below finds what is left, and reports what is damaged.
        }
    }
    xScan();
}

// Opening through the summary

void ChunkStore::xOpenIndexed() {
    const Footer footer = readFooter(fFile);
    if (footer.fSummaryStart == 0) {
        fail(nameOf(Opcode::Footer), footer.fOffset, "has no summary");
    }
    Scanner beginning(fFile, a_magic.size(), footer.fSummaryStart);
    const std::optional<OuterRecord> first = beginning.next();
    if (!first || first->fOpcode != Opcode::Header) {
        fail("record", a_magic.size(), "is not a header");
    }
    fHeader = readHeader(fieldsOf(fFile, *first));

    const Span all{footer.fSummaryStart, footer.fSummaryEnd};
    std::map<Opcode, Span> groups = xReadOffsets(footer);
    if (groups.count(Opcode::Statistics) != 0) {
        for (const Opcode opcode : {Opcode::Statistics, Opcode::Schema, Opcode::Channel,
                                    Opcode::AttachmentIndex, Opcode::MetadataIndex}) {
            xReadSummary(groups[opcode]);
        }
        fChunkIndex = groups[Opcode::ChunkIndex];
    } else {
        xReadSummary(all);
        fChunkIndex = all;
    }
    const bool isComplete = fStatistics.fChannelCount == fChannels.size() &&
                            fStatistics.fSchemaCount == fSchemas.size() &&
                            fStatistics.fAttachmentCount == fAttachments.size() &&
                            fStatistics.fMetadataCount == fMetadata.size() &&
                            (fStatistics.fChunkCount > 0 || fStatistics.fMessageCount == 0) &&
                            (fStatistics.fChunkCount == 0 || fChunkIndex.fEnd > 0);
    if (!isComplete) {
        fail("summary", footer.fSummaryStart, "is not complete");
    }
    if (fStatistics.fStart > fStatistics.fEnd) {
        fail("summary", footer.fSummaryStart, "has an end before its start");
    }
    for (const auto& [id, channel] : fChannels) {
        if (channel.fSchemaId != 0 && fSchemas.count(channel.fSchemaId) == 0) {
            fail("summary", footer.fSummaryStart, "has a channel without its schema");
        }
    }
    fDataEnd = footer.fSummaryStart;
    fHasEnd = true;
    fIsIndexed = true;
}

/** The groups of records in the summary. */
std::map<Opcode, ChunkStore::Span> ChunkStore::xReadOffsets(const Footer& footer) const {
    std::map<Opcode, Span> groups;
    if (footer.fOffsetsStart == 0) {
        return groups;
    }
    Scanner scanner(fFile, footer.fOffsetsStart, footer.fOffset);
    while (const std::optional<OuterRecord> record = scanner.next()) {
        if (record->fOpcode != Opcode::SummaryOffset) {
            continue;
        }
        FieldReader fields = fieldsOf(fFile, *record);
        const auto opcode = static_cast<Opcode>(fields.number<std::uint8_t>());
        const auto start = fields.number<std::uint64_t>();
        const auto length = fields.number<std::uint64_t>();
        const bool isInSummary = start >= footer.fSummaryStart && start <= footer.fSummaryEnd &&
                                 length <= footer.fSummaryEnd - start;
        if (!isInSummary || !groups.try_emplace(opcode, Span{start, start + length}).second) {
            fields.fail("is not a group of the summary");
        }
    }
    return groups;
}

void ChunkStore::xReadSummary(Span span) {
    Scanner scanner(fFile, span.fStart, span.fEnd);
    while (const std::optional<OuterRecord> record = scanner.next()) {
        switch (record->fOpcode) {
            case Opcode::Schema:
                xDefine(readSchema(fieldsOf(fFile, *record)), record->fLength, record->fOffset);
                break;
            case Opcode::Channel:
                xDefine(readChannel(fieldsOf(fFile, *record)), record->fLength, record->fOffset);
                break;
            case Opcode::Statistics:
                fStatistics = readStatistics(fieldsOf(fFile, *record));
                if (fStatistics.fMessageCount == 0) {
                    // Other programs write other times, of which the start may be the later one.
                    fStatistics.fStart = 0;
                    fStatistics.fEnd = 0;
                }
                break;
            case Opcode::AttachmentIndex:
                xCount(record->fLength, record->fOffset);
                fAttachments.push_back(readAttachmentIndex(fieldsOf(fFile, *record)));
                break;
            case Opcode::MetadataIndex:
                xCount(record->fLength, record->fOffset);
                fMetadata.push_back(readMetadataIndex(fieldsOf(fFile, *record)));
                break;
            default:
                break;
        }
    }
}

const std::vector<StoredChunk>& ChunkStore::chunks() {
    if (!fHasChunks) {
        xReadChunkIndex();
        fHasChunks = true;
    }
    return fChunks;
}

std::string ChunkStore::unknownCompression() const {
    Scanner scanner(fFile, fChunkIndex.fStart, fChunkIndex.fEnd);
    while (const std::optional<OuterRecord> record = scanner.next()) {
        if (record->fOpcode == Opcode::ChunkIndex) {
            const ChunkIndex index = readChunkIndex(fieldsOf(fFile, *record));
            return isKnownCompression(index.fCompression) ? std::string()
                                                          : shownCompression(index.fCompression);
        }
    }
    return {};
}

void ChunkStore::xReadChunkIndex() {
    fChunks.clear();
    Scanner scanner(fFile, fChunkIndex.fStart, fChunkIndex.fEnd);
    while (const std::optional<OuterRecord> record = scanner.next()) {
        if (record->fOpcode != Opcode::ChunkIndex) {
            continue;
        }
        const std::uint64_t content = record->contentOffset();
        FieldReader fields(
            Opcode::ChunkIndex,
            fFile.view(content, std::min<std::uint64_t>(a_chunkIndexHead, record->contentSize())),
            record->fOffset);
        StoredChunk chunk;
        chunk.fStart = fields.number<std::uint64_t>();
        chunk.fEnd = fields.number<std::uint64_t>();
        chunk.fOffset = fields.number<std::uint64_t>();
        chunk.fLength = fields.number<std::uint64_t>();
        chunk.fChannelsSize = fields.number<std::uint32_t>();
        chunk.fChannelsOffset = content + a_chunkIndexHead;
        const bool isSound = chunk.fStart <= chunk.fEnd && chunk.fOffset >= a_magic.size() &&
                             chunk.fOffset <= fDataEnd && chunk.fLength >= a_prefixSize &&
                             chunk.fLength <= fDataEnd - chunk.fOffset &&
                             chunk.fChannelsSize <= record->contentSize() - a_chunkIndexHead &&
                             chunk.fChannelsSize <= a_channelNumbers * a_messageIndexOffsetSize;
        if (!isSound) {
            fields.fail("does not describe a part of the file");
        }
        fChunks.push_back(chunk);
    }
    if (fChunks.size() != fStatistics.fChunkCount) {
        fail("summary", fChunkIndex.fStart,
             "has an index of " + std::to_string(fChunks.size()) + " chunks, but statistics of " +
                 std::to_string(fStatistics.fChunkCount));
    }
    xRequireApart();
    xSort();
}

/** A file with many indexes of the same chunk would take more time than its size allows. */
void ChunkStore::xRequireApart() {
    if (!std::is_sorted(fChunks.begin(), fChunks.end(), isBefore)) {
        std::sort(fChunks.begin(), fChunks.end(), isBefore);
    }
    const auto overlapping = std::adjacent_find(
        fChunks.begin(), fChunks.end(), [](const StoredChunk& left, const StoredChunk& right) {
            return left.fOffset + left.fLength > right.fOffset;
        });
    if (overlapping != fChunks.end()) {
        fail(nameOf(Opcode::Chunk), overlapping->fOffset, "overlaps the next one in the file");
    }
}

void ChunkStore::xSort() {
    if (!std::is_sorted(fChunks.begin(), fChunks.end(), isEarlier)) {
        std::sort(fChunks.begin(), fChunks.end(), isEarlier);
    }
    fLatestEnds.clear();
    fLatestEnds.reserve(fChunks.size());
    std::uint64_t latest = 0;
    for (const StoredChunk& chunk : fChunks) {
        latest = std::max(latest, chunk.fEnd);
        fLatestEnds.push_back(latest);
    }
}

std::size_t ChunkStore::firstEndingAt(std::uint64_t time) const {
    return static_cast<std::size_t>(std::lower_bound(fLatestEnds.begin(), fLatestEnds.end(), time) -
                                    fLatestEnds.begin());
}

bool ChunkStore::mayHave(const StoredChunk& chunk, const std::set<std::uint16_t>& channels) const {
    if (chunk.fChannelsSize == 0) {
        return true;
    }
    bool hasOne = false;
    forEachChannel(chunk,
                   [&](std::uint16_t channel) { hasOne = hasOne || channels.count(channel) != 0; });
    return hasOne;
}

std::string_view ChunkStore::load(const StoredChunk& chunk, ChunkBuffers& buffers,
                                  Buffer& data) const {
    const auto failHere = [&chunk](const std::string& fault) {
        fail(nameOf(Opcode::Chunk), chunk.fOffset, fault);
    };
    if (chunk.fLength > a_largestChunk + a_chunkOverhead) {
        failHere("has " + std::to_string(chunk.fLength) + " bytes; at most " +
                 std::to_string(a_largestChunk) + " are allowed");
    }
    const auto length = static_cast<std::size_t>(chunk.fLength);
    if (chunk.fIsBare) {
        fFile.read(chunk.fOffset, data.reserve(length), length);
        return data.bytes(length);
    }
    fFile.read(chunk.fOffset, buffers.fCompressed.reserve(length), length);
    const std::string_view record = buffers.fCompressed.bytes(length);
    if (static_cast<Opcode>(record.front()) != Opcode::Chunk ||
        numberAt<std::uint64_t>(record.data() + 1) != length - a_prefixSize) {
        failHere("is not where the index says");
    }
    FieldReader fields(Opcode::Chunk, record.substr(a_prefixSize), chunk.fOffset);
    const ChunkHead head = readChunkHead(fields);
    const std::string_view compressed = fields.bytes(head.fCompressedSize);
    if (isTooLarge(head.fUncompressedSize, head.fCompressedSize)) {
        failHere("claims " + std::to_string(head.fUncompressedSize) + " bytes in " +
                 std::to_string(head.fCompressedSize) + " compressed ones, which is too much");
    }
    if (fIsIndexed && (head.fStart != chunk.fStart || head.fEnd != chunk.fEnd)) {
        failHere("has other times than its index");
    }
    const auto size = static_cast<std::size_t>(head.fUncompressedSize);
    const std::string fault =
        buffers.fDecompressor.decompress(head.fCompression, compressed, data.reserve(size), size);
    if (!fault.empty()) {
        failHere(fault);
    }
    const std::string_view records = data.bytes(size);
    if (head.fCrc != 0 && head.fCrc != crc32Of(records)) {
        failHere("has a wrong checksum");
    }
    return records;
}

// Reading everything

void ChunkStore::xReport(std::uint64_t offset, const std::string& text) {
    if (fDamages.size() < a_reportedDamages) {
        fDamages.push_back({offset, text});
    }
    ++fDamageCount;
}

void ChunkStore::xScan() {
    fHeader = {};
    fStatistics = {};
    fSchemas.clear();
    fChannels.clear();
    fAttachments.clear();
    fMetadata.clear();
    std::fill(fKnown.begin(), fKnown.end(), false);
    fDefinitionBytes = 0;
    fHasChunks = true;
    fListedAt.assign(a_channelNumbers, 0);

    Scanner scanner(fFile, a_magic.size(), fFile.size());
    std::optional<std::vector<std::uint64_t>> points;
    bool isAtEnd = false;
    while (!isAtEnd && fDamageCount <= a_mostDamages) {
        try {
            xScanData(scanner);
            isAtEnd = true;
        } catch (const RecordingError& error) {
            const std::uint64_t position = scanner.position();
            xReport(position, error.what());
            // A record with a damaged length hides the others, unless the index knows them.
            points = points ? std::move(points) : xResumePoints();
            const auto next = std::upper_bound(points->begin(), points->end(), position);
            isAtEnd = next == points->end();
            scanner.seek(isAtEnd ? position : *next);
        }
    }
    xFinishScan();
}

/** Takes records until the footer. Throws RecordingError where no record begins. */
void ChunkStore::xScanData(Scanner& scanner) {
    bool isData = true;
    while (const std::optional<OuterRecord> record = scanner.next()) {
        if (record->fOpcode == Opcode::DataEnd) {
            isData = false;
        } else if (record->fOpcode == Opcode::Footer) {
            const std::uint64_t left = fFile.size() - scanner.position();
            fHasEnd =
                left >= a_magic.size() && fFile.view(scanner.position(), a_magic.size()) == a_magic;
            break;
        }
        try {
            xTake(*record, isData);
        } catch (const RecordingError& error) {
            xReport(record->fOffset, error.what());
        }
        if (fDamageCount > a_mostDamages) {
            xReport(scanner.position(), "file has more than " + std::to_string(a_mostDamages) +
                                            " damaged records; the rest is not read");
            return;
        }
    }
    if (!fHasEnd) {
        xReport(fFile.size(), "file ends at byte " + std::to_string(fFile.size()) +
                                  " without a footer: the recording was not finished");
    }
}

void ChunkStore::xTake(const OuterRecord& record, bool isData) {
    switch (record.fOpcode) {
        case Opcode::Schema:
            xDefine(readSchema(fieldsOf(fFile, record)), record.fLength, record.fOffset);
            return;
        case Opcode::Channel:
            xDefine(readChannel(fieldsOf(fFile, record)), record.fLength, record.fOffset);
            return;
        default:
            break;
    }
    if (!isData) {
        return;
    }
    switch (record.fOpcode) {
        case Opcode::Header:
            fHeader = readHeader(fieldsOf(fFile, record));
            break;
        case Opcode::Message:
            xTakeMessage(record);
            break;
        case Opcode::Chunk:
            xTakeChunk(record);
            break;
        case Opcode::Attachment:
            xTakeAttachment(record);
            break;
        case Opcode::Metadata:
            xCount(record.fLength, record.fOffset);
            fMetadata.push_back(
                {record.fOffset, record.fLength, readMetadata(fieldsOf(fFile, record)).fName});
            break;
        default:
            break;
    }
}

void ChunkStore::xCountMessage(const Message& message, StoredChunk& chunk, bool isFirst) {
    chunk.fStart = isFirst ? message.fLogTime : std::min(chunk.fStart, message.fLogTime);
    chunk.fEnd = isFirst ? message.fLogTime : std::max(chunk.fEnd, message.fLogTime);
    ++fStatistics.fMessagesByChannel[message.fChannelId];
    xList(message.fChannelId, chunk);
}

/** Adds a channel to the list of the last chunk. */
void ChunkStore::xList(std::uint16_t channel, StoredChunk& chunk) {
    if (fListedAt[channel] == chunk.fOffset) {
        return;
    }
    if (fScannedLists.size() == a_scannedNumbers) {
        chunk.fChannelsSize = 0;
        return;
    }
    if (chunk.fChannelsSize == 0) {
        chunk.fChannelsOffset = fScannedLists.size();
    }
    fScannedLists.push_back(channel);
    ++chunk.fChannelsSize;
    fListedAt[channel] = chunk.fOffset;
}

void ChunkStore::xTakeMessage(const OuterRecord& record) {
    if (record.fLength < a_messageHeadSize) {
        fail(nameOf(record.fOpcode), record.fOffset, "is too short for its fields");
    }
    if (record.fLength > a_largestChunk) {
        fail(nameOf(record.fOpcode), record.fOffset, "is too large");
    }
    StoredChunk* bare = fChunks.empty() ? nullptr : &fChunks.back();
    const bool isFirst = bare == nullptr || !bare->fIsBare ||
                         bare->fOffset + bare->fLength != record.fOffset ||
                         bare->fLength + record.fLength > a_bareSize;
    if (isFirst) {
        bare = &fChunks.emplace_back();
        bare->fIsBare = true;
        bare->fOffset = record.fOffset;
    }
    bare->fLength += record.fLength;
    xCountMessage(readMessage(fFile.view(record.contentOffset(), a_messageHeadSize - a_prefixSize)),
                  *bare, isFirst);
}

void ChunkStore::xTakeChunk(const OuterRecord& record) {
    StoredChunk chunk;
    chunk.fOffset = record.fOffset;
    chunk.fLength = record.fLength;
    const std::string_view records = load(chunk, fScanBuffers, fScanData);
    // All or nothing: a damaged chunk counts no messages.
    std::vector<std::pair<std::uint16_t, std::uint64_t>> messages;
    for (std::size_t offset = 0; offset < records.size();) {
        const InnerRecord inner = takeRecord(records, offset, record.fOffset);
        const FieldReader fields(inner.fOpcode, inner.fContent, record.fOffset);
        if (inner.fOpcode == Opcode::Schema) {
            xDefine(readSchema(fields), inner.fContent.size(), record.fOffset);
        } else if (inner.fOpcode == Opcode::Channel) {
            xDefine(readChannel(fields), inner.fContent.size(), record.fOffset);
        } else if (inner.fOpcode == Opcode::Message) {
            const Message message = readMessage(inner.fContent);
            messages.emplace_back(message.fChannelId, message.fLogTime);
        }
    }
    bool isFirst = true;
    for (const auto& [channel, time] : messages) {
        xCountMessage({channel, 0, time, 0, {}}, chunk, isFirst);
        isFirst = false;
    }
    ++fStatistics.fChunkCount;
    if (!isFirst) {
        fChunks.push_back(chunk);
    }
}

void ChunkStore::xTakeAttachment(const OuterRecord& record) {
    // The data is left alone.
    const std::uint64_t size = std::min(record.contentSize(), a_largestDefinition);
    FieldReader fields(record.fOpcode,
                       fFile.view(record.contentOffset(), static_cast<std::size_t>(size)),
                       record.fOffset);
    AttachmentIndex index;
    index.fOffset = record.fOffset;
    index.fLength = record.fLength;
    index.fLogTime = fields.number<std::uint64_t>();
    index.fCreateTime = fields.number<std::uint64_t>();
    index.fName = fields.text();
    index.fMediaType = fields.text();
    index.fDataSize = fields.number<std::uint64_t>();
    const std::uint64_t left = record.contentSize() - (size - fields.rest().size());
    if (left < sizeof(std::uint32_t) || index.fDataSize > left - sizeof(std::uint32_t)) {
        fields.fail("is too short for its fields");
    }
    xCount(index.fName.size() + index.fMediaType.size() + sizeof(index), record.fOffset);
    fAttachments.push_back(std::move(index));
}

void ChunkStore::xFinishScan() {
    auto& counts = fStatistics.fMessagesByChannel;
    for (auto count = counts.begin(); count != counts.end();) {
        if (fKnown[count->first]) {
            fStatistics.fMessageCount += count->second;
            ++count;
            continue;
        }
        xReport(0, std::to_string(count->second) + " messages have the unknown channel " +
                       std::to_string(count->first));
        count = counts.erase(count);
    }
    fStatistics.fSchemaCount = static_cast<std::uint16_t>(fSchemas.size());
    fStatistics.fChannelCount = static_cast<std::uint32_t>(fChannels.size());
    fStatistics.fAttachmentCount = static_cast<std::uint32_t>(fAttachments.size());
    fStatistics.fMetadataCount = static_cast<std::uint32_t>(fMetadata.size());
    fListedAt = std::vector<std::uint64_t>();
    fScannedLists.shrink_to_fit();
    xSort();
    fStatistics.fEnd = fLatestEnds.empty() ? 0 : fLatestEnds.back();
    // In the order of their beginnings.
    fStatistics.fStart = fChunks.empty() ? 0 : fChunks.front().fStart;
}

/** Places behind a damaged record where records begin. */
std::vector<std::uint64_t> ChunkStore::xResumePoints() const {
    std::vector<std::uint64_t> points;
    try {
        const Footer footer = readFooter(fFile);
        Scanner scanner(fFile, footer.fSummaryStart, footer.fSummaryEnd);
        while (footer.fSummaryStart != 0) {
            const std::optional<OuterRecord> record = scanner.next();
            if (!record) {
                points.push_back(footer.fSummaryStart);
                break;
            }
            if (record->fOpcode == Opcode::ChunkIndex) {
                constexpr std::size_t offsetOfOffset = 2 * sizeof(std::uint64_t);
                FieldReader fields = fieldsOf(fFile, *record);
                fields.bytes(offsetOfOffset);
                points.push_back(std::min(fields.number<std::uint64_t>(), footer.fSummaryStart));
            }
        }
    } catch (const RecordingError&) {
        // The points found so far are still useful.
    }
    std::sort(points.begin(), points.end());
    return points;
}

// Definitions

void ChunkStore::xCount(std::uint64_t size, std::uint64_t position) {
    if (size > a_largestDefinitions - fDefinitionBytes) {
        fail("record", position, "is one of too many definitions");
    }
    fDefinitionBytes += size;
}

void ChunkStore::xDefine(Schema schema, std::uint64_t size, std::uint64_t position) {
    if (fSchemas.count(schema.fId) == 0) {
        xCount(size, position);
    }
    define(fSchemas, std::move(schema), Opcode::Schema, position);
}

void ChunkStore::xDefine(Channel channel, std::uint64_t size, std::uint64_t position) {
    const std::uint16_t id = channel.fId;
    if (fChannels.count(id) == 0) {
        xCount(size, position);
    }
    define(fChannels, std::move(channel), Opcode::Channel, position);
    fKnown[id] = true;
}

}  // namespace recording

#include "chunk_store.h"
#include "fields.h"
#include "scanner.h"

#include <algorithm>
#include <array>
#include <map>
#include <recording/check.h>
#include <tuple>
#include <utility>
#include <vector>

namespace recording {

namespace {

constexpr std::size_t a_reportedFaults = 100;

/** Log time and offset of each message of a channel in a chunk. */
using Entries = std::vector<std::pair<std::uint64_t, std::uint64_t>>;

/** A chunk in the data, to compare its index with. */
struct SeenChunk {
    ChunkHead fHead;
    std::uint64_t fLength = 0;
    std::uint64_t fIndexesEnd = 0;
    std::size_t fIndexedChannels = 0;

    std::uint64_t indexesLength(std::uint64_t offset) const {
        return fIndexesEnd - offset - fLength;
    }
};

struct Group {
    Opcode fOpcode{};
    std::uint64_t fStart = 0;
    std::uint64_t fEnd = 0;
};

template <class Index>
const Index* findAt(const std::vector<Index>& indexes, std::uint64_t offset) {
    const auto found =
        std::lower_bound(indexes.begin(), indexes.end(), offset,
                         [](const Index& index, std::uint64_t at) { return index.fOffset < at; });
    return found != indexes.end() && found->fOffset == offset ? &*found : nullptr;
}

bool isSame(const AttachmentIndex& left, const AttachmentIndex& right) {
    const auto fields = [](const AttachmentIndex& index) {
        return std::tie(index.fLength, index.fLogTime, index.fCreateTime, index.fDataSize,
                        index.fName, index.fMediaType);
    };
    return fields(left) == fields(right);
}

bool isSame(const MetadataIndex& left, const MetadataIndex& right) {
    return std::tie(left.fLength, left.fName) == std::tie(right.fLength, right.fName);
}

/** Compares everything in a file that says something about another part of it. */
class Checker {
  public:
    explicit Checker(const std::string& path) : fStore(path, Access::Sequential) {}

    CheckReport run();

  private:
    void xReport(std::uint64_t offset, const std::string& text);
    void xReport(const OuterRecord& record, const std::string& fault);
    void xCheckCrc(const OuterRecord& record, std::uint32_t expected, std::uint32_t actual);
    void xCheckRecords();
    void xCheck(const OuterRecord& record);
    void xCheckData(const OuterRecord& record);
    void xCheckChunk(const OuterRecord& record);
    void xCheckMessageIndex(const OuterRecord& record);
    void xFinishChunk();
    void xCheckSummary(const OuterRecord& record);
    void xCheckChunkIndex(const OuterRecord& record);
    void xCheckStatistics(const OuterRecord& record);
    void xCheckSummaryOffset(const OuterRecord& record);
    template <class Index>
    void xCheckIndex(const OuterRecord& record, const Index& index, const std::vector<Index>& seen);
    void xCheckFooter();
    std::uint32_t xCrcOf(std::uint64_t start, std::uint64_t end, std::uint32_t before) const;

    ChunkStore fStore;
    const InputFile& fFile = fStore.file();
    CheckReport fReport;
    ChunkBuffers fBuffers;
    Buffer fChunkData;
    bool fIsData = true;
    std::uint32_t fDataCrc = 0;
    std::uint64_t fSummaryStart = 0;
    std::map<std::uint64_t, SeenChunk> fChunks;
    /** The chunk that the message indexes belong to, and what they have to say. */
    std::uint64_t fChunk = 0;
    std::map<std::uint16_t, Entries> fEntries;
    std::vector<Group> fGroups;
    std::uint64_t fChunkIndexes = 0;
};

void Checker::xReport(std::uint64_t offset, const std::string& text) {
    if (fReport.fFaults.size() < a_reportedFaults) {
        fReport.fFaults.push_back({offset, text});
    }
    ++fReport.fFaultCount;
}

void Checker::xReport(const OuterRecord& record, const std::string& fault) {
    xReport(record.fOffset,
            nameOf(record.fOpcode) + " at byte " + std::to_string(record.fOffset) + ' ' + fault);
}

void Checker::xCheckCrc(const OuterRecord& record, std::uint32_t expected, std::uint32_t actual) {
    if (expected == 0) {
        return;
    }
    ++fReport.fChecksums;
    if (expected != actual) {
        xReport(record, "has a wrong checksum of what comes before it");
    }
}

std::uint32_t Checker::xCrcOf(std::uint64_t start, std::uint64_t end, std::uint32_t before) const {
    constexpr std::uint64_t piece = std::uint64_t{64} << 10U;
    while (start < end) {
        const auto size = static_cast<std::size_t>(std::min(piece, end - start));
        before = crc32Of(fFile.view(start, size), before);
        start += size;
    }
    return before;
}

CheckReport Checker::run() {
    for (const Damage& damage : fStore.damages()) {
        xReport(damage.fOffset, damage.fText);
    }
    fReport.fMessages = fStore.fStatistics.fMessageCount;
    fReport.fChunks = fStore.fStatistics.fChunkCount;
    try {
        xCheckRecords();
        if (!fIsData) {
            xCheckFooter();
        }
    } catch (const RecordingError& error) {
        // The store reports where the records end.
        if (fStore.isWhole()) {
            xReport(0, error.what());
        }
    }
    return std::move(fReport);
}

void Checker::xCheckRecords() {
    fDataCrc = crc32Of(a_magic);
    Scanner scanner(fFile, a_magic.size(), fFile.size());
    bool isFirst = true;
    while (const std::optional<OuterRecord> record = scanner.next()) {
        if (isFirst && record->fOpcode != Opcode::Header) {
            xReport(*record, "is not a header, with which a file begins");
        }
        isFirst = false;
        if (record->fOpcode != Opcode::MessageIndex) {
            xFinishChunk();
        }
        if (record->fOpcode == Opcode::Footer) {
            return;
        }
        try {
            xCheck(*record);
        } catch (const RecordingError& error) {
            // The store has reported damages of the data.
            if (!fIsData || record->fOpcode == Opcode::Attachment ||
                record->fOpcode == Opcode::MessageIndex) {
                xReport(record->fOffset, error.what());
            }
        }
    }
}

void Checker::xCheck(const OuterRecord& record) {
    if (record.fOpcode == Opcode::DataEnd) {
        xCheckCrc(record, fieldsOf(fFile, record).number<std::uint32_t>(), fDataCrc);
        fIsData = false;
        fSummaryStart = record.fOffset + record.fLength;
    } else if (fIsData) {
        fDataCrc = xCrcOf(record.fOffset, record.fOffset + record.fLength, fDataCrc);
        xCheckData(record);
    } else {
        if (fGroups.empty() || fGroups.back().fOpcode != record.fOpcode) {
            fGroups.push_back({record.fOpcode, record.fOffset, record.fOffset});
        }
        fGroups.back().fEnd = record.fOffset + record.fLength;
        xCheckSummary(record);
    }
}

void Checker::xCheckData(const OuterRecord& record) {
    switch (record.fOpcode) {
        case Opcode::Chunk:
            xCheckChunk(record);
            break;
        case Opcode::MessageIndex:
            xCheckMessageIndex(record);
            break;
        case Opcode::Attachment: {
            const FieldReader fields =
                fieldsOf(fFile, record, a_largestAttachment + a_largestDefinition);
            ++fReport.fChecksums;
            readAttachment(fields);
            break;
        }
        case Opcode::ChunkIndex:
        case Opcode::AttachmentIndex:
        case Opcode::MetadataIndex:
        case Opcode::Statistics:
        case Opcode::SummaryOffset:
            xReport(record, "is in the data and not in the summary");
            break;
        default:
            break;
    }
}

void Checker::xCheckChunk(const OuterRecord& record) {
    StoredChunk stored;
    stored.fOffset = record.fOffset;
    stored.fLength = record.fLength;
    const std::string_view records = fStore.load(stored, fBuffers, fChunkData);
    SeenChunk seen;
    FieldReader fields(record.fOpcode,
                       fBuffers.fCompressed.bytes(record.fLength).substr(a_prefixSize),
                       record.fOffset);
    seen.fHead = readChunkHead(fields);
    seen.fLength = record.fLength;
    seen.fIndexesEnd = record.fOffset + record.fLength;
    fReport.fChecksums += seen.fHead.fCrc == 0 ? 0 : 1;
    std::uint64_t start = 0;
    std::uint64_t end = 0;
    std::map<std::uint16_t, Entries> found;
    for (std::size_t offset = 0; offset < records.size();) {
        const InnerRecord inner = takeRecord(records, offset, record.fOffset);
        if (inner.fOpcode == Opcode::Message) {
            const Message message = readMessage(inner.fContent);
            start = found.empty() ? message.fLogTime : std::min(start, message.fLogTime);
            end = std::max(end, message.fLogTime);
            found[message.fChannelId].emplace_back(message.fLogTime, inner.fOffset);
        }
    }
    if (start != seen.fHead.fStart || end != seen.fHead.fEnd) {
        xReport(record, "has other times than its messages");
    }
    for (auto& [channel, entries] : found) {
        std::sort(entries.begin(), entries.end());
    }
    fEntries = std::move(found);
    fChunk = record.fOffset;
    fChunks.emplace_hint(fChunks.end(), record.fOffset, std::move(seen));
}

void Checker::xCheckMessageIndex(const OuterRecord& record) {
    const auto chunk = fChunks.find(fChunk);
    if (chunk == fChunks.end() || chunk->second.fIndexesEnd != record.fOffset) {
        // Behind a chunk that is damaged, too.
        if (fStore.damages().empty()) {
            xReport(record, "does not follow a chunk");
        }
        return;
    }
    chunk->second.fIndexesEnd = record.fOffset + record.fLength;
    ++chunk->second.fIndexedChannels;
    FieldReader fields = fieldsOf(fFile, record, a_largestChunk);
    const auto channel = fields.number<std::uint16_t>();
    const std::string_view pairs = fields.sized();
    Entries claimed;
    for (std::size_t i = 0; i + a_messageIndexEntrySize <= pairs.size();
         i += a_messageIndexEntrySize) {
        claimed.emplace_back(numberAt<std::uint64_t>(pairs.data() + i),
                             numberAt<std::uint64_t>(pairs.data() + i + sizeof(std::uint64_t)));
    }
    std::sort(claimed.begin(), claimed.end());
    const auto actual = fEntries.find(channel);
    if (actual == fEntries.end() ? !claimed.empty() : actual->second != claimed) {
        xReport(record, "does not list the messages of its chunk");
    }
    if (actual != fEntries.end()) {
        fEntries.erase(actual);
    }
}

/** Called behind the message indexes of a chunk. */
void Checker::xFinishChunk() {
    if (fEntries.empty()) {
        return;
    }
    // A chunk may have no message indexes at all.
    const auto chunk = fChunks.find(fChunk);
    if (chunk != fChunks.end() && chunk->second.fIndexedChannels > 0) {
        xReport(fChunk, "chunk at byte " + std::to_string(fChunk) + " has no message index for " +
                            std::to_string(fEntries.size()) + " of its channels");
    }
    fEntries.clear();
}

void Checker::xCheckSummary(const OuterRecord& record) {
    switch (record.fOpcode) {
        case Opcode::ChunkIndex:
            xCheckChunkIndex(record);
            break;
        case Opcode::AttachmentIndex:
            xCheckIndex(record, readAttachmentIndex(fieldsOf(fFile, record)), fStore.fAttachments);
            break;
        case Opcode::MetadataIndex:
            xCheckIndex(record, readMetadataIndex(fieldsOf(fFile, record)), fStore.fMetadata);
            break;
        case Opcode::Statistics:
            xCheckStatistics(record);
            break;
        case Opcode::SummaryOffset:
            xCheckSummaryOffset(record);
            break;
        default:
            break;
    }
}

template <class Index>
void Checker::xCheckIndex(const OuterRecord& record, const Index& index,
                          const std::vector<Index>& seen) {
    const Index* const actual = findAt(seen, index.fOffset);
    if (actual == nullptr || !isSame(*actual, index)) {
        xReport(record, "does not describe a record of the data");
    }
}

void Checker::xCheckChunkIndex(const OuterRecord& record) {
    ++fChunkIndexes;
    const ChunkIndex index = readChunkIndex(fieldsOf(fFile, record));
    const auto found = fChunks.find(index.fOffset);
    if (found == fChunks.end()) {
        xReport(record, "does not point to a chunk");
        return;
    }
    const SeenChunk& chunk = found->second;
    const bool isSame = index.fStart == chunk.fHead.fStart && index.fEnd == chunk.fHead.fEnd &&
                        index.fLength == chunk.fLength &&
                        index.fCompression == chunk.fHead.fCompression &&
                        index.fCompressedSize == chunk.fHead.fCompressedSize &&
                        index.fUncompressedSize == chunk.fHead.fUncompressedSize &&
                        index.fMessageIndexLength == chunk.indexesLength(index.fOffset);
    if (!isSame) {
        xReport(record, "does not describe its chunk");
        return;
    }
    const std::string_view pairs = index.fMessageIndexOffsets;
    const std::uint64_t firstIndex = index.fOffset + index.fLength;
    std::size_t sound = 0;
    for (std::size_t pair = 0; pair < pairs.size(); pair += a_messageIndexOffsetSize) {
        const auto channel = numberAt<std::uint16_t>(pairs.data() + pair);
        const auto offset = numberAt<std::uint64_t>(pairs.data() + pair + sizeof(channel));
        constexpr std::size_t head = a_prefixSize + sizeof(channel);
        if (offset < firstIndex || offset >= chunk.fIndexesEnd ||
            chunk.fIndexesEnd - offset < head) {
            break;
        }
        // Not a view, which reads much more: the offsets may be in any order.
        std::array<char, head> bytes{};
        fFile.read(offset, bytes.data(), bytes.size());
        sound += static_cast<Opcode>(bytes.front()) == Opcode::MessageIndex &&
                         numberAt<std::uint16_t>(bytes.data() + a_prefixSize) == channel
                     ? 1
                     : 0;
    }
    const std::size_t claimed = pairs.size() / a_messageIndexOffsetSize;
    if (sound != claimed || claimed != chunk.fIndexedChannels) {
        xReport(record, "does not point to the message indexes of its chunk");
    }
}

void Checker::xCheckStatistics(const OuterRecord& record) {
    Statistics claimed = readStatistics(fieldsOf(fFile, record));
    const Statistics& actual = fStore.fStatistics;
    for (auto count = claimed.fMessagesByChannel.begin();
         count != claimed.fMessagesByChannel.end();) {
        count = count->second == 0 ? claimed.fMessagesByChannel.erase(count) : std::next(count);
    }
    const auto fields = [](const Statistics& statistics) {
        return std::tie(statistics.fMessageCount, statistics.fSchemaCount, statistics.fChannelCount,
                        statistics.fAttachmentCount, statistics.fMetadataCount,
                        statistics.fChunkCount, statistics.fStart, statistics.fEnd,
                        statistics.fMessagesByChannel);
    };
    if (fields(claimed) != fields(actual)) {
        xReport(record, "are not those of the data");
    }
}

void Checker::xCheckSummaryOffset(const OuterRecord& record) {
    FieldReader fields = fieldsOf(fFile, record);
    const auto opcode = static_cast<Opcode>(fields.number<std::uint8_t>());
    const auto start = fields.number<std::uint64_t>();
    const auto length = fields.number<std::uint64_t>();
    // In the order of the file.
    const auto group = std::lower_bound(
        fGroups.begin(), fGroups.end(), start,
        [](const Group& each, std::uint64_t position) { return each.fStart < position; });
    const bool isGroup = group != fGroups.end() && group->fOpcode == opcode &&
                         group->fStart == start && group->fEnd - start == length;
    if (!isGroup) {
        xReport(record, "does not describe a group of the summary");
    }
}

void Checker::xCheckFooter() {
    const Footer footer = readFooter(fFile);
    const OuterRecord record{Opcode::Footer, footer.fOffset, a_footerSize};
    if (footer.fSummaryStart != 0 && footer.fSummaryStart != fSummaryStart) {
        xReport(record, "does not point to the summary");
    }
    const std::uint64_t start = footer.fSummaryStart == 0 ? fSummaryStart : footer.fSummaryStart;
    const std::uint64_t end = footer.fOffset + a_footerSize - sizeof(std::uint32_t);
    xCheckCrc(record, footer.fSummaryCrc, xCrcOf(start, end, 0));
    if (fChunkIndexes != 0 && fChunkIndexes != fStore.fStatistics.fChunkCount) {
        xReport(record, "ends a file with " + std::to_string(fStore.fStatistics.fChunkCount) +
                            " chunks and an index of " + std::to_string(fChunkIndexes));
    }
}

}  // namespace

CheckReport check(const std::string& path) {
    return Checker(path).run();
}

}  // namespace recording

#include "chunk_packer.h"

#include "fields.h"
#include "spill.h"

#include <algorithm>
#include <recording/output_file.h>
#include <utility>

namespace recording {

void ChunkPacker::xSortByChannel() {
    fRuns.clear();
    for (const ChunkContent::Entry& entry : fChunk->fEntries) {
        if (entry.fChannelId >= fPlaces.size()) {
            fPlaces.resize(entry.fChannelId + std::size_t{1});
        }
        if (fPlaces[entry.fChannelId]++ == 0) {
            fRuns.push_back({entry.fChannelId, 0, 0});
        }
    }
    std::uint32_t next = 0;
    for (Run& run : fRuns) {
        run.fCount = std::exchange(fPlaces[run.fChannelId], next);
        next += run.fCount;
    }
    fSorted.resize(fChunk->fEntries.size());
    for (const ChunkContent::Entry& entry : fChunk->fEntries) {
        fSorted[fPlaces[entry.fChannelId]++] = entry;
    }
    for (const Run& run : fRuns) {
        fPlaces[run.fChannelId] = 0;
    }
}

void ChunkPacker::xBuildMessageIndexes() {
    fMessageIndexes.clear();
    auto entry = fSorted.begin();
    for (Run& run : fRuns) {
        const auto end = entry + run.fCount;
        const auto isEarlier = [](const ChunkContent::Entry& left,
                                  const ChunkContent::Entry& right) {
            return left.fLogTime < right.fLogTime;
        };
        if (!std::is_sorted(entry, end, isEarlier)) {
            std::stable_sort(entry, end, isEarlier);
        }
        run.fIndexOffset = fMessageIndexes.size();
        const RecordAppender record(fMessageIndexes, Opcode::MessageIndex);
        putNumber(fMessageIndexes, run.fChannelId);
        putNumber(fMessageIndexes,
                  static_cast<std::uint32_t>(run.fCount * a_messageIndexEntrySize));
        const std::size_t entriesStart = fMessageIndexes.size();
        fMessageIndexes.resize(entriesStart + run.fCount * a_messageIndexEntrySize);
        for (char* place = fMessageIndexes.data() + entriesStart; entry != end; ++entry) {
            place = storeNumber(place, entry->fLogTime);
            place = storeNumber(place, std::uint64_t{entry->fOffset});
        }
    }
}

void ChunkPacker::pack(const ChunkContent& chunk) {
    fChunk = &chunk;
    fData = fCompressor.compress(chunk.fBytes);
    fHead.clear();
    const std::string_view compression = nameOf(fData.fCompression);
    constexpr std::size_t fixedSize = 40;
    putNumber(fHead, static_cast<std::uint8_t>(Opcode::Chunk));
    putNumber(fHead, std::uint64_t{fixedSize + compression.size() + fData.fBytes.size()});
    putNumber(fHead, chunk.fStart);
    putNumber(fHead, chunk.fEnd);
    putNumber(fHead, std::uint64_t{chunk.fBytes.size()});
    putNumber(fHead, crc32Of(chunk.fBytes));
    putSized<std::uint32_t>(fHead, compression);
    putNumber(fHead, std::uint64_t{fData.fBytes.size()});
    xSortByChannel();
    xBuildMessageIndexes();
}

void ChunkPacker::append(OutputFile& file, Spill& indexes) {
    const std::uint64_t offset = file.size();
    const std::uint32_t crcBefore = file.crc();
    const std::uint64_t length = fHead.size() + fData.fBytes.size();
    fChunkIndex.clear();
    {
        const RecordAppender record(fChunkIndex, Opcode::ChunkIndex);
        putNumber(fChunkIndex, fChunk->fStart);
        putNumber(fChunkIndex, fChunk->fEnd);
        putNumber(fChunkIndex, offset);
        putNumber(fChunkIndex, length);
        putNumber(fChunkIndex, static_cast<std::uint32_t>(fRuns.size() * a_messageIndexOffsetSize));
        for (const Run& run : fRuns) {
            putNumber(fChunkIndex, run.fChannelId);
            putNumber(fChunkIndex, std::uint64_t{offset + length + run.fIndexOffset});
        }
        putNumber(fChunkIndex, std::uint64_t{fMessageIndexes.size()});
        putSized<std::uint32_t>(fChunkIndex, nameOf(fData.fCompression));
        putNumber(fChunkIndex, std::uint64_t{fData.fBytes.size()});
        putNumber(fChunkIndex, std::uint64_t{fChunk->fBytes.size()});
    }
    file.append({fHead, fData.fBytes, fMessageIndexes});
    try {
        indexes.append(fChunkIndex);
    } catch (...) {
        file.cutOff(offset, crcBefore);
        throw;
    }
}

}  // namespace recording

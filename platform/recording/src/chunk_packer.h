#ifndef RECORDING_CHUNK_PACKER_H
#define RECORDING_CHUNK_PACKER_H

#include "compression.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace recording {

class OutputFile;
class Spill;

/** Messages and definitions that become a chunk. */
struct ChunkContent {
    struct Entry {
        std::uint64_t fLogTime;
        std::uint32_t fOffset;
        std::uint16_t fChannelId;
    };

    void clear() {
        fBytes.clear();
        fEntries.clear();
    }

    std::string fBytes;
    std::vector<Entry> fEntries;
    std::uint64_t fStart = 0;
    std::uint64_t fEnd = 0;
};

/** Turns the content of a chunk into a compressed record and its indexes. For one thread. */
class ChunkPacker {
  public:
    ChunkPacker(Compression compression, int level) : fCompressor(compression, level) {}

    /** Packs a chunk, which must exist until it is appended. */
    void pack(const ChunkContent& chunk);

    /** Appends the packed chunk to a file and its chunk index to `indexes`: both, or neither if it
     *  throws WriteError. */
    void append(OutputFile& file, Spill& indexes);

    /** Calls `count` with each channel of the chunk and its number of messages. */
    template <class Count>
    void forEachChannel(Count count) const {
        for (const Run& run : fRuns) {
            count(run.fChannelId, run.fCount);
        }
    }

  private:
    /** The messages of a channel. */
    struct Run {
        std::uint16_t fChannelId;
        std::uint32_t fCount;
        std::uint64_t fIndexOffset;  ///< of the message index, in fMessageIndexes
    };

    void xSortByChannel();
    void xBuildMessageIndexes();

    Compressor fCompressor;
    const ChunkContent* fChunk = nullptr;
    Compressor::Result fData;
    std::string fHead;  ///< of the chunk record, before the data
    std::string fMessageIndexes;
    std::string fChunkIndex;
    std::vector<Run> fRuns;
    std::vector<ChunkContent::Entry> fSorted;
    /** For each channel the number of messages, then the place of the next one. */
    std::vector<std::uint32_t> fPlaces;
};

}  // namespace recording

#endif

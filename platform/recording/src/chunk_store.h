#ifndef RECORDING_CHUNK_STORE_H
#define RECORDING_CHUNK_STORE_H

#include "compression.h"
#include "fields.h"
#include "input_file.h"
#include "scanner.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <recording/reader.h>
#include <set>
#include <string>
#include <vector>

namespace recording {

/** A chunk, or messages that follow each other outside chunks. */
struct StoredChunk {
    std::uint64_t fStart = 0;   ///< log time of the first message
    std::uint64_t fEnd = 0;     ///< log time of the last message
    std::uint64_t fOffset = 0;  ///< of the record, or of the first message's
    std::uint64_t fLength = 0;
    /** The channels are listed as pairs of channel and offset in the file, in bytes, or in memory
     *  if the file has been scanned. A chunk of size 0 has no list and may have every channel. */
    std::uint64_t fChannelsOffset = 0;
    std::uint32_t fChannelsSize = 0;
    bool fIsBare = false;  ///< not a chunk
};

/** Scratch memory for chunks. For one thread. */
struct ChunkBuffers {
    Decompressor fDecompressor;
    Buffer fCompressed;
};

/** The contents of a file: definitions, indexes and where its chunks are. */
class ChunkStore {
  public:
    ChunkStore(const std::string& path, Access access);

    const InputFile& file() const { return fFile; }
    bool isIndexed() const { return fIsIndexed; }
    bool isWhole() const { return fHasEnd && fDamageCount == 0; }
    const std::vector<Damage>& damages() const { return fDamages; }
    bool knows(std::uint16_t channel) const { return fKnown[channel]; }

    /** In the order of their times. Reads the chunk index when called for the first time. */
    const std::vector<StoredChunk>& chunks();

    /** See Reader. */
    std::string unknownCompression() const;

    /** Returns the first chunk from which on one may end at a time or later. */
    std::size_t firstEndingAt(std::uint64_t time) const;

    /** Returns the latest end of a chunk and all before it. */
    std::uint64_t latestEnd(std::size_t chunk) const { return fLatestEnds[chunk]; }

    /** Calls a function with each channel in the list of a chunk. */
    template <class Take>
    void forEachChannel(const StoredChunk& chunk, Take take) const {
        if (!fIsIndexed) {
            std::for_each_n(
                fScannedLists.begin() + static_cast<std::ptrdiff_t>(chunk.fChannelsOffset),
                chunk.fChannelsSize, take);
            return;
        }
        const std::string_view pairs = fFile.view(chunk.fChannelsOffset, chunk.fChannelsSize);
        for (std::size_t pair = 0; pair + a_messageIndexOffsetSize <= pairs.size();
             pair += a_messageIndexOffsetSize) {
            take(numberAt<std::uint16_t>(pairs.data() + pair));
        }
    }

    /** Returns false if the list of a chunk has none of the channels. */
    bool mayHave(const StoredChunk& chunk, const std::set<std::uint16_t>& channels) const;

    /**
     * Reads a chunk and verifies its checksum.
     *
     * @return the uncompressed records, in `data`
     */
    std::string_view load(const StoredChunk& chunk, ChunkBuffers& buffers, Buffer& data) const;

    Header fHeader;
    Statistics fStatistics;
    std::map<std::uint16_t, Schema> fSchemas;
    std::map<std::uint16_t, Channel> fChannels;
    std::vector<AttachmentIndex> fAttachments;
    std::vector<MetadataIndex> fMetadata;

  private:
    struct Span {
        std::uint64_t fStart = 0;
        std::uint64_t fEnd = 0;
    };

    void xOpenIndexed();
    std::map<Opcode, Span> xReadOffsets(const Footer& footer) const;
    void xReadSummary(Span span);
    void xReadChunkIndex();
    void xRequireApart();
    void xSort();

    void xScan();
    void xScanData(Scanner& scanner);
    void xTake(const OuterRecord& record, bool isData);
    void xTakeMessage(const OuterRecord& record);
    void xTakeChunk(const OuterRecord& record);
    void xTakeAttachment(const OuterRecord& record);
    void xFinishScan();
    std::vector<std::uint64_t> xResumePoints() const;
    void xReport(std::uint64_t offset, const std::string& text);

    void xDefine(Schema schema, std::uint64_t size, std::uint64_t position);
    void xDefine(Channel channel, std::uint64_t size, std::uint64_t position);
    void xCount(std::uint64_t size, std::uint64_t position);
    void xCountMessage(const Message& message, StoredChunk& chunk, bool isFirst);
    void xList(std::uint16_t channel, StoredChunk& chunk);

    const InputFile fFile;
    bool fIsIndexed = false;
    bool fHasEnd = false;
    std::vector<bool> fKnown;
    std::uint64_t fDefinitionBytes = 0;
    Span fChunkIndex;
    std::uint64_t fDataEnd = 0;
    bool fHasChunks = false;
    std::vector<StoredChunk> fChunks;
    /** For each chunk the latest end of it and all before it. */
    std::vector<std::uint64_t> fLatestEnds;
    /** The channels of each chunk, one list behind the other, if the file has been scanned. */
    std::vector<std::uint16_t> fScannedLists;
    /** In a scan the offset of the chunk that has listed each channel last. */
    std::vector<std::uint64_t> fListedAt;
    std::vector<Damage> fDamages;
    std::uint64_t fDamageCount = 0;
    ChunkBuffers fScanBuffers;
    Buffer fScanData;
};

}  // namespace recording

#endif

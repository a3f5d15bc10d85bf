#ifndef RECORDING_NEWEST_MESSAGES_H
#define RECORDING_NEWEST_MESSAGES_H

#include "chunk_store.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <recording/reader.h>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

namespace recording {

/**
 * Finds the newest message of each channel at a time.
 *
 * Chunks have lists of their channels. From these it is known for some chunks, evenly spread over
 * the file, which earlier chunk has the newest message of each channel; for the chunks between them
 * the lists are read again. So the memory is bounded for any number of chunks and channels, and a
 * chunk is only read for a channel that it contains. A chunk without list may contain any channel.
 */
class NewestMessages {
  public:
    explicit NewestMessages(ChunkStore& store);

    bool find(std::uint64_t time, const std::set<std::uint16_t>& channels,
              const std::function<void(const Message&)>& take, const std::function<bool()>& goOn);

  private:
    /** A message with its place in the order of messages. */
    struct Found {
        Message fMessage;  ///< without data
        std::string fData;
        std::uint64_t fChunkOffset = 0;
        std::size_t fPlace = 0;  ///< within the chunk

        bool isBefore(const Found& other) const;
    };
    struct Search;
    /** For each channel 1 + the number of the last chunk that contains it, or 0. */
    using LastChunks = std::vector<std::uint32_t>;

    void xPrepare();
    void xExtend(std::size_t checkpoint);
    void xAdd(std::size_t chunk, LastChunks& last) const;
    const LastChunks& xLastBefore(std::size_t chunk);

    bool xRead(Search& search, const std::function<bool()>& goOn);
    void xReadChunk(std::size_t number, const std::set<std::uint16_t>& channels, Search& search);
    bool xIsSettled(std::uint16_t channel, std::size_t chunksLeft, const Search& search) const;
    void xQueue(const std::set<std::uint16_t>& channels, std::size_t before, Search& search);
    void xKeep(std::uint64_t key, const std::optional<Found>& found);

    ChunkStore& fStore;
    bool fIsPrepared = false;
    bool fIsInFileOrder = true;         ///< the chunks' times ascend with their offsets
    std::size_t fStride = 1;            ///< chunks from one checkpoint to the next
    std::vector<std::uint32_t> fDense;  ///< index in LastChunks by channel
    std::vector<LastChunks> fCheckpoints;
    std::vector<std::uint32_t> fUnlisted;  ///< numbers of the chunks without list
    std::size_t fLastBeforeChunk = 0;
    std::optional<LastChunks> fLastBefore;
    /** The newest message of a channel in a chunk, or nothing, by both. */
    std::unordered_map<std::uint64_t, std::optional<Found>> fCache;
    std::size_t fCacheBytes = 0;
    ChunkBuffers fBuffers;
    Buffer fData;
};

}  // namespace recording

#endif

#ifndef RECORDING_MESSAGES_H
#define RECORDING_MESSAGES_H

#include "chunk_store.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <recording/reader.h>
#include <vector>

namespace recording {

/** Merges the messages of chunks that overlap in time, with as few of them in memory as possible.
 */
class MessagesImpl {
  public:
    MessagesImpl(ChunkStore& store, Selection selection);

    std::optional<Message> next();

  private:
    struct Entry {
        std::uint64_t fLogTime;
        std::size_t fOffset;
    };

    /** A chunk in memory with the selected messages that are left. */
    struct Loaded {
        Buffer fData;
        std::string_view fRecords;
        std::uint64_t fOffset = 0;
        std::vector<Entry> fEntries;
        std::size_t fNext = 0;

        std::uint64_t memory() const {
            return fRecords.size() + fEntries.capacity() * sizeof(Entry);
        }
    };

    static bool xIsLater(const std::unique_ptr<Loaded>& left, const std::unique_ptr<Loaded>& right);
    void xLoadNeeded();
    void xLoad(const StoredChunk& chunk);
    bool xIsSelected(const Message& message, const StoredChunk& chunk) const;
    void xRelease();

    ChunkStore& fStore;
    const Selection fSelection;
    /** The chunks to read. In the order of the file if the messages are. */
    std::vector<StoredChunk> fInFileOrder;
    std::size_t fNextChunk = 0;
    /** A heap; the chunk with the next message is the first. */
    std::vector<std::unique_ptr<Loaded>> fLoaded;
    std::uint64_t fMemory = 0;
    /** The chunk of the message that was returned last, if it has no more. */
    std::unique_ptr<Loaded> fUsed;
    ChunkBuffers fBuffers;
};

}  // namespace recording

#endif

#include "newest_messages.h"

#include "fields.h"

#include <algorithm>
#include <iterator>
#include <tuple>
#include <utility>

namespace recording {

namespace {

/** Numbers in all checkpoints together: 16 MiB. */
constexpr std::size_t a_checkpointNumbers = std::size_t{4} << 20U;
constexpr std::size_t a_cacheBytes = std::size_t{32} << 20U;
constexpr std::size_t a_largestCached = std::size_t{64} << 10U;
/** Memory of a message in the cache without its data, roughly. */
constexpr std::size_t a_cachedOverhead = 150;

std::uint64_t cacheKey(std::size_t chunk, std::uint16_t channel) {
    return std::uint64_t{chunk} << 16U | channel;
}

}  // namespace

/** One search. */
struct NewestMessages::Search {
    std::uint64_t fTime = 0;
    const std::set<std::uint16_t>& fChannels;
    std::map<std::uint16_t, Found> fBest{};
    /** The channels to look for in each chunk, by its number; the last chunk is the next one. */
    std::map<std::size_t, std::set<std::uint16_t>> fQueue{};
    std::uint64_t fMemory = 0;  ///< bytes of data in fBest

    /** Returns false if a chunk has no newer message of a channel than the best one. */
    bool mayImprove(std::uint16_t channel, const StoredChunk& chunk) const {
        const auto best = fBest.find(channel);
        return best == fBest.end() ||
               std::tie(best->second.fMessage.fLogTime, best->second.fChunkOffset) <
                   std::tie(chunk.fEnd, chunk.fOffset);
    }

    void offer(const Found& found) {
        Found& best = fBest[found.fMessage.fChannelId];
        if (best.isBefore(found)) {
            fMemory += found.fData.size();
            fMemory -= best.fData.size();
            best = found;
        }
        if (fMemory > a_largestOpenChunks) {
            fail(nameOf(Opcode::Chunk), found.fChunkOffset,
                 "has one of too many large messages; at most " +
                     std::to_string(a_largestOpenChunks) + " bytes may be the newest ones");
        }
    }
};

bool NewestMessages::Found::isBefore(const Found& other) const {
    return std::tie(fMessage.fLogTime, fChunkOffset, fPlace) <
           std::tie(other.fMessage.fLogTime, other.fChunkOffset, other.fPlace);
}

NewestMessages::NewestMessages(ChunkStore& store) : fStore(store) {
}

void NewestMessages::xPrepare() {
    if (fIsPrepared) {
        return;
    }
    const std::vector<StoredChunk>& chunks = fStore.chunks();
    fIsInFileOrder = std::is_sorted(chunks.begin(), chunks.end(),
                                    [](const StoredChunk& left, const StoredChunk& right) {
                                        return left.fOffset < right.fOffset;
                                    });
    constexpr std::size_t channelNumbers = std::size_t{1} << 16U;
    fDense.assign(channelNumbers, 0);
    std::uint32_t next = 0;
    for (const auto& [id, channel] : fStore.fChannels) {
        fDense[id] = next++;
    }
    for (std::size_t chunk = 0; chunk < chunks.size(); ++chunk) {
        if (chunks[chunk].fChannelsSize == 0) {
            fUnlisted.push_back(static_cast<std::uint32_t>(chunk));
        }
    }
    fCheckpoints.emplace_back(fStore.fChannels.size());
    fStride =
        std::max<std::size_t>(1, chunks.size() * fStore.fChannels.size() / a_checkpointNumbers + 1);
    fIsPrepared = true;
}

void NewestMessages::xAdd(std::size_t chunk, LastChunks& last) const {
    fStore.forEachChannel(fStore.chunks()[chunk], [&](std::uint16_t channel) {
        if (fStore.knows(channel)) {
            last[fDense[channel]] = static_cast<std::uint32_t>(chunk) + 1;
        }
    });
}

/** Makes the checkpoints up to one. */
void NewestMessages::xExtend(std::size_t checkpoint) {
    while (fCheckpoints.size() <= checkpoint) {
        LastChunks last = fCheckpoints.back();
        const std::size_t end = fCheckpoints.size() * fStride;
        for (std::size_t chunk = end - fStride; chunk < end; ++chunk) {
            xAdd(chunk, last);
        }
        fCheckpoints.push_back(std::move(last));
    }
}

/** Returns the last chunks before a chunk whose lists have each channel. */
const NewestMessages::LastChunks& NewestMessages::xLastBefore(std::size_t chunk) {
    if (!fLastBefore || fLastBeforeChunk != chunk) {
        const std::size_t checkpoint = chunk / fStride;
        xExtend(checkpoint);
        fLastBefore = fCheckpoints[checkpoint];
        for (std::size_t each = checkpoint * fStride; each < chunk; ++each) {
            xAdd(each, *fLastBefore);
        }
        fLastBeforeChunk = chunk;
    }
    return *fLastBefore;
}

bool NewestMessages::find(std::uint64_t time, const std::set<std::uint16_t>& channels,
                          const std::function<void(const Message&)>& take,
                          const std::function<bool()>& goOn) {
    xPrepare();
    Search search{time, channels};
    if (!xRead(search, goOn)) {
        return false;
    }
    std::vector<const Found*> inOrder;
    for (const auto& [channel, found] : search.fBest) {
        inOrder.push_back(&found);
    }
    std::sort(inOrder.begin(), inOrder.end(),
              [](const Found* left, const Found* right) { return left->isBefore(*right); });
    for (const Found* found : inOrder) {
        Message message = found->fMessage;
        message.fData = found->fData;
        take(message);
    }
    return true;
}

/** Returns true if no chunk before a number can have a newer message of a channel. */
bool NewestMessages::xIsSettled(std::uint16_t channel, std::size_t chunksLeft,
                                const Search& search) const {
    if (chunksLeft == 0) {
        return true;
    }
    const auto best = search.fBest.find(channel);
    if (best == search.fBest.end()) {
        return false;
    }
    const std::uint64_t latest = fStore.latestEnd(chunksLeft - 1);
    const std::uint64_t found = best->second.fMessage.fLogTime;
    // Of messages with the same time the last one in the file is the newest.
    return latest < found || (latest == found && fIsInFileOrder);
}

/** Queues the last chunks before a number in which channels are or may be. */
void NewestMessages::xQueue(const std::set<std::uint16_t>& channels, std::size_t before,
                            Search& search) {
    if (channels.empty()) {
        return;
    }
    const LastChunks& last = xLastBefore(before);
    const auto unlisted = std::lower_bound(fUnlisted.begin(), fUnlisted.end(), before);
    const std::uint32_t lastUnlisted = unlisted == fUnlisted.begin() ? 0 : *std::prev(unlisted) + 1;
    for (const std::uint16_t channel : channels) {
        const std::uint32_t chunk =
            fStore.knows(channel) ? std::max(last[fDense[channel]], lastUnlisted) : 0;
        if (chunk != 0) {
            search.fQueue[chunk - 1].insert(channel);
        }
    }
}

bool NewestMessages::xRead(Search& search, const std::function<bool()>& goOn) {
    const std::vector<StoredChunk>& chunks = fStore.chunks();
    const auto firstLater = std::upper_bound(
        chunks.begin(), chunks.end(), search.fTime,
        [](std::uint64_t time, const StoredChunk& chunk) { return time < chunk.fStart; });
    xQueue(search.fChannels, static_cast<std::size_t>(firstLater - chunks.begin()), search);
    while (!search.fQueue.empty()) {
        const auto last = std::prev(search.fQueue.end());
        const std::size_t number = last->first;
        std::set<std::uint16_t> unread;
        const std::set<std::uint16_t> channels = std::move(last->second);
        for (const std::uint16_t channel : channels) {
            if (!search.mayImprove(channel, chunks[number])) {
                continue;
            }
            const auto cached = chunks[number].fEnd <= search.fTime
                                    ? fCache.find(cacheKey(number, channel))
                                    : fCache.end();
            if (cached == fCache.end()) {
                unread.insert(channel);
            } else if (cached->second) {
                search.offer(*cached->second);
            }
        }
        search.fQueue.erase(last);
        if (!unread.empty()) {
            if (!goOn()) {
                return false;
            }
            xReadChunk(number, unread, search);
        }
        std::set<std::uint16_t> unsettled;
        std::copy_if(channels.begin(), channels.end(), std::inserter(unsettled, unsettled.end()),
                     [&](std::uint16_t channel) { return !xIsSettled(channel, number, search); });
        xQueue(unsettled, number, search);
    }
    return true;
}

void NewestMessages::xReadChunk(std::size_t number, const std::set<std::uint16_t>& channels,
                                Search& search) {
    const StoredChunk& chunk = fStore.chunks()[number];
    const std::string_view records = fStore.load(chunk, fBuffers, fData);
    std::vector<bool> isWanted(fDense.size());
    for (const std::uint16_t channel : channels) {
        isWanted[channel] = true;
    }
    struct Place {
        std::uint64_t fTime;
        std::size_t fOffset;
    };
    std::map<std::uint16_t, Place> newest;
    for (std::size_t offset = 0; offset < records.size();) {
        const InnerRecord record = takeRecord(records, offset, chunk.fOffset);
        if (record.fOpcode != Opcode::Message) {
            continue;
        }
        const Message message = readMessage(record.fContent);
        if (!isWanted[message.fChannelId] || message.fLogTime > search.fTime) {
            continue;
        }
        const Place place{message.fLogTime, record.fOffset};
        const auto [known, isFirst] = newest.try_emplace(message.fChannelId, place);
        if (!isFirst && known->second.fTime <= message.fLogTime) {
            known->second = place;
        }
    }
    const bool isComplete = chunk.fEnd <= search.fTime;
    for (const std::uint16_t channel : channels) {
        std::optional<Found> found;
        if (const auto place = newest.find(channel); place != newest.end()) {
            std::size_t offset = place->second.fOffset;
            const Message message =
                readMessage(takeRecord(records, offset, chunk.fOffset).fContent);
            found = Found{message, std::string(message.fData), chunk.fOffset, offset};
            found->fMessage.fData = {};
            search.offer(*found);
        }
        if (isComplete) {
            xKeep(cacheKey(number, channel), found);
        }
    }
}

void NewestMessages::xKeep(std::uint64_t key, const std::optional<Found>& found) {
    const std::size_t size = a_cachedOverhead + (found ? found->fData.size() : 0);
    if (size > a_largestCached) {
        return;
    }
    if (fCacheBytes + size > a_cacheBytes) {
        fCache.clear();
        fCacheBytes = 0;
    }
    fCache[key] = found;
    fCacheBytes += size;
}

}  // namespace recording

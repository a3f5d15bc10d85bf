#include "latest_times.h"

#include "fields.h"

#include <algorithm>
#include <string_view>

namespace recording {

namespace {

/** The latest of the times that are added, each once. */
class LatestTimes {
  public:
    explicit LatestTimes(std::size_t count) : fCount(count) {}

    /** Returns true if a time is one of them, or would be. */
    bool wants(std::uint64_t time) const {
        return fTimes.size() < fCount || (fCount > 0 && time > *fTimes.begin());
    }
    void add(std::uint64_t time) {
        if (wants(time) && fTimes.insert(time).second && fTimes.size() > fCount) {
            fTimes.erase(fTimes.begin());
        }
    }
    std::vector<std::uint64_t> descending() const { return {fTimes.rbegin(), fTimes.rend()}; }

  private:
    const std::size_t fCount;
    std::set<std::uint64_t> fTimes;
};

}  // namespace

std::vector<std::uint64_t> latestTimes(ChunkStore& store, std::uint64_t before,
                                       const std::set<std::uint16_t>& channels, std::size_t count,
                                       const std::function<bool()>& goOn) {
    const std::vector<StoredChunk>& chunks = store.chunks();
    const auto firstLater = std::lower_bound(
        chunks.begin(), chunks.end(), before,
        [](const StoredChunk& chunk, std::uint64_t time) { return chunk.fStart < time; });
    LatestTimes times(count);
    ChunkBuffers buffers;
    Buffer data;
    for (auto left = static_cast<std::size_t>(firstLater - chunks.begin());
         left > 0 && times.wants(store.latestEnd(left - 1)); --left) {
        const StoredChunk& chunk = chunks[left - 1];
        if (!times.wants(chunk.fEnd) || !store.mayHave(chunk, channels)) {
            continue;
        }
        if (!goOn()) {
            return {};
        }
        const std::string_view records = store.load(chunk, buffers, data);
        for (std::size_t offset = 0; offset < records.size();) {
            const InnerRecord record = takeRecord(records, offset, chunk.fOffset);
            if (record.fOpcode != Opcode::Message) {
                continue;
            }
            const Message message = readMessage(record.fContent);
            if (message.fLogTime < before && channels.count(message.fChannelId) != 0) {
                times.add(message.fLogTime);
            }
        }
    }
    return times.descending();
}

}  // namespace recording

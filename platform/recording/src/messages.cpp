#include "messages.h"

#include "fields.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace recording {

MessagesImpl::MessagesImpl(ChunkStore& store, Selection selection)
    : fStore(store), fSelection(std::move(selection)) {
    const std::vector<StoredChunk>& chunks = store.chunks();
    if (fSelection.fOrder == Order::File) {
        fInFileOrder = chunks;
        std::sort(fInFileOrder.begin(), fInFileOrder.end(),
                  [](const StoredChunk& left, const StoredChunk& right) {
                      return left.fOffset < right.fOffset;
                  });
    } else {
        fNextChunk = store.firstEndingAt(fSelection.fFrom);
    }
}

bool MessagesImpl::xIsLater(const std::unique_ptr<Loaded>& left,
                            const std::unique_ptr<Loaded>& right) {
    return std::tie(left->fEntries[left->fNext].fLogTime, left->fOffset) >
           std::tie(right->fEntries[right->fNext].fLogTime, right->fOffset);
}

std::optional<Message> MessagesImpl::next() {
    if (fUsed != nullptr) {
        xRelease();
    }
    xLoadNeeded();
    if (fLoaded.empty()) {
        return std::nullopt;
    }
    std::pop_heap(fLoaded.begin(), fLoaded.end(), xIsLater);
    Loaded& loaded = *fLoaded.back();
    std::size_t offset = loaded.fEntries[loaded.fNext].fOffset;
    const Message message =
        readMessage(takeRecord(loaded.fRecords, offset, loaded.fOffset).fContent);
    ++loaded.fNext;
    if (loaded.fNext < loaded.fEntries.size()) {
        std::push_heap(fLoaded.begin(), fLoaded.end(), xIsLater);
    } else {
        fUsed = std::move(fLoaded.back());
        fLoaded.pop_back();
    }
    return message;
}

/** Frees the chunk of the last message. */
void MessagesImpl::xRelease() {
    fMemory -= fUsed->memory();
    fUsed.reset();
}

/** Loads chunks until none of those that are left can have the next message. */
void MessagesImpl::xLoadNeeded() {
    const bool isByTime = fSelection.fOrder == Order::LogTime;
    const std::vector<StoredChunk>& chunks = isByTime ? fStore.chunks() : fInFileOrder;
    while (fNextChunk < chunks.size()) {
        const StoredChunk& chunk = chunks[fNextChunk];
        if (isByTime && chunk.fStart > fSelection.fTo) {
            fNextChunk = chunks.size();
            return;
        }
        if (!fLoaded.empty()) {
            const Loaded& first = *fLoaded.front();
            if (!isByTime || chunk.fStart > first.fEntries[first.fNext].fLogTime) {
                return;
            }
        }
        ++fNextChunk;
        const bool isNeeded =
            chunk.fEnd >= fSelection.fFrom && chunk.fStart <= fSelection.fTo &&
            (!fSelection.fChannels || fStore.mayHave(chunk, *fSelection.fChannels));
        if (!isNeeded) {
            continue;
        }
        if (!fSelection.fGoOn()) {
            fNextChunk = chunks.size();
            fLoaded.clear();
            return;
        }
        xLoad(chunk);
    }
}

bool MessagesImpl::xIsSelected(const Message& message, const StoredChunk& chunk) const {
    if (!fStore.knows(message.fChannelId)) {
        if (fStore.isIndexed()) {
            fail(nameOf(Opcode::Chunk), chunk.fOffset, "has a message of an unknown channel");
        }
        return false;
    }
    if (message.fLogTime < chunk.fStart || message.fLogTime > chunk.fEnd) {
        fail(nameOf(Opcode::Chunk), chunk.fOffset, "has a message outside its times");
    }
    return message.fLogTime >= fSelection.fFrom && message.fLogTime <= fSelection.fTo &&
           (!fSelection.fChannels || fSelection.fChannels->count(message.fChannelId) != 0);
}

void MessagesImpl::xLoad(const StoredChunk& chunk) {
    auto loaded = std::make_unique<Loaded>();
    loaded->fOffset = chunk.fOffset;
    loaded->fRecords = fStore.load(chunk, fBuffers, loaded->fData);
    for (std::size_t offset = 0; offset < loaded->fRecords.size();) {
        const InnerRecord record = takeRecord(loaded->fRecords, offset, chunk.fOffset);
        if (record.fOpcode == Opcode::Message) {
            const Message message = readMessage(record.fContent);
            if (xIsSelected(message, chunk)) {
                loaded->fEntries.push_back({message.fLogTime, record.fOffset});
            }
        }
    }
    if (loaded->fEntries.empty()) {
        return;
    }
    const auto isEarlier = [](const Entry& left, const Entry& right) {
        return left.fLogTime < right.fLogTime;
    };
    if (fSelection.fOrder == Order::LogTime &&
        !std::is_sorted(loaded->fEntries.begin(), loaded->fEntries.end(), isEarlier)) {
        std::stable_sort(loaded->fEntries.begin(), loaded->fEntries.end(), isEarlier);
    }
    fMemory += loaded->memory();
    if (!fLoaded.empty() && fMemory > a_largestOpenChunks) {
        fail(nameOf(Opcode::Chunk), chunk.fOffset,
             "overlaps with too many others in time; at most " +
                 std::to_string(a_largestOpenChunks) + " bytes may");
    }
    fLoaded.push_back(std::move(loaded));
    std::push_heap(fLoaded.begin(), fLoaded.end(), xIsLater);
}

Messages::Messages(std::unique_ptr<MessagesImpl> impl) : fImpl(std::move(impl)) {
}

Messages::~Messages() = default;
Messages::Messages(Messages&&) noexcept = default;
Messages& Messages::operator=(Messages&&) noexcept = default;

std::optional<Message> Messages::next() & {
    return fImpl->next();
}

}  // namespace recording

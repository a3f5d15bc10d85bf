#include "session/memory_feed.h"

#include <base/time.h>

#include <utility>

namespace memoryviewer {

namespace {

/** Most changes kept, of keys of which every change is, between two calls of take(). The GUI thread
 *  takes them 25 times a second; when it does not, it is better to lose some than all memory. */
constexpr std::size_t a_mostChangesKept = 500000;

}  // namespace

KVSubscription::Callbacks MemoryFeed::callbacks() {
    KVSubscription::Callbacks callbacks;
    callbacks.fKeysAdded = [this](const std::vector<KVKeyInfo>& keys) { keysAdded(keys); };
    callbacks.fKeysRemoved = [this](const std::vector<std::uint32_t>& ids) { keysRemoved(ids); };
    callbacks.fValuesChanged = [this](const std::vector<KVChange>& changes) {
        valuesChanged(changes);
    };
    callbacks.fEnded = [this](const KVError& error) { ended(error); };
    return callbacks;
}

MemoryBatch MemoryFeed::take() {
    Pending pending;
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        std::swap(pending, fPending);
        fHasSomething = false;
    }
    MemoryBatch batch = std::move(pending.fBatch);
    batch.fAdded.reserve(pending.fAdded.size());
    for (auto& [id, key] : pending.fAdded) {
        batch.fAdded.push_back(std::move(key));
    }
    batch.fChanged.reserve(pending.fChanged.size());
    for (auto& [id, change] : pending.fChanged) {
        batch.fChanged.push_back(std::move(change));
    }
    return batch;
}

void MemoryFeed::keepEveryChangeOf(std::unordered_set<std::uint32_t> ids) {
    const std::lock_guard<std::mutex> lock(fMutex);
    fEveryChangeIds = std::move(ids);
}

void MemoryFeed::restart(IdentifiersByName known) {
    const std::lock_guard<std::mutex> lock(fMutex);
    fIdentifiers.restart(std::move(known));
}

std::vector<std::uint32_t> MemoryFeed::robotsIdentifiers(const std::vector<std::uint32_t>& ids) {
    const std::lock_guard<std::mutex> lock(fMutex);
    return fIdentifiers.robots(ids);
}

std::vector<std::uint32_t> MemoryFeed::takeMissing() {
    const std::lock_guard<std::mutex> lock(fMutex);
    return fIdentifiers.takeMissing();
}

void MemoryFeed::keysAdded(const std::vector<KVKeyInfo>& keys) {
    const std::lock_guard<std::mutex> lock(fMutex);
    fPending.fBatch.fHasTable = true;
    for (const KVKeyInfo& key : keys) {
        const std::uint32_t id = fIdentifiers.add(key.fId, key.fName);
        fPending.fAdded.insert_or_assign(id, key).first->second.fId = id;
    }
    xNotify();
}

void MemoryFeed::keysRemoved(const std::vector<std::uint32_t>& ids) {
    const std::lock_guard<std::mutex> lock(fMutex);
    for (const std::uint32_t robots : ids) {
        const std::optional<std::uint32_t> id = fIdentifiers.remove(robots);
        if (!id) {
            continue;
        }
        fPending.fChanged.erase(*id);
        // Identifiers are never reused, so a key that was added and removed since the last take()
        // need not be reported, unless it was there before the robot was lost.
        if (fPending.fAdded.erase(*id) == 0 || fIdentifiers.hasRestarted()) {
            fPending.fBatch.fRemoved.push_back(*id);
        }
    }
    xNotify();
}

void MemoryFeed::valuesChanged(const std::vector<KVChange>& changes) {
    const std::lock_guard<std::mutex> lock(fMutex);
    fPending.fBatch.fUpdates += changes.size();
    fPending.fBatch.fArrival = base::microsecondsNow();
    for (const KVChange& change : changes) {
        const std::optional<std::uint32_t> id = fIdentifiers.find(change.fId);
        if (!id) {
            continue;
        }
        if (fEveryChangeIds.count(*id) != 0) {
            if (fPending.fBatch.fEveryChange.size() < a_mostChangesKept) {
                fPending.fBatch.fEveryChange.push_back(change);
                fPending.fBatch.fEveryChange.back().fId = *id;
            } else {
                ++fPending.fBatch.fLostChanges;
            }
        }
        xMerge(*id, change);
    }
    xNotify();
}

/** Called with the lock held. */
void MemoryFeed::xMerge(std::uint32_t id, const KVChange& change) {
    const auto [slot, isFirst] = fPending.fChanged.try_emplace(id, change);
    MergedChange& merged = slot->second;
    if (!isFirst) {
        // A change can arrive twice, if a key is subscribed at two rates.
        merged.fTimes.add(change.fTime);
        merged.fNewest = change;
    }
    merged.fNewest.fId = id;
}

/** A lost connection reports itself. */
void MemoryFeed::ended(const KVError& error) {
    if (error.cause() != KVError::Cause::ConnectionLost) {
        const std::lock_guard<std::mutex> lock(fMutex);
        fPending.fBatch.fRefusal = error;
        xNotify();
    }
}

/** Called with the lock held. */
void MemoryFeed::xNotify() {
    if (!fHasSomething) {
        fHasSomething = true;
        fNotice.give();
    }
}

}  // namespace memoryviewer

#ifndef OBVISTA_MEMORYVIEWER_MEMORY_FEED_H
#define OBVISTA_MEMORYVIEWER_MEMORY_FEED_H

#include "session/key_identifiers.h"
#include "session/memory_key.h"

#include <obvista/viewer/notice.h>
#include <robaxi/kv_error.h>
#include <robaxi/kv_subscription.h>

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace memoryviewer {

/** Everything received since the last MemoryFeed::take(), merged. */
struct MemoryBatch {
    bool fHasTable = false;               ///< the table of keys, or a part of it, has arrived
    std::vector<std::uint32_t> fRemoved;  ///< apply before fAdded
    std::vector<KVKeyInfo> fAdded;        ///< in no particular order
    std::vector<MergedChange> fChanged;   ///< the newest value of each key; apply last
    std::vector<KVChange> fEveryChange;   ///< of the keys chosen with keepEveryChangeOf()
    std::uint64_t fLostChanges = 0;       ///< changes of such keys, too many to keep
    std::size_t fUpdates = 0;             ///< values received, including merged ones
    std::int64_t fArrival = 0;        ///< of the last of them, microseconds since 1970 by our clock
    std::optional<KVError> fRefusal;  ///< why the robot gives no values
};

/**
 * Takes what a robot sends from the library's threads to the GUI thread.
 *
 * However fast the robot is, only the newest value of each key is kept, but for the few of
 * which every change is kept, and one notice is given for everything that comes between two calls
 * of take(). All operations may be called from any thread.
 */
class MemoryFeed {
  public:
    /** @param notice given once for all that comes between two calls of take(); must outlive the
     *  feed */
    explicit MemoryFeed(obvista::Notice& notice) : fNotice(notice) {}

    /** Returns the functions below, for a subscription that the feed outlives. */
    KVSubscription::Callbacks callbacks();

    MemoryBatch take();

    /** Sets the keys of which every change is needed, for a plot or a recording. */
    void keepEveryChangeOf(std::unordered_set<std::uint32_t> ids);

    /**
     * Takes the identifiers of a robot that has returned for others from now on; no subscription
     * may be running. Those of the viewer stay the same.
     *
     * @param known the viewer's keys
     */
    void restart(IdentifiersByName known);
    /** Returns the robot's identifiers of keys. */
    std::vector<std::uint32_t> robotsIdentifiers(const std::vector<std::uint32_t>& ids);
    /** Returns the keys that a robot has not announced again since restart(), and forgets them. */
    std::vector<std::uint32_t> takeMissing();

    void keysAdded(const std::vector<KVKeyInfo>& keys);
    void keysRemoved(const std::vector<std::uint32_t>& ids);
    void valuesChanged(const std::vector<KVChange>& changes);
    void ended(const KVError& error);

  private:
    struct Pending {
        MemoryBatch fBatch;  // except for fAdded and fChanged, which are merged below
        std::unordered_map<std::uint32_t, KVKeyInfo> fAdded;
        std::unordered_map<std::uint32_t, MergedChange> fChanged;
    };

    void xMerge(std::uint32_t id, const KVChange& change);
    void xNotify();

    obvista::Notice& fNotice;
    std::mutex fMutex;  // guards all below
    KeyIdentifiers fIdentifiers;
    Pending fPending;
    std::unordered_set<std::uint32_t> fEveryChangeIds;
    bool fHasSomething = false;
};

}  // namespace memoryviewer

#endif

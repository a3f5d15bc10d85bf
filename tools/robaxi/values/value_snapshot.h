#ifndef OBVISTA_TOOLS_ROBAXI_VALUES_VALUE_SNAPSHOT_H
#define OBVISTA_TOOLS_ROBAXI_VALUES_VALUE_SNAPSHOT_H

#include "process/bell.h"

#include <robaxi/kv_subscription.h>

#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace robaxi_tool {

/** A key and its newest value. */
struct HeldValue {
    KVKeyInfo fKey;
    KVValue fValue;
    std::int64_t fTime = 0;  ///< as in KVChange
};

/** Values by the name of their key. */
using Values = std::map<std::string, HeldValue>;

/** Collects the current values of all keys of a subscription, each once. */
class ValueSnapshot {
  public:
    /** @param bell rung when the values are complete, or the subscription has ended */
    explicit ValueSnapshot(Bell& bell) : fBell(bell) {}

    /** Returns the functions below, for a subscription that this object outlives. */
    KVSubscription::Callbacks callbacks();

    void keysAdded(const std::vector<KVKeyInfo>& keys);
    void keysRemoved(const std::vector<std::uint32_t>& ids);
    void valuesChanged(const std::vector<KVChange>& changes);
    void ended(const KVError& error);

    /**
     * Waits until all keys have a value. A robot sends its whole table before the first value.
     *
     * @return nothing at the deadline
     * @throws KVError if the robot has ended the subscription; Interrupted
     */
    std::optional<Values> wait(Clock::time_point deadline);

  private:
    bool xIsOver() const;

    Bell& fBell;
    mutable std::mutex fMutex;  ///< guards the following members
    bool fHasTable = false;
    std::set<std::uint32_t> fWaiting;  ///< keys without a value
    std::map<std::uint32_t, KVKeyInfo> fKeys;
    Values fValues;
    std::optional<KVError> fEnd;
};

}  // namespace robaxi_tool

#endif

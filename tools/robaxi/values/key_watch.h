#ifndef OBVISTA_TOOLS_ROBAXI_VALUES_KEY_WATCH_H
#define OBVISTA_TOOLS_ROBAXI_VALUES_KEY_WATCH_H

#include "process/bell.h"
#include "values/change_format.h"

#include <robaxi/kv_subscription.h>

#include <exception>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace robaxi_tool {

/**
 * Watches the keys of a subscription that match some patterns.
 *
 * The rows are output on the library's thread, so that a slow reader makes the robot send less. The
 * command's thread reads everything else.
 */
class KeyWatch {
  public:
    /** Outputs the rows of one update; an exception ends the watch. */
    using Output = std::function<void(const std::vector<ChangeRow>& rows)>;

    /** @param bell rung when any of the results changes */
    KeyWatch(std::vector<std::string> patterns, Output output, Bell& bell);

    /** Returns the functions below, for a subscription that this object outlives. */
    KVSubscription::Callbacks callbacks();

    void keysAdded(const std::vector<KVKeyInfo>& keys);
    void keysRemoved(const std::vector<std::uint32_t>& ids);
    void valuesChanged(const std::vector<KVChange>& changes);
    void ended(const KVError& error);

    /** Returns the keys to subscribe to if they have changed since the last call. */
    std::optional<std::vector<std::uint32_t>> takeNewSelection();
    /**
     * Returns the names of the matching keys if they have changed since the last call, in the order
     * of the patterns. May be called by the output.
     */
    std::optional<std::vector<std::string>> takeNewNames();
    /** Returns patterns that no key has matched so far. */
    std::vector<std::string> unmatched() const;
    /** Returns true if a key matches at present. */
    bool hasKeys() const;
    bool isOver() const;
    /** Throws the error if the robot or the output ended the watch. */
    void rethrow() const;

  private:
    struct Key {
        std::string fName;
        std::string fUnit;
    };

    bool xMatches(const std::string& name);
    void xEnd(std::exception_ptr reason);

    Output fOutput;
    Bell& fBell;
    mutable std::mutex fMutex;              ///< guards the following members
    std::vector<std::string> fGiven;        ///< the patterns in their order
    std::map<std::string, bool> fPatterns;  ///< true if a key has matched
    std::map<std::uint32_t, Key> fKeys;     ///< the matching keys
    bool fSelectionChanged = false;
    bool fNamesChanged = false;
    std::exception_ptr fEnd;
};

}  // namespace robaxi_tool

#endif

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
 * Follows the keys of a subscription that match some patterns.
 *
 * The rows go out on the library's thread, so that a slow reader slows the robot's sending down.
 * Everything else is read by the command's thread.
 */
class KeyWatch : public KVSubscription::Listener {
  public:
    /** Takes the rows of one update; what it throws ends the watch. */
    using Output = std::function<void(const std::vector<ChangeRow>& rows)>;

    /** @param bell rung when something of what follows changes */
    KeyWatch(std::vector<std::string> patterns, Output output, Bell& bell);

    void keysAdded(const std::vector<KVKeyInfo>& keys) override;
    void keysRemoved(const std::vector<std::uint32_t>& ids) override;
    void valuesChanged(const std::vector<KVChange>& changes) override;
    void ended(const KVError& error) override;

    /** The keys to ask for, when they are others than at the last call. */
    std::optional<std::vector<std::uint32_t>> takeNewSelection();
    /** Patterns that no key has matched so far. */
    std::vector<std::string> unmatched() const;
    /** Whether any key matches now. */
    bool hasKeys() const;
    bool isOver() const;
    /** Throws why it is over, when the robot or the output ended it. */
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
    mutable std::mutex fMutex;              ///< guards all that follows
    std::map<std::string, bool> fPatterns;  ///< with whether a key has matched
    std::map<std::uint32_t, Key> fKeys;     ///< those that match
    bool fSelectionChanged = false;
    std::exception_ptr fEnd;
};

}  // namespace robaxi_tool

#endif

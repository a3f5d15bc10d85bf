#ifndef OBVISTA_TESTS_ROBAXI_RECORDING_LISTENER_H
#define OBVISTA_TESTS_ROBAXI_RECORDING_LISTENER_H

#include <robaxi/kv_subscription.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace robaxi_test {

/** Time-out for something that should happen at once; this machine may be busy. */
constexpr std::chrono::seconds a_patience{60};

/** Records the updates of a subscription, so that a test can wait for them. */
class RecordingListener {
  public:
    struct Update {
        std::vector<KVChange> fChanges;
        std::chrono::steady_clock::time_point fWhen;
    };

    /** Returns functions that record here; they must not be called after this object is gone. */
    KVSubscription::Callbacks callbacks();

    /** Called before values are recorded, without any lock. Set it before the subscription starts.
     */
    std::function<void()> fOnValues;

    bool waitUntil(const std::function<bool()>& condition);
    bool waitForKeys(std::size_t count);
    bool waitForValue(const std::string& key, const KVValue& value);
    bool waitForEnd();

    /**
     * @name Results so far; the first four only under waitUntil() or after the end
     */
    ///@{
    std::map<std::uint32_t, KVKeyInfo> fKeys;
    std::vector<std::uint32_t> fRemoved;
    std::map<std::string, KVChange> fValues;
    std::vector<Update> fUpdates;
    std::optional<KVError> fEnd;
    std::uint64_t fPassedOver = 0;
    int fCallsAfterEnd = 0;
    ///@}

    std::uint32_t idOf(const std::string& key);
    std::vector<Update> updates();
    std::size_t countUpdates();

  private:
    template <class Action>
    void xRecord(const Action& action);

    std::mutex fMutex;
    std::condition_variable fChanged;
};

}  // namespace robaxi_test

#endif

// Messages from a robot on a subscription, received by our client.
#include "fuzz_target.h"
#include "loopback.h"
#include "lying_robot.h"
#include "pieces.h"

#include <robaxi/kv_connection.h>
#include <robaxi/kv_error.h>
#include <robaxi/kv_subscription.h>

#include <condition_variable>
#include <memory>
#include <mutex>
#include <set>

namespace {

using obvista_fuzz::require;

/** Checks the library's promises to callbacks. */
class Witness {
  public:
    KVSubscription::Callbacks callbacks() {
        return {[this](const auto& keys) { xAddKeys(keys); },
                [this](const auto& ids) { xRemoveKeys(ids); },
                [this](const auto& changes) { xCheckChanges(changes); },
                [this](const KVError& error) { xEnd(error); }};
    }

    bool awaitEnd() {
        constexpr std::chrono::seconds longest{15};
        std::unique_lock lock(fMutex);
        return fEnded.wait_for(lock, longest, [this] { return fHasEnded; });
    }

  private:
    void xAddKeys(const std::vector<KVKeyInfo>& keys) {
        for (const KVKeyInfo& key : keys) {
            require(key.fId != 0 && !key.fName.empty(), "a key has an identifier and a name");
            require(fIds.insert(key.fId).second, "a key is added once");
        }
    }

    void xRemoveKeys(const std::vector<std::uint32_t>& ids) {
        for (const std::uint32_t id : ids) {
            require(fIds.erase(id) == 1, "only a key that was added is removed");
        }
    }

    void xCheckChanges(const std::vector<KVChange>& changes) {
        require(!changes.empty(), "something changed");
        for (const KVChange& change : changes) {
            require(fIds.count(change.fId) == 1, "only keys that were added change");
        }
    }

    void xEnd(const KVError& error) {
        require(!error.toString().empty(), "an error has a sentence");
        const std::lock_guard lock(fMutex);
        require(!fHasEnded, "it ends once");
        fHasEnded = true;
        fEnded.notify_all();
    }

    std::set<std::uint32_t> fIds;
    std::mutex fMutex;
    std::condition_variable fEnded;
    bool fHasEnded = false;
};

/**
 * One connection for the whole run; opened again if it was lost while this program was suspended.
 */
std::shared_ptr<KVConnection> connection() {
    obvista_fuzz::LyingRobot& robot = obvista_fuzz::LyingRobot::instance();
    constexpr int timeOut = 15;
    static std::shared_ptr<KVConnection> kept;
    if (!kept || !kept->isConnected()) {
        kept = KVConnection::open(robot.client(), obvista_fuzz::a_loopback, robot.port(), timeOut);
    }
    return kept;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr double rate = 50;
    const std::vector<std::string> updates = obvista_fuzz::pieces(data, size);
    if (updates.empty()) {
        return 0;
    }
    obvista_fuzz::LyingRobot::instance().setUpdates(updates);
    Witness witness;
    const auto subscription = KVSubscription::start(
        connection(), "Memory", KVSubscription::Selection::AllKeys, rate, witness.callbacks());
    require(witness.awaitEnd(), "a subscription that the robot ends has ended");
    return 0;
}

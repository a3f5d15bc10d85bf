#include "replay_client.h"

#include <robaxi/kv_connection.h>
#include <robaxi/kv_error.h>
#include <robaxi/kv_proxy.h>

#include <algorithm>
#include <memory>
#include <utility>

namespace obvista {

namespace {

constexpr const char* a_module = "KVReplay";
/** Updates a second of the position. */
constexpr double a_rate = 25;
constexpr double a_timeOut = 30;  ///< seconds; a seek in a file without indexes reads all of it
constexpr std::size_t a_mostCalls = 100;

/** Sets a part of the state. Throws KVError for a value of another type. */
void set(ReplayState& state, const std::string& name, const KVValue& value) {
    if (name == "Position") {
        state.fPosition = value.toInt();
    } else if (name == "Start") {
        state.fStart = value.toInt();
    } else if (name == "End") {
        state.fEnd = value.toInt();
    } else if (name == "ClockOffset") {
        state.fClockOffset = value.toInt();
    } else if (name == "Playing") {
        state.fIsPlaying = value.toBool();
    } else if (name == "Speed") {
        state.fSpeed = value.toFloat();
    } else if (name == "Loop") {
        state.fLoop = value.toBool();
    } else if (name == "Fault") {
        state.fFault = value.toString();
    }
}

}  // namespace

ReplayClient::ReplayClient(const std::shared_ptr<KVConnection>& connection, Notice& notice)
    : fProxy(std::make_unique<KVProxy>(a_module, connection, a_timeOut)), fNotice(notice) {
    KVSubscription::Callbacks callbacks;
    callbacks.fKeysAdded = [this](const std::vector<KVKeyInfo>& keys) { xTakeKeys(keys); };
    callbacks.fValuesChanged = [this](const std::vector<KVChange>& changes) {
        xTakeValues(changes);
    };
    // Most robots refuse it, since they have no such module.
    fSubscription = KVSubscription::start(connection, a_module, KVSubscription::Selection::AllKeys,
                                          a_rate, std::move(callbacks));
}

ReplayClient::~ReplayClient() {
    fSubscription.reset();
    {
        const std::lock_guard lock(fMutex);
        fIsStopping = true;
    }
    fHasCall.notify_all();
    fProxy->close();
    if (fThread.joinable()) {
        fThread.join();
    }
}

ReplayState ReplayClient::state() const {
    const std::lock_guard lock(fMutex);
    return fState;
}

void ReplayClient::call(const std::string& method, const KVValue::List& arguments) {
    {
        const std::lock_guard lock(fMutex);
        if (!fCalls.empty() && method == "seek" && fCalls.back().fMethod == method) {
            fCalls.back().fArguments = arguments;
        } else if (fCalls.size() < a_mostCalls) {
            fCalls.push_back({method, arguments});
        }
        if (!fThread.joinable()) {
            fThread = std::thread([this] { xRun(); });
        }
    }
    fHasCall.notify_all();
}

void ReplayClient::xRun() {
    std::unique_lock lock(fMutex);
    for (;;) {
        fHasCall.wait(lock, [this] { return fIsStopping || !fCalls.empty(); });
        if (fIsStopping) {
            return;
        }
        const Call call = std::move(fCalls.front());
        fCalls.pop_front();
        lock.unlock();
        try {
            fProxy->callValue(call.fMethod, call.fArguments);
        } catch (const KVError&) {
            // The state shows that nothing has changed.
        }
        lock.lock();
    }
}

void ReplayClient::xTakeKeys(const std::vector<KVKeyInfo>& keys) {
    constexpr std::size_t mostKeys = 100;
    const std::lock_guard lock(fMutex);
    for (const KVKeyInfo& key : keys) {
        if (fNames.size() < mostKeys) {
            fNames[key.fId] = key.fName;
        }
    }
}

void ReplayClient::xTakeValues(const std::vector<KVChange>& changes) {
    {
        const std::lock_guard lock(fMutex);
        for (const KVChange& change : changes) {
            const auto name = fNames.find(change.fId);
            if (name == fNames.end()) {
                continue;
            }
            try {
                set(fState, name->second, change.fValue);
            } catch (const KVError&) {
                // A robot that breaks the contract keeps the previous value.
            }
        }
    }
    fNotice.give();
}

}  // namespace obvista

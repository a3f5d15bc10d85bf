#include "recording_listener.h"

namespace robaxi_test {

template <class Action>
void RecordingListener::xRecord(const Action& action) {
    const std::lock_guard lock(fMutex);
    if (fEnd) {
        ++fCallsAfterEnd;
    }
    action();
    fChanged.notify_all();
}

KVSubscription::Callbacks RecordingListener::callbacks() {
    KVSubscription::Callbacks callbacks;
    callbacks.fKeysAdded = [this](const std::vector<KVKeyInfo>& keys) {
        xRecord([&] {
            for (const KVKeyInfo& key : keys) {
                fKeys[key.fId] = key;
            }
        });
    };
    callbacks.fKeysRemoved = [this](const std::vector<std::uint32_t>& ids) {
        xRecord([&] { fRemoved.insert(fRemoved.end(), ids.begin(), ids.end()); });
    };
    callbacks.fValuesChanged = [this](const std::vector<KVChange>& changes) {
        if (fOnValues) {
            fOnValues();
        }
        xRecord([&] {
            fUpdates.push_back({changes, std::chrono::steady_clock::now()});
            for (const KVChange& change : changes) {
                fValues[fKeys.at(change.fId).fName] = change;
            }
        });
    };
    callbacks.fValuesPassedOver = [this](std::uint64_t count) {
        xRecord([&] { fPassedOver += count; });
    };
    callbacks.fEnded = [this](const KVError& error) { xRecord([&] { fEnd = error; }); };
    return callbacks;
}

bool RecordingListener::waitUntil(const std::function<bool()>& condition) {
    std::unique_lock lock(fMutex);
    return fChanged.wait_for(lock, a_patience, condition);
}

bool RecordingListener::waitForKeys(std::size_t count) {
    return waitUntil([&] { return fKeys.size() >= count; });
}

bool RecordingListener::waitForValue(const std::string& key, const KVValue& value) {
    return waitUntil([&] {
        const auto found = fValues.find(key);
        return found != fValues.end() && found->second.fValue == value;
    });
}

bool RecordingListener::waitForEnd() {
    return waitUntil([&] { return fEnd.has_value(); });
}

std::uint32_t RecordingListener::idOf(const std::string& key) {
    const std::lock_guard lock(fMutex);
    for (const auto& [id, info] : fKeys) {
        if (info.fName == key) {
            return id;
        }
    }
    return 0;
}

std::vector<RecordingListener::Update> RecordingListener::updates() {
    const std::lock_guard lock(fMutex);
    return fUpdates;
}

std::size_t RecordingListener::countUpdates() {
    const std::lock_guard lock(fMutex);
    return fUpdates.size();
}

}  // namespace robaxi_test

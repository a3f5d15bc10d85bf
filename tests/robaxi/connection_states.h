#ifndef OBVISTA_TESTS_ROBAXI_CONNECTION_STATES_H
#define OBVISTA_TESTS_ROBAXI_CONNECTION_STATES_H

#include "recording_listener.h"

#include <robaxi/kv_connection.h>
#include <robaxi/kv_settings.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <vector>

namespace robaxi_test {

/** The states that a connection reports. */
class ConnectionStates {
  public:
    void watch(KVConnection& connection) {
        connection.setStateHandler([this](KVConnection::State state) {
            const std::lock_guard lock(fMutex);
            fStates.push_back(state);
            fChanged.notify_all();
        });
    }

    bool waitFor(KVConnection::State state) {
        std::unique_lock lock(fMutex);
        return fChanged.wait_for(lock, a_patience,
                                 [&] { return !fStates.empty() && fStates.back() == state; });
    }

    /** Returns the last two states; a busy machine may have reported a silence before. */
    std::vector<KVConnection::State> lastTwo() {
        const std::lock_guard lock(fMutex);
        return {fStates.end() - std::min<std::ptrdiff_t>(2, fStates.end() - fStates.begin()),
                fStates.end()};
    }

    std::vector<KVConnection::State> all() {
        const std::lock_guard lock(fMutex);
        return fStates;
    }

  private:
    std::mutex fMutex;
    std::condition_variable fChanged;
    std::vector<KVConnection::State> fStates;
};

/** Limits with which a silence is noticed after 500 ms. */
inline KVSettings quickSettings() {
    KVSettings settings;
    settings.fLimits.fHeartbeat = std::chrono::milliseconds(125);
    settings.fLimits.fLoss = std::chrono::milliseconds(500);
    settings.fLimits.fSilence = std::chrono::seconds(30);
    return settings;
}

}  // namespace robaxi_test

#endif

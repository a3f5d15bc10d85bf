#include "replay_client.h"

#include <base/time.h>
#include <robaxi/kv_connection.h>
#include <robaxi/kv_error.h>
#include <robaxi/kv_proxy.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace obvista {

namespace {

constexpr const char* a_module = "KVReplay";
/** Updates a second of the position. */
constexpr double a_rate = 25;
constexpr double a_timeOut = 30;  ///< seconds; a seek in a file without indexes reads all of it
constexpr std::size_t a_mostCalls = 100;
/** Steps that a replay makes in one call. */
constexpr std::int64_t a_mostSteps = 1000;

/** Sets a part of the state. Throws KVError for a value of another type. */
using Setter = void (*)(ReplayState& state, const KVValue& value);

/** Times are clamped, so that their differences do not overflow. */
std::int64_t timeOf(const KVValue& value) {
    return base::withinCalendar(value.toInt());
}

std::int64_t offsetOf(const KVValue& value) {
    return std::clamp(value.toInt(), -base::a_latestTime, base::a_latestTime);
}

/** The values of the module. */
const std::map<std::string, Setter>& setters() {
    static const std::map<std::string, Setter> all{
        {"Position", [](auto& state, const auto& value) { state.fPosition = timeOf(value); }},
        {"Start", [](auto& state, const auto& value) { state.fStart = timeOf(value); }},
        {"End", [](auto& state, const auto& value) { state.fEnd = timeOf(value); }},
        {"ClockOffset",
         [](auto& state, const auto& value) { state.fClockOffset = offsetOf(value); }},
        {"Playing", [](auto& state, const auto& value) { state.fIsPlaying = value.toBool(); }},
        {"Speed", [](auto& state, const auto& value) { state.fSpeed = value.toFloat(); }},
        {"Loop", [](auto& state, const auto& value) { state.fLoop = value.toBool(); }},
        {"Fault", [](auto& state, const auto& value) { state.fFault = value.toString(); }}};
    return all;
}

/**
 * Returns the number of steps in one call instead of two; nothing if they are of different cameras
 * or directions, since a replay stays at its ends.
 */
std::optional<std::int64_t> sumOfSteps(const KVValue::List& first, const KVValue::List& second) {
    const std::int64_t before = first.at(0).toInt();
    const std::int64_t after = second.at(0).toInt();
    const std::int64_t sum = before + after;
    const bool isOneCall =
        (before < 0) == (after < 0) && std::abs(sum) <= a_mostSteps && first.at(1) == second.at(1);
    return isOneCall ? std::optional(sum) : std::nullopt;
}

}  // namespace

ReplayClient::ReplayClient(const std::shared_ptr<KVConnection>& connection, Notice& notice)
    : fValues(notice), fProxy(std::make_unique<KVProxy>(a_module, connection, a_timeOut)) {
    std::vector<std::string> names;
    for (const auto& [name, set] : setters()) {
        names.push_back(name);
    }
    fValues.start(connection, a_module, names, a_rate);  // most robots have no such module
}

ReplayClient::~ReplayClient() {
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

std::optional<ReplayState> ReplayClient::state() {
    if (fValues.hasEnded()) {
        return ReplayState();
    }
    for (const auto& [name, value] : fValues.take()) {
        try {
            setters().at(name)(fState, value);
        } catch (const KVError&) {
            // A robot that breaks the contract keeps the previous value.
        }
    }
    return fState.isReplay() ? std::optional(fState) : std::nullopt;
}

void ReplayClient::call(const std::string& method, const KVValue::List& arguments) {
    {
        const std::lock_guard lock(fMutex);
        if (!xReplaceLast(method, arguments) && fCalls.size() < a_mostCalls) {
            fCalls.push_back({method, arguments});
        }
        if (!fThread.joinable()) {
            fThread = std::thread([this] { xRun(); });
        }
    }
    fHasCall.notify_all();
}

/** Returns true if the last call that waits has become one with this call, too. */
bool ReplayClient::xReplaceLast(const std::string& method, const KVValue::List& arguments) {
    if (fCalls.empty() || fCalls.back().fMethod != method) {
        return false;
    }
    KVValue::List& last = fCalls.back().fArguments;
    if (method == "seek") {
        last = arguments;
        return true;
    }
    if (method != "step") {
        return false;
    }
    const std::optional<std::int64_t> sum = sumOfSteps(last, arguments);
    if (sum) {
        last.front() = *sum;
    }
    return sum.has_value();
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

}  // namespace obvista

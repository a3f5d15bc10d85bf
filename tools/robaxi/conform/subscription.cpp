#include "conform/subscription.h"

#include <algorithm>
#include <utility>

namespace robaxi_tool {

v1::SubscriptionRequest startRequest(std::uint64_t session, const std::string& module, bool allKeys,
                                     double rate) {
    v1::SubscriptionRequest request;
    request.mutable_start()->set_session_id(session);
    request.mutable_start()->set_module(module);
    request.mutable_start()->set_all_keys(allKeys);
    request.mutable_start()->set_rate(rate);
    return request;
}

std::vector<std::uint32_t> idsOf(const v1::Values& values) {
    std::vector<std::uint32_t> ids(values.float_ids().begin(), values.float_ids().end());
    ids.insert(ids.end(), values.int_ids().begin(), values.int_ids().end());
    ids.insert(ids.end(), values.other_ids().begin(), values.other_ids().end());
    return ids;
}

Subscription::Subscription(Subject& robot)
    : fRobot(robot), fRpc(robot.wire(), "/robaxi.v1.Robaxi/Subscribe") {
}

Subscription::Subscription(Subject& robot, const v1::SubscriptionRequest& first)
    : Subscription(robot) {
    fRpc.send(first);
}

Subscription::Subscription(Subject& robot, Session& session, bool allKeys, double rate)
    : Subscription(robot, startRequest(session.id(), robot.moduleWithValues(), allKeys, rate)) {
}

v1::KnownState Subscription::known() const {
    v1::KnownState known;
    known.set_table(fTable);
    known.set_position(fPosition);
    known.set_keys(fKeys.size());
    known.set_last_key(fKeys.empty() ? 0 : fKeys.rbegin()->first);
    for (const auto& [id, entry] : fValues) {
        known.add_with_values(id);
    }
    return known;
}

void Subscription::report() {
    v1::SubscriptionRequest request;
    request.set_consumed(fLast);
    fRpc.send(request);
}

void Subscription::select(const std::vector<std::uint32_t>& ids) {
    v1::SubscriptionRequest request;
    request.mutable_keys()->mutable_ids()->Assign(ids.begin(), ids.end());
    fRpc.send(request);
}

void Subscription::setRate(double rate) {
    v1::SubscriptionRequest request;
    request.set_rate(rate);
    fRpc.send(request);
}

std::optional<v1::SubscriptionUpdate> Subscription::next(Clock::time_point deadline) {
    const auto bytes = fRpc.next(deadline);
    if (!bytes) {
        return std::nullopt;
    }
    auto update = parse<v1::SubscriptionUpdate>(*bytes);
    xTake(update);
    return update;
}

v1::SubscriptionUpdate Subscription::process() {
    auto update = next(fRobot.deadline());
    require(update.has_value(), "The robot sent no update in time.");
    report();
    return std::move(*update);
}

void Subscription::readTable(bool withValues) {
    const Clock::time_point deadline = fRobot.deadline();
    bool hasTable = false;
    while (!hasTable || (withValues && fValues.size() < fKeys.size())) {
        const auto update = next(deadline);
        require(update.has_value(), !hasTable ? "The robot did not send the table in time."
                                              : "The robot sent " + std::to_string(fValues.size()) +
                                                    " values in time, and has " +
                                                    std::to_string(fKeys.size()) + " keys.");
        hasTable = hasTable || update->has_keys_added();
        report();
    }
    // Without values, nothing marks the end of the table.
    if (!withValues) {
        while (next(std::min(deadline, Clock::now() + a_quiet))) {
            report();
        }
    }
}

std::vector<v1::SubscriptionUpdate> Subscription::watch(Clock::duration time) {
    const Clock::time_point deadline = Clock::now() + time;
    std::vector<v1::SubscriptionUpdate> updates;
    while (auto update = next(deadline)) {
        updates.push_back(std::move(*update));
        report();
        if (Clock::now() >= deadline) {
            break;
        }
    }
    return updates;
}

void Subscription::xTake(const v1::SubscriptionUpdate& update) {
    fLast = update.number();
    fPosition = update.position();
    if (update.has_keys_added()) {
        fTable = update.keys_added().table();
    }
    for (const v1::Key& key : update.keys_added().keys()) {
        fKeys[key.id()] = key;
    }
    for (const std::uint32_t id : update.keys_removed().ids()) {
        fKeys.erase(id);
        fValues.erase(id);
    }
    const v1::Values& values = update.values();
    int index = 0;
    const auto entryOf = [&](std::uint32_t id) -> Entry& {
        Entry& entry = fValues[id];
        entry.fTime = values.time();
        if (index < values.time_offsets_size()) {
            entry.fTime += values.time_offsets(index);
        }
        ++index;
        return entry;
    };
    for (int i = 0; i < std::min(values.float_ids_size(), values.floats_size()); ++i) {
        v1::Value& value = entryOf(values.float_ids(i)).fValue;
        value.Clear();
        value.set_type(v1::Value::FLOAT);
        value.set_float_value(values.floats(i));
    }
    for (int i = 0; i < std::min(values.int_ids_size(), values.ints_size()); ++i) {
        v1::Value& value = entryOf(values.int_ids(i)).fValue;
        value.Clear();
        value.set_type(v1::Value::INT);
        value.set_int_value(values.ints(i));
    }
    for (int i = 0; i < std::min(values.other_ids_size(), values.others_size()); ++i) {
        entryOf(values.other_ids(i)).fValue = values.others(i);
    }
}

}  // namespace robaxi_tool

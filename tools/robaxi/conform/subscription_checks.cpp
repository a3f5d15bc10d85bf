#include "conform/subscription.h"

#include <limits>

namespace robaxi_tool {

namespace {

constexpr const char* a_none = "robaxi conform/none";
constexpr std::chrono::milliseconds a_watched(500);

/** Returns the first key of a table. @throws NotChecked */
std::uint32_t firstKey(const Subscription& subscription) {
    if (subscription.keys().empty()) {
        throw NotChecked("The module has no keys.");
    }
    return subscription.keys().begin()->first;
}

/** Returns two keys of a table. @throws NotChecked */
std::pair<std::uint32_t, std::uint32_t> twoKeys(const Subscription& subscription) {
    if (subscription.keys().size() < 2) {
        throw NotChecked("The module has less than two keys.");
    }
    return {subscription.keys().begin()->first, subscription.keys().rbegin()->first};
}

void requireAlive(Subscription& subscription) {
    require(subscription.rpc().end(Clock::now() + a_quiet) == nullptr,
            "The robot ended the stream.");
}

void checkNoStart(Subject& robot) {
    robot.moduleWithValues();
    Subscription subscription(robot);
    subscription.report();
    requireRefusal(robot, subscription.rpc(), v1::Error::INVALID_ARGUMENT);
}

void checkSilence(Subject& robot) {
    robot.moduleWithValues();
    const std::chrono::milliseconds limit(Session(robot).reply().silence_limit());
    if (limit > std::chrono::seconds(60)) {
        throw NotChecked("The robot waits longer than a minute.");
    }
    Subscription subscription(robot);
    const End* const end = subscription.rpc().end(robot.deadline() + limit);
    if (end == nullptr) {
        throw Fault("The robot did not end the stream.");
    }
    requireRefusal(*end, v1::Error::TIMED_OUT);
}

void checkNoSession(Subject& robot) {
    Session session(robot);
    Subscription subscription(robot);
    subscription.rpc().send(startRequest(~session.id(), robot.moduleWithValues(), true, a_fast));
    requireRefusal(robot, subscription.rpc(), v1::Error::NOT_AUTHORISED);
}

void checkNoModule(Subject& robot) {
    Session session(robot);
    Subscription subscription(robot);
    subscription.rpc().send(startRequest(session.id(), a_none, true, a_fast));
    requireRefusal(robot, subscription.rpc(), v1::Error::NO_SUCH_MODULE);
}

void checkNoValues(Subject& robot) {
    for (const v1::Module& module : robot.modules()) {
        if (!module.has_values()) {
            Session session(robot);
            Subscription subscription(robot);
            subscription.rpc().send(startRequest(session.id(), module.name(), true, a_fast));
            requireRefusal(robot, subscription.rpc(), v1::Error::INVALID_ARGUMENT);
            return;
        }
    }
    throw NotChecked("All modules of the robot have values.");
}

void checkRates(Subject& robot) {
    Session session(robot);
    for (const double rate : {0.0, -1.0, 1000.5, std::numeric_limits<double>::quiet_NaN()}) {
        Subscription subscription(robot, session, true, rate);
        requireRefusal(robot, subscription.rpc(), v1::Error::INVALID_ARGUMENT);
    }
}

void checkNewRate(Subject& robot) {
    Session session(robot);
    Subscription subscription(robot, session, true, a_slow);
    subscription.readTable(true);
    subscription.setRate(a_fast);
    requireAlive(subscription);
}

void checkBadNewRate(Subject& robot) {
    Session session(robot);
    Subscription subscription(robot, session, true, a_slow);
    subscription.readTable(true);
    subscription.setRate(0);
    requireRefusal(robot, subscription.rpc(), v1::Error::INVALID_ARGUMENT);
}

void checkStartTwice(Subject& robot) {
    Session session(robot);
    Subscription subscription(robot, session, true, a_slow);
    subscription.rpc().send(startRequest(session.id(), robot.moduleWithValues(), true, a_slow));
    requireRefusal(robot, subscription.rpc(), v1::Error::INVALID_ARGUMENT);
}

void checkTable(Subject& robot) {
    Session session(robot);
    Subscription subscription(robot, session, true);
    subscription.readTable(true);
}

void checkTableFirst(Subject& robot) {
    Session session(robot);
    Subscription subscription(robot, session, true);
    const auto first = subscription.next(robot.deadline());
    require(first.has_value(), "The robot sent nothing.");
    require(first->has_keys_added(), "The first update has no KeysAdded.");
}

void checkKeys(Subject& robot) {
    Session session(robot);
    Subscription subscription(robot, session, false);
    std::uint32_t last = 0;
    std::set<std::string> names;
    const Clock::time_point deadline = robot.deadline();
    bool hasTable = false;
    while (const auto update = subscription.next(
               hasTable ? std::min(deadline, Clock::now() + a_quiet) : deadline)) {
        hasTable = true;
        for (const v1::Key& key : update->keys_added().keys()) {
            require(key.id() > last,
                    "An identifier is not above the previous one, " + std::to_string(last) + ".");
            last = key.id();
            require(!key.name().empty() && names.insert(key.name()).second,
                    "A name is empty or used twice.");
        }
        subscription.report();
    }
    require(hasTable, "The robot did not send the table in time.");
}

void checkKnownKeys(Subject& robot) {
    Session session(robot);
    Subscription subscription(robot, session, true);
    const Clock::time_point deadline = Clock::now() + a_watched;
    bool isThereOne = false;
    while (const auto update = subscription.next(isThereOne ? deadline : robot.deadline())) {
        for (const std::uint32_t id : idsOf(update->values())) {
            require(subscription.keys().count(id) == 1,
                    "The identifier " + std::to_string(id) + " was not in a Key before.");
        }
        isThereOne = true;
        subscription.report();
        if (Clock::now() > deadline) {
            break;
        }
    }
    require(isThereOne, "The robot sent nothing.");
}

void checkNumbers(Subject& robot) {
    Session session(robot);
    Subscription subscription(robot, session, true);
    std::uint64_t number = 0;
    for (Clock::time_point deadline = robot.deadline(); number < 10;
         deadline = Clock::now() + a_watched) {
        const auto update = subscription.next(deadline);
        if (!update) {
            break;
        }
        ++number;
        require(update->number() == number, "Update " + std::to_string(number) +
                                                " has the number " +
                                                std::to_string(update->number()) + ".");
        subscription.report();
    }
    require(number > 0, "The robot sent nothing.");
}

void checkWindow(Subject& robot) {
    Session session(robot);
    Subscription subscription(robot, session, false, a_fast);
    require(subscription.next(robot.deadline()).has_value(), "The robot did not send the table.");
    const auto [one, other] = twoKeys(subscription);
    // Each selection of a key that was not selected makes the robot send its value.
    int updates = 1;
    for (const std::uint32_t key : {one, other, one, other}) {
        subscription.select({key});
        while (subscription.next(Clock::now() + a_quiet)) {
            require(++updates <= 2, "The robot sent a third update before one was reported.");
        }
    }
}

void checkWindowMoves(Subject& robot) {
    Session session(robot);
    Subscription subscription(robot, session, false, a_fast);
    subscription.readTable(false);
    const auto [one, other] = twoKeys(subscription);
    for (const std::uint32_t key : {one, other, one, other}) {
        subscription.select({key});
        require(subscription.next(robot.deadline()).has_value(),
                "The robot sends no further updates, although all are reported.");
        subscription.report();
    }
}

void checkSelection(Subject& robot) {
    Session session(robot);
    Subscription subscription(robot, session, false, a_slow);
    subscription.readTable(false);
    const std::uint32_t key = firstKey(subscription);
    subscription.select({key});
    const auto update = subscription.next(robot.deadline());
    require(update && subscription.values().count(key) == 1,
            "The value of a newly selected key did not come.");
}

void checkOnlySelected(Subject& robot) {
    Session session(robot);
    Subscription subscription(robot, session, false);
    subscription.readTable(false);
    const std::uint32_t key = firstKey(subscription);
    require(subscription.values().empty(), "The robot sends values of keys that are not selected.");
    subscription.select({key});
    subscription.watch(a_watched);
    for (const auto& [id, entry] : subscription.values()) {
        require(id == key, "The robot sends values of keys that are not selected.");
    }
}

void checkUnknownKeys(Subject& robot) {
    Session session(robot);
    Subscription subscription(robot, session, false, a_slow);
    subscription.readTable(false);
    const std::uint32_t unknown =
        subscription.keys().empty() ? 1 : subscription.keys().rbegin()->first + 1000000;
    subscription.select({unknown});
    requireAlive(subscription);
    require(subscription.values().empty(), "The robot sends a value of an unknown key.");
}

void checkAllKeys(Subject& robot) {
    Session session(robot);
    Subscription subscription(robot, session, true, a_slow);
    // At once, before the robot can have sent the values.
    subscription.select({});
    subscription.readTable(true);
}

void checkRateHolds(Subject& robot) {
    constexpr double rate = 5;
    Session session(robot);
    const Clock::time_point start = Clock::now();
    Subscription subscription(robot, session, true, rate);
    subscription.readTable(true);
    std::size_t count = 0;
    // The first values can come in several updates.
    for (const v1::SubscriptionUpdate& update : subscription.watch(2 * a_watched)) {
        count += update.has_values() ? 1 : 0;
    }
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    require(static_cast<double>(count) <= rate * seconds + 1,
            "The robot sent " + std::to_string(count) + " updates in " + std::to_string(seconds) +
                " s at a rate of 5.");
}

void checkEndWithSession(Subject& robot) {
    Session session(robot);
    Subscription subscription(robot, session, true);
    require(subscription.next(robot.deadline()).has_value(), "The robot sent nothing.");
    session.rpc().halfClose();
    requireEnd(robot, session.rpc());
    requireEnd(robot, subscription.rpc());
}

void checkHalfClose(Subject& robot) {
    Session session(robot);
    Subscription subscription(robot, session, true);
    require(subscription.next(robot.deadline()).has_value(), "The robot sent nothing.");
    subscription.rpc().halfClose();
    require(requireEnd(robot, subscription.rpc()).fCode == grpc::StatusCode::OK,
            "The robot ended the stream with another status than OK.");
}

void checkPacking(Subject& robot) {
    Session session(robot);
    Subscription subscription(robot, session, true);
    std::vector<v1::SubscriptionUpdate> updates;
    const Clock::time_point deadline = robot.deadline();
    do {
        const auto update = subscription.next(deadline);
        require(update.has_value(), "The robot sent no values.");
        updates.push_back(*update);
        subscription.report();
    } while (subscription.keys().empty() ? updates.empty() : subscription.values().empty());
    for (const v1::SubscriptionUpdate& update : updates) {
        const v1::Values& values = update.values();
        require(values.float_ids_size() == values.floats_size() &&
                    values.int_ids_size() == values.ints_size() &&
                    values.other_ids_size() == values.others_size(),
                "The numbers of identifiers and values differ.");
        for (const v1::Value& other : values.others()) {
            require(other.type() != v1::Value::FLOAT && other.type() != v1::Value::INT,
                    "A float or an int is among the other values.");
        }
        const std::vector<std::uint32_t> ids = idsOf(values);
        require(std::set<std::uint32_t>(ids.begin(), ids.end()).size() == ids.size(),
                "An identifier is in an update twice.");
    }
}

void checkTimes(Subject& robot) {
    Session session(robot);
    Subscription subscription(robot, session, true);
    const Clock::time_point deadline = robot.deadline();
    while (const auto update = subscription.next(deadline)) {
        subscription.report();
        if (update->has_values()) {
            const auto count = static_cast<int>(idsOf(update->values()).size());
            require(update->values().time_offsets().empty() ||
                        update->values().time_offsets_size() == count,
                    "There are " + std::to_string(update->values().time_offsets_size()) +
                        " offsets for " + std::to_string(count) + " values.");
            return;
        }
        if (subscription.keys().empty()) {
            break;
        }
    }
    throw NotChecked("The robot sent no values.");
}

void checkSameValues(Subject& robot) {
    robot.needMethod(a_memory, "getData");
    if (robot.moduleWithValues() != a_memory) {
        throw NotChecked("The module KVMemory has no values to subscribe to.");
    }
    Session session(robot);
    Subscription subscription(robot, session, true);
    const auto get = [&](const v1::Key& key) {
        return session.call(makeCall(a_memory, "getData", {textValue(key.name())})).value();
    };
    subscription.readTable(true);
    // Of several keys, since values may change meanwhile; the types of values rarely do.
    constexpr int mostKeys = 20;
    int checked = 0;
    for (const auto& [id, key] : subscription.keys()) {
        const v1::Value value = get(key);
        require(value.type() == subscription.values().at(id).fValue.type(),
                "The value of " + key.name() + " is of another type than that of getData.");
        if (++checked == mostKeys) {
            break;
        }
    }
}

}  // namespace

const std::vector<ConformCheck>& subscriptionChecks() {
    static const std::vector<ConformCheck> checks = {
        {"subscriptions.no-start", "U1", "The robot ends a stream without it with INVALID_ARGUMENT",
         &checkNoStart},
        {"subscriptions.silence", "U1",
         "and one without any request for 5 seconds with DEADLINE_EXCEEDED.", &checkSilence},
        {"subscriptions.no-session", "U2",
         "It ends the stream with NOT_AUTHORISED if there is no such session", &checkNoSession},
        {"subscriptions.no-module", "U2", "NO_SUCH_MODULE", &checkNoModule},
        {"subscriptions.no-values", "U2", "INVALID_ARGUMENT if the module has no values",
         &checkNoValues},
        {"subscriptions.bad-rate", "U2", "the rate is not above 0 to 1000", &checkRates},
        {"subscriptions.start-twice", "U2", "or start is sent twice", &checkStartTwice},
        {"subscriptions.table-first", "U3",
         "The robot sends the table as one or more KeysAdded, at least one even if the table is "
         "empty",
         &checkTableFirst},
        {"subscriptions.values", "U3", "then the current values of the keys, then changes.",
         &checkTable},
        {"subscriptions.keys", "memory",
         "number above 0, used in a subscription instead of the name; ascending, and never used "
         "for another key",
         &checkKeys},
        {"subscriptions.known-keys", "U4",
         "An identifier is used in Values only after its Key was sent", &checkKnownKeys},
        {"subscriptions.numbers", "U5",
         "Every SubscriptionUpdate has a number, counted from 1: those with KeysAdded and "
         "keys_removed count, too.",
         &checkNumbers},
        {"subscriptions.window", "U6", "The robot sends at most two updates beyond it.",
         &checkWindow},
        {"subscriptions.window-moves", "U6",
         "The client reports in consumed the number of the last update that it has processed.",
         &checkWindowMoves},
        {"subscriptions.selection", "U7",
         "The current value of a newly selected key is sent at once", &checkSelection},
        {"subscriptions.only-selected", "memory",
         "A client may select keys; the metadata of all keys are sent in any case.",
         &checkOnlySelected},
        {"subscriptions.unknown-keys", "U7", "unknown identifiers are ignored", &checkUnknownKeys},
        {"subscriptions.all-keys", "U7", "with all_keys the whole selection is", &checkAllKeys},
        {"subscriptions.new-rate", "U7",
         "The client may select other keys (keys) or another rate at any time.", &checkNewRate},
        {"subscriptions.bad-new-rate", "U2", "the rate is not above 0 to 1000", &checkBadNewRate},
        {"subscriptions.rate", "memory",
         "sends the keys with their metadata, the current values and then the changes, at most at "
         "the requested rate",
         &checkRateHolds},
        {"subscriptions.ends-with-session", "U8", "The stream ends with the session",
         &checkEndWithSession},
        {"subscriptions.half-close", "U8",
         "or, with the status OK, when the client closes its sending side.", &checkHalfClose},
        {"subscriptions.packing", "U9",
         "Values are packed by type: identifiers and values of the floats, of the ints, and of "
         "all others, in pairs of fields of equal length.",
         &checkPacking},
        {"subscriptions.times", "protocol",
         "time_offsets is empty if all values have the time stamp time. Otherwise it has one "
         "offset for each value",
         &checkTimes},
        {"subscriptions.same-values", "memory", "The values are those that getData returns.",
         &checkSameValues},
    };
    return checks;
}

}  // namespace robaxi_tool

#include "conform/subscription.h"

#include <algorithm>
#include <set>

namespace robaxi_tool {

namespace {

constexpr std::uint64_t a_signOfLife = std::uint64_t{1} << 40U;
constexpr std::chrono::milliseconds a_signPeriod(250);
constexpr std::uint64_t a_someHeartbeat = 7;
constexpr std::uint64_t a_repeatedCall = 77;

v1::ClientMessage resumableHello(const Subject& robot) {
    v1::ClientMessage message = helloMessage(robot);
    message.mutable_hello()->set_resumes(true);
    return message;
}

/** A session whose batches have numbers, or its continuation on another stream. */
class NumberedSession {
  public:
    /** Opens one that can be resumed. @throws NotChecked if the robot does not keep it */
    explicit NumberedSession(Subject& robot) : NumberedSession(robot, resumableHello(robot)) {
        if (!reply().resumes()) {
            throw NotChecked("The robot keeps no sessions that could be resumed.");
        }
    }

    NumberedSession(Subject& robot, const v1::ClientMessage& hello)
        : fRobot(robot), fRpc(robot.wire(), "/robaxi.v1.Robaxi/Session") {
        send(hello, 0);
        const auto bytes = fRpc.next(robot.deadline());
        require(bytes.has_value(), "The robot did not answer the Hello.");
        fFirst = parse<v1::ServerBatch>(*bytes);
        require(fFirst.messages_size() > 0 && fFirst.messages(0).has_hello_reply(),
                "The first message of the robot is not HelloReply.");
        v1::ClientBatch sign;
        *sign.add_messages() = heartbeatMessage(a_signOfLife);
        fRpc.keepAlive(sign.SerializeAsString(), a_signPeriod);
    }

    const v1::ServerBatch& first() const { return fFirst; }
    const v1::HelloReply& reply() const { return fFirst.messages(0).hello_reply(); }
    Rpc& rpc() { return fRpc; }
    /** Identifiers of the requests that were answered. */
    const std::multiset<std::uint64_t>& answered() const { return fAnswered; }

    /** Returns the Hello that resumes it. */
    v1::ClientMessage resumption(std::uint64_t number, std::uint64_t received = 0) const {
        v1::ClientMessage message = resumableHello(fRobot);
        v1::Resume* const resume = message.mutable_hello()->mutable_resume();
        resume->set_session_id(reply().session_id());
        resume->set_resumption(number);
        resume->set_received(received);
        return message;
    }

    void send(const v1::ClientMessage& message, std::uint64_t number) {
        v1::ClientBatch batch;
        batch.set_number(number);
        *batch.add_messages() = message;
        fRpc.send(batch);
    }

    /** Returns the next batch that contains more than heartbeats; nothing at the deadline. */
    std::optional<v1::ServerBatch> next(Clock::time_point deadline) {
        while (auto batch = xNext(deadline)) {
            if (std::any_of(batch->messages().begin(), batch->messages().end(),
                            [](const auto& each) { return !each.has_heartbeat(); })) {
                return batch;
            }
        }
        return std::nullopt;
    }

    /** Requests the modules in a batch of this number, and returns the batch with the answer. */
    v1::ServerBatch ask(std::uint64_t number, std::uint64_t batch) {
        send(listMessage(number, ""), batch);
        const Clock::time_point deadline = fRobot.deadline();
        while (auto answer = next(deadline)) {
            if (fAnswered.count(number) != 0) {
                return *answer;
            }
        }
        throw Fault("The robot did not answer in time.");
    }
    v1::ServerBatch ask(std::uint64_t number) { return ask(number, number); }

    /** Acknowledges a batch, and returns the batch with the returned heartbeat. */
    v1::ServerBatch beat(std::uint64_t received) {
        v1::ClientMessage message = heartbeatMessage(a_someHeartbeat);
        message.mutable_heartbeat()->set_received(received);
        send(message, 0);
        const Clock::time_point deadline = fRobot.deadline();
        while (auto batch = xNext(deadline)) {
            for (const v1::ServerMessage& one : batch->messages()) {
                if (one.has_heartbeat() && one.heartbeat().number() == a_someHeartbeat) {
                    return *batch;
                }
            }
        }
        throw Fault("The robot did not return a heartbeat in time.");
    }

  private:
    std::optional<v1::ServerBatch> xNext(Clock::time_point deadline) {
        const auto bytes = fRpc.next(deadline);
        if (!bytes) {
            return std::nullopt;
        }
        auto batch = parse<v1::ServerBatch>(*bytes);
        for (const v1::ServerMessage& one : batch.messages()) {
            if (one.has_module_list()) {
                fAnswered.insert(one.module_list().call_id());
            }
        }
        return batch;
    }

    Subject& fRobot;
    Rpc fRpc;
    v1::ServerBatch fFirst;
    std::multiset<std::uint64_t> fAnswered;
};

/** Checks that the robot refuses an attempt to resume. */
void requireRefusedAttempt(Subject& robot, const v1::ClientMessage& hello,
                           v1::Error::Cause cause = v1::Error::NOT_AUTHORISED) {
    Rpc rpc(robot.wire(), "/robaxi.v1.Robaxi/Session");
    v1::ClientBatch batch;
    *batch.add_messages() = hello;
    rpc.send(batch);
    requireRefusal(robot, rpc, cause);
}

void checkNumbersForThoseWhoResume(Subject& robot) {
    NumberedSession session(robot, helloMessage(robot));
    if (!session.reply().resumes()) {
        throw NotChecked("The robot keeps no sessions that could be resumed.");
    }
    require(session.ask(1, 0).number() == 0,
            "The robot numbers the batches of a session that cannot be resumed.");
}

void checkNumbers(Subject& robot) {
    NumberedSession session(robot);
    for (std::uint64_t number = 1; number <= 3; ++number) {
        const std::uint64_t found = session.ask(number).number();
        require(found == number, "Batch " + std::to_string(number) + " has the number " +
                                     std::to_string(found) + ".");
    }
}

void checkNumberOfHeartbeats(Subject& robot) {
    NumberedSession session(robot);
    session.ask(1);
    require(session.beat(0).number() == 0, "A batch with a heartbeat only has a number.");
}

void checkReceived(Subject& robot) {
    NumberedSession session(robot);
    session.ask(1);
    session.ask(2);
    const v1::ServerBatch batch = session.beat(0);
    for (const v1::ServerMessage& one : batch.messages()) {
        require(!one.has_heartbeat() || one.heartbeat().received() == 2,
                "received is " + std::to_string(one.heartbeat().received()) + " after 2 batches.");
    }
}

void checkDropped(Subject& robot) {
    NumberedSession session(robot);
    session.ask(1);
    session.beat(1);
    requireRefusedAttempt(robot, session.resumption(1, 0));
}

void checkRepeated(Subject& robot) {
    NumberedSession session(robot);
    session.ask(1);
    session.send(listMessage(a_repeatedCall, ""), 1);
    session.ask(2);
    const Clock::time_point deadline = Clock::now() + a_quiet;
    while (session.next(deadline)) {
    }
    require(session.answered().count(a_repeatedCall) == 0,
            "The robot answered a request in a repeated batch.");
}

void checkLeftOut(Subject& robot) {
    NumberedSession session(robot);
    session.ask(1);
    session.send(listMessage(2, ""), 3);
    requireRefusal(robot, session.rpc(), v1::Error::INVALID_ARGUMENT);
}

void checkReplyToResume(Subject& robot) {
    NumberedSession session(robot);
    session.ask(1);
    session.ask(2);
    const NumberedSession next(robot, session.resumption(1, 2));
    require(next.first().messages_size() == 1, "HelloReply is not alone in its batch.");
    require(next.reply().resumed(), "HelloReply does not have resumed.");
    require(next.reply().session_id() == session.reply().session_id(),
            "HelloReply has another session_id.");
    require(next.reply().received() == 2,
            "received is " + std::to_string(next.reply().received()) + " after 2 batches.");
}

void checkCopies(Subject& robot) {
    NumberedSession session(robot);
    session.ask(1);
    session.ask(2);
    NumberedSession next(robot, session.resumption(1, 1));
    const auto copy = next.next(robot.deadline());
    require(copy.has_value(), "The robot did not repeat the batch that has not arrived.");
    require(copy->number() == 2 && next.answered().count(2) == 1,
            "The robot continued with the batch " + std::to_string(copy->number()) + ".");
    require(next.ask(3).number() == 3, "The robot did not continue the numbers.");
}

void checkFormerStream(Subject& robot) {
    NumberedSession session(robot);
    const NumberedSession next(robot, session.resumption(1));
    requireEnd(robot, session.rpc());
}

/** Returns the first request of a subscription of a session to all keys. */
v1::SubscriptionRequest subscribeTo(Subject& robot, const NumberedSession& session,
                                    std::uint64_t resumption) {
    v1::SubscriptionRequest request =
        startRequest(session.reply().session_id(), robot.moduleWithValues(), true, a_slow);
    request.mutable_start()->set_resumption(resumption);
    return request;
}

void checkFormerStreamBesideIt(Subject& robot) {
    NumberedSession session(robot);
    Subscription subscription(robot, subscribeTo(robot, session, 0));
    subscription.process();
    const NumberedSession next(robot, session.resumption(1));
    requireEnd(robot, subscription.rpc());
}

void checkOtherNumberOfStream(Subject& robot) {
    NumberedSession session(robot);
    const NumberedSession next(robot, session.resumption(1));
    Subscription subscription(robot, subscribeTo(robot, session, 0));
    requireRefusal(robot, subscription.rpc(), v1::Error::NOT_AUTHORISED);
}

void checkNoSession(Subject& robot) {
    NumberedSession session(robot);
    v1::ClientMessage hello = session.resumption(1);
    hello.mutable_hello()->mutable_resume()->set_session_id(~session.reply().session_id());
    requireRefusedAttempt(robot, hello);
}

void checkOtherName(Subject& robot) {
    NumberedSession session(robot);
    v1::ClientMessage hello = session.resumption(1);
    hello.mutable_hello()->set_name("robaxi conform, another one");
    requireRefusedAttempt(robot, hello);
}

void checkOldResumption(Subject& robot) {
    NumberedSession session(robot);
    const NumberedSession next(robot, session.resumption(2));
    requireRefusedAttempt(robot, session.resumption(2));
}

void checkUnaffected(Subject& robot) {
    NumberedSession session(robot);
    v1::ClientMessage hello = session.resumption(1);
    hello.mutable_hello()->set_name("robaxi conform, another one");
    requireRefusedAttempt(robot, hello);
    session.ask(1);
}

void checkVersionOfResumption(Subject& robot) {
    NumberedSession session(robot);
    v1::ClientMessage hello = session.resumption(1);
    hello.mutable_hello()->set_protocol_version(1000);
    requireRefusedAttempt(robot, hello, v1::Error::PROTOCOL_VERSION);
}

/** A resumed session in which a client knows the keys and values of a module. */
class Continued {
  public:
    explicit Continued(Subject& robot)
        : fRobot(robot), fSession(robot), fFormer(robot, subscribeTo(robot, fSession, 0)) {
        fFormer.readTable(true);
        fNext.emplace(robot, fSession.resumption(1));
    }

    const Subscription& former() const { return fFormer; }
    /** Returns the first request of the subscription that continues it. */
    v1::SubscriptionRequest start() const {
        v1::SubscriptionRequest request = subscribeTo(fRobot, fSession, 1);
        *request.mutable_start()->mutable_known() = fFormer.known();
        return request;
    }
    /** Returns the same with all of the keys selected. */
    v1::SubscriptionRequest startWithKeys() const {
        v1::SubscriptionRequest request = start();
        request.mutable_start()->set_all_keys(false);
        for (const auto& [id, key] : fFormer.keys()) {
            request.mutable_keys()->add_ids(id);
        }
        return request;
    }

  private:
    Subject& fRobot;
    NumberedSession fSession;
    Subscription fFormer;
    std::optional<NumberedSession> fNext;
};

void checkKnownKeys(Subject& robot) {
    const Continued continued(robot);
    const v1::SubscriptionRequest start = continued.start();
    Subscription subscription(robot, start);
    for (const v1::SubscriptionUpdate& update : subscription.watch(a_quiet)) {
        require(!update.has_keys_present(), "The robot sent keys_present for the keys it has.");
        for (const v1::Key& key : update.keys_added().keys()) {
            require(key.id() > start.start().known().last_key(),
                    "The robot sent a known key again.");
        }
    }
}

bool isSame(const Subscription::Entry& left, const Subscription::Entry& right) {
    return left.fTime == right.fTime &&
           left.fValue.SerializeAsString() == right.fValue.SerializeAsString();
}

void checkKnownValues(Subject& robot) {
    const Continued continued(robot);
    for (const v1::SubscriptionRequest& start : {continued.start(), continued.startWithKeys()}) {
        Subscription subscription(robot, start);
        subscription.watch(a_quiet);
        for (const auto& [id, entry] : subscription.values()) {
            const auto former = continued.former().values().find(id);
            require(former == continued.former().values().end() || !isSame(former->second, entry),
                    "The robot sent a value again that has not changed.");
        }
    }
}

void checkNewlySelected(Subject& robot) {
    const Continued continued(robot);
    v1::SubscriptionRequest start = continued.startWithKeys();
    start.mutable_start()->mutable_known()->clear_with_values();
    Subscription subscription(robot, start);
    const std::size_t count = continued.former().keys().size();
    const Clock::time_point deadline = robot.deadline();
    while (subscription.values().size() < count) {
        require(subscription.next(deadline).has_value(),
                "The robot sent " + std::to_string(subscription.values().size()) + " of " +
                    std::to_string(count) + " newly selected values.");
        subscription.report();
    }
}

void checkPresentKeys(Subject& robot) {
    const Continued continued(robot);
    v1::SubscriptionRequest start = continued.start();
    v1::KnownState& known = *start.mutable_start()->mutable_known();
    const auto count = static_cast<int>(known.keys());
    known.set_keys(known.keys() + 1);
    Subscription subscription(robot, start);
    const v1::SubscriptionUpdate update = subscription.process();
    require(update.has_keys_present(), "The first update has no keys_present.");
    require(update.keys_present().ids_size() == count,
            "keys_present has " + std::to_string(update.keys_present().ids_size()) + " of " +
                std::to_string(count) + " keys.");
}

void checkOtherTable(Subject& robot) {
    const Continued continued(robot);
    v1::SubscriptionRequest start = continued.start();
    v1::KnownState& known = *start.mutable_start()->mutable_known();
    known.set_table(~known.table());
    Subscription subscription(robot, start);
    const v1::SubscriptionUpdate update = subscription.process();
    require(update.has_keys_present() && update.keys_present().ids().empty(),
            "The first update has no empty keys_present.");
    require(subscription.process().has_keys_added(), "The robot did not send its keys then.");
}

}  // namespace

const std::vector<ConformCheck>& resumeChecks() {
    static const std::vector<ConformCheck> checks = {
        {"resuming.both", "R1", "The following rules apply if both did.",
         &checkNumbersForThoseWhoResume},
        {"resuming.numbers", "R2",
         "Each end numbers the batches that it sends from 1, for the whole session", &checkNumbers},
        {"resuming.no-number", "R2",
         "A batch that contains only heartbeats, Hello or HelloReply has the number 0",
         &checkNumberOfHeartbeats},
        {"resuming.received", "R3",
         "received of each Heartbeat is the number of the last batch that its sender has received",
         &checkReceived},
        {"resuming.dropped", "R3", "the other end drops the copies up to it.", &checkDropped},
        {"resuming.repeated", "R4",
         "A batch with a number above 0 that is not above that of the last one is ignored.",
         &checkRepeated},
        {"resuming.left-out", "R4",
         "A robot ends a session with INVALID_ARGUMENT if a number is left out.", &checkLeftOut},
        {"resuming.reply", "R6",
         "The robot answers with HelloReply, alone in its batch, that has resumed, the same "
         "session_id, and the number of the last batch that it has received.",
         &checkReplyToResume},
        {"resuming.copies", "R6",
         "Then both ends repeat the later ones of their copies, in order, and continue.",
         &checkCopies},
        {"resuming.former", "R7", "The robot ends the session's former stream", &checkFormerStream},
        {"resuming.former-streams", "R7", "and the streams beside it", &checkFormerStreamBesideIt},
        {"resuming.other-number", "R7", "another number is refused with NOT_AUTHORISED.",
         &checkOtherNumberOfStream},
        {"resuming.no-session", "R8",
         "The robot refuses to resume with NOT_AUTHORISED if there is no such session",
         &checkNoSession},
        {"resuming.other-name", "R8", "the client has another name", &checkOtherName},
        {"resuming.not-above", "R8", "the resumption is not above the last accepted one",
         &checkOldResumption},
        {"resuming.unaffected", "R8", "The session itself is not affected.", &checkUnaffected},
        {"resuming.version", "R8", "Version and token are checked before, as in every Hello",
         &checkVersionOfResumption},
        {"resuming.known-keys", "R9", "The robot then sends neither keys up to last_key",
         &checkKnownKeys},
        {"resuming.known-values", "R9", "nor values that have not changed since position",
         &checkKnownValues},
        {"resuming.newly-selected", "R9",
         "Selected keys that are not in with_values are newly selected (U7).", &checkNewlySelected},
        {"resuming.present-keys", "R9", "it first sends those that it has, as keys_present.",
         &checkPresentKeys},
        {"resuming.other-table", "R9",
         "If the module has another table than table, the robot sends empty keys_present",
         &checkOtherTable},
    };
    return checks;
}

}  // namespace robaxi_tool

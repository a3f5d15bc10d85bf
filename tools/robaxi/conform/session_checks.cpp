#include "conform/subject.h"

#include <base/safe_text.h>

namespace robaxi_tool {

namespace {

constexpr std::uint64_t a_someId = 7;
constexpr std::chrono::seconds a_longestSilence(60);
/** Number of a field that the protocol does not have, and its bytes: a text of one character. */
constexpr const char a_unknownField[] = "\xfa\x3e\x01x";

/** Opens a stream, sends a first message, and expects that the robot refuses the client. */
void requireRefusedFirst(Subject& robot, const v1::ClientMessage& first) {
    Rpc rpc(robot.wire(), "/robaxi.v1.Robaxi/Session");
    v1::ClientBatch batch;
    *batch.add_messages() = first;
    rpc.send(batch);
    if (const auto bytes = rpc.next(robot.deadline())) {
        const auto answer = parse<v1::ServerBatch>(*bytes);
        require(answer.messages_size() == 0, "The robot answered instead of ending the stream.");
    }
    requireRefusal(robot, rpc, v1::Error::PROTOCOL_VERSION);
}

v1::ClientMessage fragmentMessage(const std::string& data, bool isLast) {
    v1::ClientMessage message;
    message.mutable_fragment()->set_data(data);
    message.mutable_fragment()->set_last(isLast);
    return message;
}

void checkHello(Subject& robot) {
    const Session session(robot);
    const v1::HelloReply& reply = session.reply();
    require(reply.protocol_version() == 1,
            "HelloReply has the version " + std::to_string(reply.protocol_version()) + ".");
    require(!reply.name().empty(), "HelloReply has no name.");
    require(reply.session_id() != 0, "The session_id is 0.");
}

void checkSilenceLimit(Subject& robot) {
    require(Session(robot).reply().silence_limit() > 0, "The silence_limit is 0.");
}

void checkVersion(Subject& robot) {
    v1::ClientMessage hello = helloMessage(robot);
    hello.mutable_hello()->set_protocol_version(1000);
    requireRefusedFirst(robot, hello);
}

void checkFirstMessage(Subject& robot) {
    requireRefusedFirst(robot, listMessage(a_someId, ""));
}

void checkSecondHello(Subject& robot) {
    Session session(robot);
    session.send({helloMessage(robot)});
    require(session.settle().empty(), "The robot answered the second Hello.");
}

void checkHeartbeat(Subject& robot) {
    Session session(robot);
    session.send({heartbeatMessage(a_someId)});
    const auto answer = session.next(robot.deadline());
    require(answer.has_value(), "The robot did not return the heartbeat in time.");
    require(answer->has_heartbeat(), "The robot answered a heartbeat with another message.");
    require(answer->heartbeat().number() == a_someId, "The robot returned another number.");
}

void checkHeartbeatWhileCalling(Subject& robot) {
    const v1::Call call = robot.harmlessCall();
    constexpr std::uint64_t calls = 100;
    Session session(robot);
    for (std::uint64_t id = 1; id <= calls; ++id) {
        session.send({callMessage(id, call), heartbeatMessage(id)});
    }
    std::uint64_t heartbeats = 0;
    std::uint64_t results = 0;
    const Clock::time_point deadline = robot.deadline();
    while (heartbeats < calls || results < calls) {
        const auto message = session.next(deadline);
        require(message.has_value(), "Of " + std::to_string(calls) + " calls and heartbeats " +
                                         std::to_string(results) + " and " +
                                         std::to_string(heartbeats) + " were answered in time.");
        heartbeats += message->has_heartbeat() ? 1 : 0;
        results += message->has_result() ? 1 : 0;
    }
}

void checkBatch(Subject& robot) {
    Session session(robot);
    session.send({heartbeatMessage(1), listMessage(a_someId, ""), heartbeatMessage(2)});
    std::uint64_t heartbeats = 0;
    bool isListed = false;
    const Clock::time_point deadline = robot.deadline();
    while (heartbeats < 2 || !isListed) {
        const auto message = session.next(deadline);
        require(message.has_value(), "Not all messages of the batch were answered in time.");
        heartbeats += message->has_heartbeat() ? 1 : 0;
        isListed = isListed || message->has_module_list();
    }
}

void checkEmptyBatch(Subject& robot) {
    Session session(robot);
    session.send({});
    require(session.settle().empty(), "The robot answered an empty batch.");
}

void checkUnknownContent(Subject& robot) {
    Session session(robot);
    // A batch with one message, which has one field that the robot does not know.
    const std::string message(a_unknownField, sizeof(a_unknownField) - 1);
    session.rpc().sendBytes(std::string("\x0a") + static_cast<char>(message.size()) + message);
    require(session.settle().empty(), "The robot answered a message with unknown content.");
}

void checkSilence(Subject& robot) {
    Session session(robot);
    const std::chrono::milliseconds limit(session.reply().silence_limit());
    if (limit > a_longestSilence) {
        throw NotChecked("The robot waits " + std::to_string(limit.count() / 1000) + " s.");
    }
    session.fallSilent();
    const Clock::time_point start = Clock::now();
    const End* const end = session.rpc().end(robot.deadline() + limit);
    if (end == nullptr) {
        throw Fault("The robot did not end the session of a silent client.");
    }
    require(Clock::now() - start > limit / 2, "The robot ended the session too early.");
    requireRefusal(*end, v1::Error::TIMED_OUT);
}

void checkSignOfLife(Subject& robot) {
    Session session(robot);
    const std::chrono::milliseconds limit(session.reply().silence_limit());
    if (limit > a_longestSilence) {
        throw NotChecked("The robot waits " + std::to_string(limit.count() / 1000) + " s.");
    }
    // Empty batches are a sign of life, too.
    session.rpc().keepAlive({}, std::max<Clock::duration>(limit / 8, std::chrono::milliseconds(1)));
    const End* const end = session.rpc().end(Clock::now() + limit + limit / 2);
    require(end == nullptr, "The robot ended a session from which it received empty batches.");
}

void checkParts(Subject& robot) {
    Session session(robot);
    if (!session.reply().takes_fragments()) {
        throw NotChecked("The robot does not accept messages in parts.");
    }
    const std::string message = listMessage(a_someId, "").SerializeAsString();
    session.send({fragmentMessage(message.substr(0, 1), false), heartbeatMessage(1),
                  fragmentMessage(message.substr(1), true)});
    require(session.answer(a_someId).has_module_list(),
            "The robot did not answer a message in parts.");
}

void checkNoParts(Subject& robot) {
    Session session(robot, false);
    session.send({listMessage(1, ""), listMessage(2, "there is none")});
    for (const v1::ServerMessage& message : session.settle()) {
        require(!message.has_fragment(), "The robot sent a part.");
    }
}

void checkBadParts(Subject& robot) {
    Session session(robot);
    if (!session.reply().takes_fragments()) {
        throw NotChecked("The robot does not accept messages in parts.");
    }
    session.send({fragmentMessage("\xff\xff\xff", true)});
    requireRefusal(robot, session.rpc(), v1::Error::INVALID_ARGUMENT);
}

void checkHalfClose(Subject& robot) {
    Session session(robot);
    session.rpc().halfClose();
    const End& end = requireEnd(robot, session.rpc());
    require(end.fCode == grpc::StatusCode::OK,
            "The robot ended the stream with status " + std::to_string(end.fCode) + ".");
}

void checkList(Subject& robot) {
    Session session(robot);
    session.send({listMessage(a_someId, "")});
    const v1::ServerMessage answer = session.answer(a_someId);
    require(answer.has_module_list(), "The robot answered with a Result.");
    std::set<std::string> names;
    for (const v1::Module& module : answer.module_list().modules()) {
        require(!module.name().empty(), "A module has no name.");
        require(names.insert(module.name()).second, "A module is listed twice.");
    }
}

void checkListOne(Subject& robot) {
    if (robot.modules().empty()) {
        throw NotChecked("The robot has no modules.");
    }
    const std::string name = robot.modules().back().name();
    Session session(robot);
    session.send({listMessage(a_someId, name)});
    const v1::ServerMessage answer = session.answer(a_someId);
    require(answer.has_module_list() && answer.module_list().modules_size() == 1 &&
                answer.module_list().modules(0).name() == name,
            "The robot did not answer with the module that was named.");
}

void checkListUnknown(Subject& robot) {
    Session session(robot);
    session.send({listMessage(a_someId, "robaxi conform/none")});
    const v1::ServerMessage answer = session.answer(a_someId);
    require(answer.has_result(), "The robot answered with ModuleList.");
    requireError(answer.result(), v1::Error::NO_SUCH_MODULE);
}

void checkListZero(Subject& robot) {
    Session session(robot);
    session.send({listMessage(0, "")});
    require(session.settle().empty(), "The robot answered it.");
}

void checkUnreadable(Subject& robot) {
    Session session(robot);
    // A Call whose module is not UTF-8.
    session.rpc().sendBytes("\x0a\x05\x12\x03\x12\x01\xff");
    requireUnreadable(requireEnd(robot, session.rpc()));
}

void checkOthers(Subject& robot) {
    Session other(robot);
    {
        Session session(robot);
        session.rpc().sendBytes("\xff\xff\xff");
        requireEnd(robot, session.rpc());
    }
    other.settle();
}

}  // namespace

const std::vector<ConformCheck>& sessionChecks() {
    static const std::vector<ConformCheck> checks = {
        {"session.hello", "S2",
         "The robot answers with HelloReply, which has the protocol version 1, the name of its "
         "broker and a session_id that is not 0",
         &checkHello},
        {"session.version", "S3",
         "A robot that refuses the client sends no HelloReply and ends the stream with a status",
         &checkVersion},
        {"session.first-message", "S3",
         "PROTOCOL_VERSION for every version but its own, and for a first message that is not "
         "Hello",
         &checkFirstMessage},
        {"session.second-hello", "S4", "A second Hello is ignored.", &checkSecondHello},
        {"session.list", "S9", "ListModules with a call_id above 0 is answered with ModuleList",
         &checkList},
        {"session.list-one", "S9", "for all modules or the one that it names", &checkListOne},
        {"session.list-unknown", "S9", "or with Result and the error NO_SUCH_MODULE",
         &checkListUnknown},
        {"session.list-zero", "S9", "With call_id 0 it is ignored.", &checkListZero},
        {"session.heartbeat", "S10", "A Heartbeat is returned with the same number",
         &checkHeartbeat},
        {"session.heartbeat-while-calling", "S10",
         "as soon as it has been read, while methods run, too.", &checkHeartbeatWhileCalling},
        {"session.batch", "S11", "Messages are sent in batches, ClientBatch and ServerBatch",
         &checkBatch},
        {"session.empty-batch", "S11", "an empty one has no effect", &checkEmptyBatch},
        {"session.unknown-content", "S12", "A message with unknown content is ignored.",
         &checkUnknownContent},
        {"session.silence-limit", "S14", "or more often if silence_limit requires it",
         &checkSilenceLimit},
        {"session.sign-of-life", "S14", "Every received message is a sign of life.",
         &checkSignOfLife},
        {"session.silence", "S15",
         "A robot ends a session from which it has received nothing for silence_limit "
         "milliseconds (5000 here), with the status DEADLINE_EXCEEDED.",
         &checkSilence},
        {"session.parts", "S16", "Whole messages may be sent between them", &checkParts},
        {"session.no-parts", "S17", "Parts are only sent to a peer that set takes_fragments.",
         &checkNoParts},
        {"session.bad-parts", "S18",
         "A robot ends a session with the status INVALID_ARGUMENT if parts form no message",
         &checkBadParts},
        {"session.half-close", "S19", "The robot ends the stream with the status OK.",
         &checkHalfClose},
        {"session.unreadable", "V6",
         "Every other text is a string and must be UTF-8. A message with another one cannot be "
         "read (E4).",
         &checkUnreadable},
        {"session.others", "L1", "Other clients are not affected.", &checkOthers},
    };
    return checks;
}

}  // namespace robaxi_tool

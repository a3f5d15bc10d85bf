#include "conform/subject.h"

#include "process/failure.h"

#include <boost/algorithm/string/predicate.hpp>

#include <algorithm>
#include <array>
#include <locale>

namespace robaxi_tool {

namespace {

/** Number of the heartbeats that are signs of life only; the answers are dropped. */
constexpr std::uint64_t a_signOfLife = std::uint64_t{1} << 40U;
constexpr std::chrono::milliseconds a_heartbeat(250);
constexpr int a_signsInSilence = 5;
constexpr std::size_t a_longestDetail = 1024;
constexpr std::size_t a_mostSampleKeys = 100;
constexpr unsigned short a_httpPort = 80;
constexpr std::size_t a_mostBytesOfIcon = std::size_t{4} << 20U;

struct CauseStatus {
    v1::Error::Cause fCause;
    grpc::StatusCode fCode;
    const char* fName;
};

/** Causes with which a robot ends an RPC. */
constexpr std::array<CauseStatus, 11> a_statuses = {{
    {v1::Error::INVALID_ARGUMENT, grpc::StatusCode::INVALID_ARGUMENT, "INVALID_ARGUMENT"},
    {v1::Error::NO_SUCH_MODULE, grpc::StatusCode::NOT_FOUND, "NOT_FOUND"},
    {v1::Error::NO_SUCH_METHOD, grpc::StatusCode::NOT_FOUND, "NOT_FOUND"},
    {v1::Error::WRONG_ARGUMENTS, grpc::StatusCode::INVALID_ARGUMENT, "INVALID_ARGUMENT"},
    {v1::Error::NOT_AUTHORISED, grpc::StatusCode::PERMISSION_DENIED, "PERMISSION_DENIED"},
    {v1::Error::TIMED_OUT, grpc::StatusCode::DEADLINE_EXCEEDED, "DEADLINE_EXCEEDED"},
    {v1::Error::PROTOCOL_VERSION, grpc::StatusCode::FAILED_PRECONDITION, "FAILED_PRECONDITION"},
    {v1::Error::NO_SUCH_STREAM, grpc::StatusCode::NOT_FOUND, "NOT_FOUND"},
    {v1::Error::TOO_MANY, grpc::StatusCode::RESOURCE_EXHAUSTED, "RESOURCE_EXHAUSTED"},
    {v1::Error::TOKEN_MISSING, grpc::StatusCode::UNAUTHENTICATED, "UNAUTHENTICATED"},
    {v1::Error::TOKEN_WRONG, grpc::StatusCode::UNAUTHENTICATED, "UNAUTHENTICATED"},
}};

Clock::duration signPeriod(const v1::HelloReply& reply) {
    const std::chrono::milliseconds silence(reply.silence_limit());
    return silence.count() == 0
               ? a_heartbeat
               : std::clamp<Clock::duration>(silence / a_signsInSilence,
                                             std::chrono::milliseconds(1), a_heartbeat);
}

constexpr std::chrono::seconds a_patienceForAnnouncement(2);
constexpr std::chrono::seconds a_patienceForAddresses(10);  // Avahi gives up after 5 s

bool isHost(const AnnouncedHost& host, const std::string& name, const std::string& address) {
    const auto& addresses = host.fAddresses;
    return !addresses.empty() &&
           (boost::iequals(host.fHostName, name, std::locale::classic()) ||
            std::find(addresses.begin(), addresses.end(), address) != addresses.end());
}

std::string textOf(const v1::Error& error) {
    return nameOf(error.cause()) + (error.text().empty() ? "" : " (" + error.text() + ')');
}

}  // namespace

// --- Subject ---

Subject::Subject(const ConformRequest& request, robaxi::SocketAddress listener,
                 std::shared_ptr<grpc::Channel> channel, std::string token)
    : fRequest(request),
      fListener(listener),
      fToken(std::move(token)),
      fWire(std::move(channel), request.fInterruption) {
}

Clock::time_point Subject::deadline() const {
    return Clock::now() + std::chrono::seconds(fRequest.fTimeout);
}

std::string Subject::authorization() const {
    return fToken.empty() ? "" : "Bearer " + fToken;
}

const std::vector<v1::Module>& Subject::modules() {
    if (!fModules) {
        Session session(*this);
        session.send({listMessage(1, "")});
        const v1::ServerMessage answer = session.answer(1);
        require(answer.has_module_list(), "The robot did not list its modules.");
        fModules.emplace(answer.module_list().modules().begin(),
                         answer.module_list().modules().end());
    }
    return *fModules;
}

const std::string& Subject::moduleWithValues() {
    const v1::Module* found = nullptr;
    for (const v1::Module& module : modules()) {
        if (module.has_values() && (found == nullptr || module.name() == a_memory)) {
            found = &module;
        }
    }
    if (found == nullptr) {
        throw NotChecked("The robot has no module with values.");
    }
    return found->name();
}

void Subject::needMethod(const std::string& module, const std::string& method) {
    for (const v1::Module& one : modules()) {
        if (one.name() != module) {
            continue;
        }
        for (const v1::Method& its : one.methods()) {
            if (its.name() == method) {
                return;
            }
        }
        throw NotChecked(
            std::string("The module ").append(module).append(" has no method ").append(method) +
            '.');
    }
    throw NotChecked("The robot has no module " + module + ".");
}

v1::Call Subject::harmlessCall() {
    try {
        needMethod(a_memory, "getDataList");
        return makeCall(a_memory, "getDataList", {textValue("")});
    } catch (const NotChecked&) {
        needMethod(a_video, "getCameras");
        return makeCall(a_video, "getCameras");
    }
}

std::vector<std::string> Subject::keyNames() {
    needMethod(a_memory, "getDataList");
    Session session(*this);
    const v1::Result result = session.call(makeCall(a_memory, "getDataList", {textValue("")}));
    const v1::Value& list = requireValue(result);
    require(list.type() == v1::Value::LIST, "getDataList did not return a list.");
    std::vector<std::string> names;
    for (const v1::Value& name : list.elements()) {
        require(name.type() == v1::Value::STRING,
                "getDataList returned a name that is not a text.");
        names.push_back(name.string_value());
    }
    if (names.empty()) {
        throw NotChecked("The module KVMemory has no keys.");
    }
    return names;
}

v1::Value Subject::cameras() {
    needMethod(a_video, "getCameras");
    Session session(*this);
    return requireValue(session.call(makeCall(a_video, "getCameras")));
}

std::string Subject::camera() {
    const v1::Value list = cameras();
    if (list.elements().empty()) {
        throw NotChecked("The robot has no cameras.");
    }
    const v1::Value* const name = elementOf(list.elements(0), "name");
    if (name == nullptr) {
        throw Fault("getCameras returned a camera without a name.");
    }
    return name->string_value();
}

const std::vector<std::pair<std::string, v1::Value>>& Subject::sampleValues() {
    if (fSample) {
        return *fSample;
    }
    Session session(*this);
    std::vector<std::pair<std::string, v1::Value>> sample;
    const auto add = [&](const v1::Call& call, const std::string& origin) {
        const v1::Result result = session.call(call);
        if (result.has_value()) {
            sample.emplace_back(origin, result.value());
        }
    };
    try {
        const std::vector<std::string> names = keyNames();
        add(harmlessCall(), "the list of keys");
        needMethod(a_memory, "getData");
        for (std::size_t i = 0; i < std::min(names.size(), a_mostSampleKeys); ++i) {
            add(makeCall(a_memory, "getData", {textValue(names[i])}), names[i]);
        }
    } catch (const NotChecked&) {  // a robot without a memory
    }
    try {
        sample.emplace_back("the list of cameras", cameras());
    } catch (const NotChecked&) {
    }
    if (sample.empty()) {
        throw NotChecked("The robot has neither keys nor cameras that can be read by a method.");
    }
    return fSample.emplace(std::move(sample));
}

const AnnouncedHost& Subject::announced() {
    if (fAnnounced) {
        return *fAnnounced;
    }
    if (fNotAnnounced.empty()) {
        fNotAnnounced = "The robot is not announced.";
        try {
            Bell bell(fRequest.fInterruption);
            const AnnouncedHosts hosts(bell);
            const std::string address = fListener.host();
            bool isEachLookedUp = true;
            const auto isFound = [&] {
                isEachLookedUp = true;
                for (const auto& [key, host] : hosts.hosts()) {
                    isEachLookedUp = isEachLookedUp && host.fLookedUp;
                    if (isHost(host, fRequest.fEndpoint.fHost, address)) {
                        fAnnounced = host;
                    }
                }
                // Services are announced one after another.
                return fAnnounced && fAnnounced->isRobot() && !fAnnounced->ports().empty();
            };
            const auto start = Clock::now();
            bell.waitUntil(start + a_patienceForAnnouncement, isFound);
            // The address of a host without IPv4 is found after that of the others.
            bell.waitUntil(start + a_patienceForAddresses,
                           [&] { return isFound() || fAnnounced || isEachLookedUp; });
        } catch (const Failure& failure) {
            fNotAnnounced = failure.what();
        }
    }
    if (!fAnnounced) {
        throw NotChecked(fNotAnnounced);
    }
    return *fAnnounced;
}

download::HttpAnswer Subject::requestIcon(const std::string& path) {
    const AnnouncedHost& host = announced();
    if (!host.isRobot()) {
        throw NotChecked("The host announces no _robax._tcp: a computer has no icon.");
    }
    const std::string& address = host.fAddresses.front();
    download::HttpAnswer answer = download::httpGet(
        address, a_httpPort, path, std::chrono::seconds(fRequest.fTimeout), a_mostBytesOfIcon);
    if (answer.fIsRefused) {
        throw NotChecked("Nothing listens on port 80 of " + address + ", so there is no icon.");
    }
    return answer;
}

const download::HttpAnswer& Subject::iconAnswer() {
    return fIcon ? *fIcon : fIcon.emplace(requestIcon(a_iconPath));
}

// --- Messages ---

v1::ClientMessage helloMessage(const Subject& robot) {
    v1::ClientMessage message;
    v1::Hello* const hello = message.mutable_hello();
    hello->set_protocol_version(1);
    hello->set_name("robaxi conform");
    hello->set_token(robot.token());
    return message;
}

v1::ClientMessage heartbeatMessage(std::uint64_t number) {
    v1::ClientMessage message;
    message.mutable_heartbeat()->set_number(number);
    return message;
}

v1::ClientMessage callMessage(std::uint64_t id, const v1::Call& call) {
    v1::ClientMessage message;
    *message.mutable_call() = call;
    message.mutable_call()->set_call_id(id);
    return message;
}

v1::ClientMessage listMessage(std::uint64_t id, const std::string& module) {
    v1::ClientMessage message;
    message.mutable_list_modules()->set_call_id(id);
    message.mutable_list_modules()->set_module(module);
    return message;
}

v1::Call makeCall(const std::string& module, const std::string& method,
                  std::initializer_list<v1::Value> arguments) {
    v1::Call call;
    call.set_module(module);
    call.set_method(method);
    for (const v1::Value& argument : arguments) {
        *call.add_arguments() = argument;
    }
    return call;
}

v1::Value textValue(const std::string& text) {
    v1::Value value;
    value.set_type(v1::Value::STRING);
    value.set_string_value(text);
    return value;
}

const v1::Value* elementOf(const v1::Value& map, std::string_view key) {
    for (int i = 0; i < std::min(map.keys_size(), map.elements_size()); ++i) {
        if (map.keys(i) == key) {
            return &map.elements(i);
        }
    }
    return nullptr;
}

std::string nameOf(v1::Error::Cause cause) {
    const std::string name = v1::Error::Cause_Name(cause);
    return name.empty() ? "cause " + std::to_string(cause) : name;
}

// --- Sessions ---

Session::Session(Subject& robot, bool takesFragments)
    : fRobot(robot), fRpc(robot.wire(), "/robaxi.v1.Robaxi/Session") {
    v1::ClientMessage hello = helloMessage(robot);
    hello.mutable_hello()->set_takes_fragments(takesFragments);
    send({hello});
    const std::optional<v1::ServerMessage> first = next(robot.deadline());
    if (!first) {
        const End* const end = fRpc.end(Clock::now());
        throw Fault(end == nullptr ? "The robot did not answer the Hello in time."
                                   : "The robot refused the Hello: " + end->fMessage + '.');
    }
    require(first->has_hello_reply(), "The first message of the robot is not HelloReply.");
    fReply = first->hello_reply();
    v1::ClientBatch sign;
    *sign.add_messages() = heartbeatMessage(a_signOfLife);
    fRpc.keepAlive(sign.SerializeAsString(), signPeriod(fReply));
}

void Session::send(const std::vector<v1::ClientMessage>& messages) {
    v1::ClientBatch batch;
    for (const v1::ClientMessage& message : messages) {
        *batch.add_messages() = message;
    }
    fRpc.send(batch);
}

std::optional<v1::ServerMessage> Session::next(Clock::time_point deadline) {
    for (;;) {
        while (fWaiting.empty()) {
            const std::optional<std::string> bytes = fRpc.next(deadline);
            if (!bytes) {
                return std::nullopt;
            }
            const auto batch = parse<v1::ServerBatch>(*bytes);
            fWaiting.assign(batch.messages().rbegin(), batch.messages().rend());
        }
        const v1::ServerMessage message = std::move(fWaiting.back());
        fWaiting.pop_back();
        const bool isSignOfLife =
            message.has_heartbeat() &&
            (message.heartbeat().number() == a_signOfLife || message.heartbeat().number() == 0);
        if (!isSignOfLife) {
            return message;
        }
    }
}

v1::ServerMessage Session::answer(std::uint64_t id) {
    const Clock::time_point deadline = fRobot.deadline();
    while (const auto message = next(deadline)) {
        if ((message->has_result() && message->result().call_id() == id) ||
            (message->has_module_list() && message->module_list().call_id() == id)) {
            return *message;
        }
    }
    throw Fault(fRpc.end(Clock::now()) == nullptr
                    ? "The robot did not answer in time."
                    : "The robot ended the session instead of answering.");
}

v1::Result Session::call(const v1::Call& call) {
    send({callMessage(++fLastCall, call)});
    const v1::ServerMessage message = answer(fLastCall);
    require(message.has_result(), "The robot answered a call with something other than a Result.");
    return message.result();
}

std::vector<v1::ServerMessage> Session::settle() {
    const std::uint64_t number = ++fLastHeartbeat + (a_signOfLife << 1U);
    send({heartbeatMessage(number)});
    std::vector<v1::ServerMessage> messages;
    Clock::time_point deadline = fRobot.deadline();
    bool isReturned = false;
    while (const auto message = next(deadline)) {
        if (!isReturned && message->has_heartbeat() && message->heartbeat().number() == number) {
            isReturned = true;
            deadline = Clock::now() + a_quiet;
        } else {
            messages.push_back(*message);
        }
    }
    require(isReturned, fRpc.end(Clock::now()) == nullptr
                            ? "The robot did not return a heartbeat in time."
                            : "The robot ended the session.");
    return messages;
}

// --- RPCs ---

Reply askOnce(Subject& robot, const std::string& method, const std::string& request,
              const std::string& authorization) {
    Rpc rpc(robot.wire(), method, authorization);
    rpc.sendBytes(request);
    rpc.halfClose();
    Reply reply;
    reply.fMessage = rpc.next(robot.deadline());
    reply.fEnd = requireEnd(robot, rpc);
    return reply;
}

Reply askRobaxi(Subject& robot, const std::string& method, const std::string& request) {
    return askOnce(robot, "/robaxi.v1.Robaxi/" + method, request, robot.authorization());
}

const End& requireEnd(Subject& robot, Rpc& rpc) {
    const End* const end = rpc.end(robot.deadline());
    if (end == nullptr) {
        throw Fault("The robot did not end the stream in time.");
    }
    return *end;
}

void requireUnreadable(const End& end) {
    require(end.fCode != grpc::StatusCode::OK, "The robot ended it with the status OK.");
    if (end.fDetails) {
        requireRefusal(end, v1::Error::INVALID_ARGUMENT);
    }
}

void requireRefusal(const End& end, v1::Error::Cause cause) {
    const auto* const expected =
        std::find_if(a_statuses.begin(), a_statuses.end(),
                     [&](const CauseStatus& status) { return status.fCause == cause; });
    const std::string name = nameOf(cause);
    require(end.fCode == expected->fCode,
            "The robot ended it with status " + std::to_string(end.fCode) + " instead of " +
                expected->fName + " (" + std::to_string(expected->fCode) + ").");
    if (end.fDetails) {
        const auto error = parse<v1::Error>(*end.fDetails);
        require(error.cause() == cause,
                "The robot gave " + textOf(error) + " as the cause instead of " + name + ".");
        require(error.text().size() <= a_longestDetail,
                "The text of the details has more than 1 KiB.");
    }
}

void requireRefusal(Subject& robot, Rpc& rpc, v1::Error::Cause cause) {
    requireRefusal(requireEnd(robot, rpc), cause);
}

void requireError(const v1::Result& result, v1::Error::Cause cause) {
    require(result.has_error(),
            "The robot answered with a value instead of " + nameOf(cause) + ".");
    require(result.error().cause() == cause, "The robot answered with " + textOf(result.error()) +
                                                 " instead of " + nameOf(cause) + ".");
}

const v1::Value& requireValue(const v1::Result& result) {
    require(!result.has_error(), "The robot answered with " + textOf(result.error()) + ".");
    require(result.has_value(), "The robot answered with neither a value nor an error.");
    return result.value();
}

}  // namespace robaxi_tool

#include "conform/subject.h"

#include <grpc/health/v1/health.pb.h>
#include <grpc/reflection/v1alpha/reflection.pb.h>

#include <algorithm>

namespace robaxi_tool {

namespace {

namespace health = grpc::health::v1;
namespace reflection = grpc::reflection::v1alpha;

constexpr std::uint64_t a_someId = 7;
constexpr const char* a_none = "robaxi conform/none";
constexpr const char* a_service = "robaxi.v1.Robaxi";

v1::Call unknownMethod(Subject& robot) {
    if (robot.modules().empty()) {
        throw NotChecked("The robot has no modules.");
    }
    return makeCall(robot.modules().front().name(), a_none);
}

void checkResult(Subject& robot) {
    const v1::Call call = robot.harmlessCall();
    Session session(robot);
    session.send({callMessage(a_someId, call)});
    const std::vector<v1::ServerMessage> answers = session.settle();
    // A slow method answers after the heartbeat.
    const v1::Result result =
        answers.empty() ? session.answer(a_someId).result() : answers.front().result();
    require(answers.size() <= 1, "The robot answered a call more than once.");
    require(result.call_id() == a_someId, "The Result has another call_id.");
    requireValue(result);
}

void checkManyCalls(Subject& robot) {
    const v1::Call call = robot.harmlessCall();
    constexpr std::uint64_t calls = 20;
    Session session(robot);
    std::vector<v1::ClientMessage> batch;
    for (std::uint64_t id = 1; id <= calls; ++id) {
        batch.push_back(callMessage(id, call));
    }
    session.send(batch);
    std::set<std::uint64_t> answered;
    const Clock::time_point deadline = robot.deadline();
    while (answered.size() < calls) {
        const auto message = session.next(deadline);
        require(message.has_value(), "Not all calls were answered in time.");
        if (message->has_result()) {
            const std::uint64_t id = message->result().call_id();
            require(id >= 1 && id <= calls, "A Result has the call_id of no call.");
            require(answered.insert(id).second, "A call was answered twice.");
        }
    }
}

void checkPost(Subject& robot) {
    Session session(robot);
    session.send({callMessage(0, robot.harmlessCall()), callMessage(0, makeCall(a_none, a_none))});
    require(session.settle().empty(), "The robot answered a post.");
}

void checkUnknownModule(Subject& robot) {
    Session session(robot);
    requireError(session.call(makeCall(a_none, "getData")), v1::Error::NO_SUCH_MODULE);
}

void checkUnknownMethod(Subject& robot) {
    const v1::Call call = unknownMethod(robot);
    Session session(robot);
    requireError(session.call(call), v1::Error::NO_SUCH_METHOD);
}

void checkByMethod(Subject& robot) {
    Session session(robot);
    const v1::Result result = session.call(makeCall(a_none, "getData"));
    require(result.has_error(), "The robot answered a call of an unknown module with a value.");
    require(!result.error().by_method(), "by_method is set, although no method ran.");
}

void checkSessionContinues(Subject& robot) {
    Session session(robot);
    session.call(makeCall(a_none, a_none));
    session.settle();
}

void checkCancel(Subject& robot) {
    Session session(robot);
    v1::ClientMessage cancel;
    cancel.mutable_cancel()->set_call_id(a_someId);
    session.send({cancel});
    require(session.settle().empty(), "The robot answered it.");
}

void checkUnaryCall(Subject& robot) {
    const Reply reply = askRobaxi(robot, "Call", robot.harmlessCall().SerializeAsString());
    require(reply.fEnd.fCode == grpc::StatusCode::OK && reply.fMessage,
            "The call ended with status " + std::to_string(reply.fEnd.fCode) + ".");
    requireValue(parse<v1::Result>(*reply.fMessage));
}

void checkUnaryUnknownModule(Subject& robot) {
    requireRefusal(askRobaxi(robot, "Call", makeCall(a_none, a_none).SerializeAsString()).fEnd,
                   v1::Error::NO_SUCH_MODULE);
}

void checkUnaryUnknownMethod(Subject& robot) {
    requireRefusal(askRobaxi(robot, "Call", unknownMethod(robot).SerializeAsString()).fEnd,
                   v1::Error::NO_SUCH_METHOD);
}

v1::ModuleList listAlone(Subject& robot, const std::string& name) {
    v1::ListModules request;
    request.set_module(name);
    const Reply reply = askRobaxi(robot, "ListModules", request.SerializeAsString());
    require(reply.fEnd.fCode == grpc::StatusCode::OK && reply.fMessage,
            "It ended with status " + std::to_string(reply.fEnd.fCode) + ".");
    return parse<v1::ModuleList>(*reply.fMessage);
}

void checkUnaryList(Subject& robot) {
    const v1::ModuleList list = listAlone(robot, "");
    const std::vector<v1::Module>& known = robot.modules();
    require(std::equal(list.modules().begin(), list.modules().end(), known.begin(), known.end(),
                       [](const v1::Module& one, const v1::Module& other) {
                           return one.name() == other.name();
                       }),
            "It lists other modules than a session.");
    if (!known.empty()) {
        const v1::ModuleList one = listAlone(robot, known.back().name());
        require(one.modules_size() == 1 && one.modules(0).name() == known.back().name(),
                "It does not answer with the module that is named.");
    }
}

void checkUnaryListUnknown(Subject& robot) {
    v1::ListModules request;
    request.set_module(a_none);
    requireRefusal(askRobaxi(robot, "ListModules", request.SerializeAsString()).fEnd,
                   v1::Error::NO_SUCH_MODULE);
}

void checkDetails(Subject& robot) {
    const End end = askRobaxi(robot, "Call", makeCall(a_none, a_none).SerializeAsString()).fEnd;
    require(end.fCode != grpc::StatusCode::OK, "A call of an unknown module succeeded.");
    require(end.fDetails.has_value(), "The trailing metadata has no robaxi-error-bin.");
    require(!end.fMessage.empty(), "The status has no message.");
}

void checkLongDetails(Subject& robot) {
    const std::string longName(5000, 'x');
    const End end = askRobaxi(robot, "Call", makeCall(longName, longName).SerializeAsString()).fEnd;
    requireRefusal(end, v1::Error::NO_SUCH_MODULE);
}

void checkUnreadable(Subject& robot) {
    requireUnreadable(askRobaxi(robot, "Call", "\xff\xff\xff").fEnd);
}

/** Throws NotChecked if a robot does not have the service. */
void needService(const End& end) {
    if (end.fCode == grpc::StatusCode::UNIMPLEMENTED) {
        throw NotChecked("The robot does not have this service.");
    }
}

Reply askHealth(Subject& robot, const std::string& method, const std::string& service) {
    health::HealthCheckRequest request;
    request.set_service(service);
    Reply reply = askOnce(robot, "/grpc.health.v1.Health/" + method, request.SerializeAsString(),
                          robot.authorization());
    needService(reply.fEnd);
    return reply;
}

void checkHealth(Subject& robot) {
    for (const char* const service : {"", a_service}) {
        const Reply reply = askHealth(robot, "Check", service);
        require(reply.fMessage.has_value() &&
                    parse<health::HealthCheckResponse>(*reply.fMessage).status() ==
                        health::HealthCheckResponse::SERVING,
                std::string("It does not answer SERVING for the name '") + service + "'.");
    }
}

void checkHealthUnknown(Subject& robot) {
    const End end = askHealth(robot, "Check", a_none).fEnd;
    require(end.fCode == grpc::StatusCode::NOT_FOUND,
            "It ended with status " + std::to_string(end.fCode) + ".");
}

void checkHealthWatch(Subject& robot) {
    Rpc rpc(robot.wire(), "/grpc.health.v1.Health/Watch", robot.authorization());
    health::HealthCheckRequest request;
    request.set_service(a_none);
    rpc.send(request);
    rpc.halfClose();
    const auto bytes = rpc.next(robot.deadline());
    if (const End* const end = rpc.end(Clock::now())) {
        needService(*end);
    }
    require(bytes && parse<health::HealthCheckResponse>(*bytes).status() ==
                         health::HealthCheckResponse::SERVICE_UNKNOWN,
            "It does not answer SERVICE_UNKNOWN.");
}

void checkReflection(Subject& robot) {
    Rpc rpc(robot.wire(), "/grpc.reflection.v1alpha.ServerReflection/ServerReflectionInfo",
            robot.authorization());
    reflection::ServerReflectionRequest request;
    request.set_list_services("*");
    rpc.send(request);
    request.set_file_containing_symbol(a_service);
    rpc.send(request);
    const auto services = rpc.next(robot.deadline());
    if (const End* const end = rpc.end(Clock::now())) {
        needService(*end);
    }
    require(services.has_value(), "It does not list the services.");
    const auto list = parse<reflection::ServerReflectionResponse>(*services);
    const auto& names = list.list_services_response().service();
    require(std::any_of(names.begin(), names.end(),
                        [](const auto& service) { return service.name() == a_service; }),
            "It does not list robaxi.v1.Robaxi.");
    const auto file = rpc.next(robot.deadline());
    require(file && parse<reflection::ServerReflectionResponse>(*file)
                            .file_descriptor_response()
                            .file_descriptor_proto_size() > 0,
            "It does not describe robaxi.v1.Robaxi.");
}

}  // namespace

const std::vector<ConformCheck>& callChecks() {
    static const std::vector<ConformCheck> checks = {
        {"calls.result", "S5",
         "A Call with a call_id above 0 is answered with one Result, with a value or an error, "
         "when the method has returned.",
         &checkResult},
        {"calls.many", "S5", "Calls run at the same time, and results arrive in any order.",
         &checkManyCalls},
        {"calls.post", "S6", "A Call with call_id 0 is a post: it is run, and never answered.",
         &checkPost},
        {"calls.unknown-module", "S7",
         "A Call that is refused, or whose method fails, is answered with an error in its Result.",
         &checkUnknownModule},
        {"calls.unknown-method", "S7",
         "A Call that is refused, or whose method fails, is answered with an error in its Result.",
         &checkUnknownMethod},
        {"calls.session-continues", "S7", "The session continues.", &checkSessionContinues},
        {"calls.by-method", "E1", "If by_method is set, the method ran and raised the error",
         &checkByMethod},
        {"calls.cancel", "S8", "Cancel is not answered.", &checkCancel},
        {"calls.alone", "P1",
         "Call runs one method. call_id is not used. The response is a Result with a value",
         &checkUnaryCall},
        {"calls.alone-unknown-module", "P1", "an error is the status of the RPC",
         &checkUnaryUnknownModule},
        {"calls.alone-unknown-method", "P1", "an error is the status of the RPC",
         &checkUnaryUnknownMethod},
        {"calls.list-alone", "P2",
         "ListModules returns all modules or the one that the request names", &checkUnaryList},
        {"calls.list-alone-unknown", "P2", "and ends with NO_SUCH_MODULE if there is none",
         &checkUnaryListUnknown},
        {"calls.details", "E2", "the trailing metadata has robaxi-error-bin", &checkDetails},
        {"calls.long-details", "E2", "whose text is at most 1 KiB", &checkLongDetails},
        {"calls.unreadable", "E4",
         "A message that cannot be read ends its RPC with INVALID_ARGUMENT, or with gRPC's own "
         "status",
         &checkUnreadable},
        {"calls.health", "P6",
         "grpc.health.v1.Health answers SERVING for the empty name and for each service of the "
         "robot.",
         &checkHealth},
        {"calls.health-unknown", "P6", "Check of another name ends with NOT_FOUND",
         &checkHealthUnknown},
        {"calls.health-watch", "P6", "Watch of it answers SERVICE_UNKNOWN", &checkHealthWatch},
        {"calls.reflection", "P7",
         "grpc.reflection.v1alpha.ServerReflection describes all services.", &checkReflection},
    };
    return checks;
}

}  // namespace robaxi_tool

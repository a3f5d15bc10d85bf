#include "conform/subject.h"

namespace robaxi_tool {

namespace {

constexpr std::size_t a_mebibyte = std::size_t{1} << 20U;
/** Above gRPC's default limit of a received message. */
constexpr std::size_t a_much = 5 * a_mebibyte;
constexpr std::size_t a_tooMuch = 17 * a_mebibyte;
constexpr const char* a_none = "robaxi conform/none";

/** Returns a call that the robot refuses, with an argument of that many bytes. */
v1::Call largeCall(std::size_t bytes) {
    v1::Value value;
    value.set_type(v1::Value::BINARY);
    value.set_bytes_value(std::string(bytes, 'x'));
    return makeCall(a_none, a_none, {value});
}

void checkLargeCall(Subject& robot) {
    Session session(robot);
    requireError(session.call(largeCall(a_much)), v1::Error::NO_SUCH_MODULE);
}

void checkLargeCallAlone(Subject& robot) {
    requireRefusal(askRobaxi(robot, "Call", largeCall(a_much).SerializeAsString()).fEnd,
                   v1::Error::NO_SUCH_MODULE);
}

void checkTooLarge(Subject& robot) {
    Session session(robot);
    session.send({callMessage(1, largeCall(a_tooMuch))});
    const End& end = requireEnd(robot, session.rpc());
    require(end.fCode == grpc::StatusCode::RESOURCE_EXHAUSTED,
            "The robot ended it with status " + std::to_string(end.fCode) +
                " instead of RESOURCE_EXHAUSTED (8).");
}

void checkPartsTooLarge(Subject& robot) {
    Session session(robot);
    if (!session.reply().takes_fragments()) {
        throw NotChecked("The robot does not accept messages in parts.");
    }
    v1::ClientMessage part;
    part.mutable_fragment()->set_data(std::string(std::size_t{1} << 16U, 'x'));
    for (std::size_t sent = 0; sent <= a_tooMuch; sent += part.fragment().data().size()) {
        session.send({part});
    }
    requireRefusal(robot, session.rpc(), v1::Error::INVALID_ARGUMENT);
}

void checkWaitingCalls(Subject& robot) {
    // More than the robot lets wait.
    constexpr std::uint64_t calls = 1500;
    Session session(robot);
    std::vector<v1::ClientMessage> batch;
    for (std::uint64_t id = 1; id <= calls; ++id) {
        batch.push_back(callMessage(id, makeCall(a_none, a_none)));
    }
    session.send(batch);
    std::set<std::uint64_t> answered;
    const Clock::time_point deadline = robot.deadline();
    while (answered.size() < calls) {
        const auto message = session.next(deadline);
        require(message.has_value(), std::to_string(calls - answered.size()) + " of " +
                                         std::to_string(calls) + " calls were not answered.");
        if (message->has_result()) {
            require(message->result().error().cause() == v1::Error::NO_SUCH_MODULE,
                    "A call was refused for another reason.");
            answered.insert(message->result().call_id());
        }
    }
}

/** Opens streams until one is refused, and at most one more than the limit. */
void requireLimit(Subject& robot, std::size_t limit, const char* method,
                  const std::string& request) {
    std::vector<std::unique_ptr<Rpc>> streams;
    while (streams.size() < limit) {
        streams.push_back(
            std::make_unique<Rpc>(robot.wire(), std::string("/robaxi.v1.Robaxi/") + method));
        streams.back()->sendBytes(request);
        const auto first = streams.back()->next(robot.deadline());
        if (!first) {
            break;
        }
    }
    if (streams.back()->end(Clock::now()) == nullptr) {
        streams.push_back(
            std::make_unique<Rpc>(robot.wire(), std::string("/robaxi.v1.Robaxi/") + method));
        streams.back()->sendBytes(request);
    }
    requireRefusal(robot, *streams.back(), v1::Error::TOO_MANY);
}

void checkSubscriptions(Subject& robot) {
    Session session(robot);
    v1::SubscriptionRequest request;
    request.mutable_start()->set_session_id(session.id());
    request.mutable_start()->set_module(robot.moduleWithValues());
    request.mutable_start()->set_rate(1);
    requireLimit(robot, 64, "Subscribe", request.SerializeAsString());
}

void checkCameras(Subject& robot) {
    Session session(robot);
    v1::WatchRequest request;
    request.mutable_start()->set_session_id(session.id());
    request.mutable_start()->set_module(a_video);
    request.mutable_start()->set_stream(robot.camera());
    requireLimit(robot, 16, "Watch", request.SerializeAsString());
}

}  // namespace

const std::vector<ConformCheck>& limitChecks() {
    static const std::vector<ConformCheck> checks = {
        {"limits.large-call", "S13",
         "gRPC refuses to receive more than 4 MiB unless told otherwise, so both sides set "
         "grpc.max_receive_message_length.",
         &checkLargeCall},
        {"limits.large-call-alone", "P3", "A call and its result may have 16 MiB",
         &checkLargeCallAlone},
        {"limits.too-large", "E4", "one above 16 MiB and 1 KiB ends it with RESOURCE_EXHAUSTED",
         &checkTooLarge},
        {"limits.parts-too-large", "S18",
         "A robot ends a session with the status INVALID_ARGUMENT if parts form no message, or "
         "more than 16 MiB.",
         &checkPartsTooLarge},
        {"limits.waiting-calls", "protocol", "No call is refused or lost.", &checkWaitingCalls},
        {"limits.subscriptions", "U2", "and TOO_MANY at the session's limit.", &checkSubscriptions},
        {"limits.cameras", "C2", "and TOO_MANY at the session's limit.", &checkCameras},
    };
    return checks;
}

}  // namespace robaxi_tool

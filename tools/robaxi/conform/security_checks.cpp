#include "conform/subject.h"

#include <net/channel.h>

namespace robaxi_tool {

namespace {

constexpr const char* a_wrongToken = "robaxi conform: not the token";
constexpr const char* a_none = "robaxi conform/none";

/** Throws NotChecked if the robot requires no token, or if the user has none. */
void needToken(Subject& robot) {
    if (robot.token().empty()) {
        throw NotChecked("The settings have no token for this robot.");
    }
}

void requireRefusedToken(Subject& robot, const std::string& token, v1::Error::Cause cause,
                         std::uint32_t version = 1) {
    needToken(robot);
    Rpc rpc(robot.wire(), "/robaxi.v1.Robaxi/Session");
    v1::ClientBatch batch;
    *batch.add_messages() = helloMessage(robot);
    batch.mutable_messages(0)->mutable_hello()->set_protocol_version(version);
    batch.mutable_messages(0)->mutable_hello()->set_token(token);
    rpc.send(batch);
    requireRefusal(robot, rpc, cause);
}

void checkTokenMissing(Subject& robot) {
    requireRefusedToken(robot, "", v1::Error::TOKEN_MISSING);
}

void checkTokenWrong(Subject& robot) {
    requireRefusedToken(robot, a_wrongToken, v1::Error::TOKEN_WRONG);
    const Session session(robot);  // a right token resets the robot's count of wrong ones
}

void checkVersionFirst(Subject& robot) {
    requireRefusedToken(robot, "", v1::Error::PROTOCOL_VERSION, 1000);
}

void requireRefusedBearer(Subject& robot, const std::string& authorization,
                          v1::Error::Cause cause) {
    needToken(robot);
    requireRefusal(askOnce(robot, "/robaxi.v1.Robaxi/Call",
                           makeCall(a_none, a_none).SerializeAsString(), authorization)
                       .fEnd,
                   cause);
}

void checkBearerMissing(Subject& robot) {
    requireRefusedBearer(robot, "", v1::Error::TOKEN_MISSING);
}

void checkBearerWrong(Subject& robot) {
    requireRefusedBearer(robot, std::string("Bearer ") + a_wrongToken, v1::Error::TOKEN_WRONG);
    const Session session(robot);  // as above
}

void checkTlsOnly(Subject& robot) {
    const ConformRequest& request = robot.request();
    const Endpoint& place = request.fEndpoint;
    if (!request.fSettings.accessTo(place.fHost, place.fPort).fUsesTls) {
        throw NotChecked("The settings have no TLS for this robot.");
    }
    const auto channel =
        robaxi::createChannel(robot.listener().toTarget(), robaxi::ClientSecurity({}, place.fHost),
                              request.fSettings.fLimits);
    Wire wire(channel, request.fInterruption);
    Rpc rpc(wire, "/robaxi.v1.Robaxi/ListModules");
    rpc.send(v1::ListModules());
    rpc.halfClose();
    require(!rpc.next(Clock::now() + 3 * a_quiet), "The robot answered without TLS.");
}

void checkSessionIds(Subject& robot) {
    constexpr std::size_t sessions = 4;
    constexpr std::uint64_t near = std::uint64_t{1} << 20U;
    std::vector<std::uint64_t> ids;
    while (ids.size() < sessions) {
        ids.push_back(Session(robot).id());
    }
    for (std::size_t i = 1; i < ids.size(); ++i) {
        const std::uint64_t distance = std::max(ids[i], ids[i - 1]) - std::min(ids[i], ids[i - 1]);
        require(distance > near, "The session_ids of two sessions are close to each other.");
    }
}

}  // namespace

const std::vector<ConformCheck>& securityChecks() {
    static const std::vector<ConformCheck> checks = {
        {"security.session-ids", "protocol",
         "they name the session by its session_id, a random number that only its client knows.",
         &checkSessionIds},
        {"security.token-missing", "S3", "TOKEN_MISSING or TOKEN_WRONG if it requires a token",
         &checkTokenMissing},
        {"security.token-wrong", "S3", "TOKEN_MISSING or TOKEN_WRONG if it requires a token",
         &checkTokenWrong},
        {"security.version-first", "S3", "It checks these in this order", &checkVersionFirst},
        {"security.bearer-missing", "P4", "Without it an RPC ends with TOKEN_MISSING",
         &checkBearerMissing},
        {"security.bearer-wrong", "P4", "with another one with TOKEN_WRONG", &checkBearerWrong},
        {"security.tls-only", "protocol", "A robot with a certificate accepts only TLS on its port",
         &checkTlsOnly},
    };
    return checks;
}

}  // namespace robaxi_tool

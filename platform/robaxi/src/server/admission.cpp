#include "server/admission.h"

#include "net/connection_acceptor.h"
#include "server/server.h"
#include "wire/grpc_handover.h"
#include "wire/limits.h"
#include "wire/status_codec.h"

namespace robaxi {

namespace {

/** Returns the token in "authorization: Bearer TOKEN"; empty without one. */
std::string tokenOf(const grpc::CallbackServerContext& context) {
    const std::string scheme = "Bearer ";
    const auto& metadata = context.client_metadata();
    const auto found = metadata.find("authorization");
    if (found == metadata.end()) {
        return {};
    }
    const std::string value(found->second.data(), found->second.size());
    return value.rfind(scheme, 0) == 0 ? value.substr(scheme.size()) : std::string();
}

constexpr const char* a_noRoom = "too many calls without a session wait there";

}  // namespace

Admission::Admission(Server& server, grpc::CallbackServerContext* context)
    : fServer(server),
      fContext(context),
      fAddress(addressOf(context->peer())),
      fLoad(server.rpcLoad()),
      fTurn(server.timers(), [this] { xCheck(); }) {
    takeFromGrpc(&fServer);
}

Admission::~Admission() {
    if (fIsCounted) {
        fLoad->remove(fAddress, fBytes);
    }
}

void Admission::addResult(std::size_t bytes) {
    fBytes += bytes;
    fLoad->grow(fAddress, bytes);
}

std::optional<v1::Error> Admission::refusalForRoom() const {
    if (fLoad->hasRoom(fAddress)) {
        return std::nullopt;
    }
    return makeError(v1::Error::TOO_MANY, a_noRoom);
}

void Admission::start(std::size_t bytes, Done done) {
    fDone = std::move(done);
    fBytes = bytes + limits::a_costOfMessage;
    fIsCounted = fLoad->add(fAddress, fBytes);
    if (!fIsCounted) {
        xRefuse(v1::Error::TOO_MANY, a_noRoom);
        return;
    }
    if (!fServer.security().asksForToken()) {
        fServer.welcome(fContext->peer());
        fDone(std::nullopt);
        return;
    }
    fToken = tokenOf(*fContext);
    if (fToken.empty()) {
        xRefuse(v1::Error::TOKEN_MISSING);
        return;
    }
    const auto now = TimerThread::Clock::now();
    const auto turn = fServer.tokenGuard().reserveTurn(
        fAddress, now, limits::timeForFirstMessage(fServer.limits()));
    if (!turn) {
        xRefuse(v1::Error::TOO_MANY, a_tooManyTokens);
    } else if (*turn <= now) {
        xCheck();
    } else {
        fTurn.startAt(*turn);
    }
}

void Admission::xCheck() {
    if (!fServer.acceptsToken(fToken, fAddress)) {
        xRefuse(v1::Error::TOKEN_WRONG);
        return;
    }
    fServer.welcome(fContext->peer());
    fDone(std::nullopt);
}

void Admission::xRefuse(v1::Error::Cause cause, const std::string& text) {
    fDone(makeError(cause, text));
}

}  // namespace robaxi

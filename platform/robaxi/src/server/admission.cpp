#include "server/admission.h"

#include "net/connection_acceptor.h"
#include "server/server.h"
#include "wire/limits.h"

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

}  // namespace

Admission::Admission(Server& server, grpc::CallbackServerContext* context)
    : fServer(server),
      fContext(context),
      fLoad(server.rpcLoad()),
      fMostBytes(limits::waitingBytes(server.limits().fMessage)),
      fTurn(server.timers(), [this] { xCheck(); }) {
    ++fLoad->fCount;
}

Admission::~Admission() {
    fLoad->fBytes -= fBytes;
    --fLoad->fCount;
}

bool Admission::holdBytes(std::size_t bytes) {
    fBytes += bytes;
    return (fLoad->fBytes += bytes) <= fMostBytes;
}

void Admission::start(Done done) {
    fDone = std::move(done);
    if (fLoad->fCount > limits::a_waitingCalls) {
        xRefuse(v1::Error::TOO_MANY, "too many programs call it at this moment");
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
    fAddress = addressOf(fContext->peer());
    const auto now = TimerThread::Clock::now();
    const auto turn =
        fServer.tokenGuard().reserveTurn(fAddress, now, limits::silenceOfClient(fServer.limits()));
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
    v1::Error error;
    error.set_cause(cause);
    error.set_text(text);
    fDone(error);
}

}  // namespace robaxi

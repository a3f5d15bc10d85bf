#include "server/server_session.h"

#include "net/connection_acceptor.h"
#include "server/module_calls.h"
#include "server/server.h"
#include "server/token_guard.h"
#include "wire/limits.h"
#include "wire/raw_message.h"
#include "wire/status_codec.h"

#include <base/safe_text.h>

#include <algorithm>
#include <utility>

namespace robaxi {

ServerSession::ServerSession(Server& server, grpc::CallbackServerContext* context, std::uint64_t id)
    : ByteStream(context),
      fServer(server),
      fModules(server.modules()),
      fCallPool(server.calls()),
      fId(id),
      fPeerAddress(addressOf(context->peer())),
      fLimits(server.limits()),
      fOut(fLimits.fMessage,
           [this](const v1::ServerBatch* batch) {
               fOutgoing = writeMessage(*batch);
               giveToGrpc(batch);  // again, since it was read here
               StartWrite(&fOutgoing);
           }),
      fAssembler(fLimits.fMessage),
      fSilence(server.timers(), [this] { xCheckSilence(); }),
      fHeldHelloTurn(server.timers(), [this] { xCheckHeldHello(); }) {
}

ServerSession::~ServerSession() = default;

void ServerSession::start(bool admitted) {
    fIsAdmitted = admitted;
    giveToGrpc(&fContext);
    xRead();
    fSilence.startAt(TimerThread::Clock::now() + fLimits.fHeartbeat);
}

void ServerSession::OnReadDone(bool ok) {
    const GrpcReaction reaction(this);
    takeFromGrpc(&fIncoming);
    if (!ok) {
        xFinishWhen(fOut.close());
        return;
    }
    fSilentHeartbeats = 0;
    fNextOfBatch = 0;
    if (readMessage(fIncoming, &fBatch)) {
        xHandleBatch();
    } else {
        xEnd(v1::Error::INVALID_ARGUMENT, "the program sent a message that cannot be read");
    }
}

/** Handles the rest of the batch while there is room. */
void ServerSession::xHandleBatch() {
    while (fNextOfBatch < fBatch.messages_size()) {
        if (!xMayHandle()) {
            return;
        }
        if (!xReceive(*fBatch.mutable_messages(fNextOfBatch++))) {
            xEnd(v1::Error::INVALID_ARGUMENT,
                 "the program sent a message in parts that cannot be read");
            break;
        }
    }
    xRead();
}

bool ServerSession::xMayHandle() {
    const std::lock_guard lock(fMutex);
    fIsPaused = !xHasRoomForCall();
    return !fIsPaused;
}

bool ServerSession::xHasRoomForCall() const {
    const std::size_t bytes = fWaitingBytes + fOut.waitingBytes();
    return !fHoldsHello && fWaiting.size() < limits::a_waitingCalls &&
           bytes + fLimits.fMessage <= limits::waitingBytes(fLimits.fMessage);
}

bool ServerSession::xHasRoomForResult() const {
    return fHasEnded ||
           fOut.waitingBytes() + fLimits.fMessage <= limits::waitingBytes(fLimits.fMessage);
}

/** Resumes reading; called at the end of a write. */
void ServerSession::xResume() {
    {
        const std::lock_guard lock(fMutex);
        if (!fIsPaused || !xHasRoomForCall()) {
            return;
        }
        fIsPaused = false;
    }
    fSilentHeartbeats = 0;
    xHandleBatch();
}

/** Sends a sign of life while the robot reads nothing; the end of that write calls xResume(). */
void ServerSession::xKeepAwake() {
    v1::ServerMessage sign;
    sign.mutable_heartbeat();
    fOut.pushIfEmpty(std::move(sign));
}

bool ServerSession::xReceive(v1::ClientMessage& message) {
    using Outcome = FragmentAssembler<v1::ClientMessage>::Outcome;
    const Outcome outcome = fAssembler.take(message);
    if (outcome == Outcome::Complete) {
        xHandle(message);
    }
    return outcome != Outcome::Malformed;
}

void ServerSession::OnWriteDone(bool ok) {
    const GrpcReaction reaction(this);
    xFinishWhen(fOut.writeDone(ok));
    xUnpark(limits::a_methodThreads);
    xResume();
}

void ServerSession::OnCancel() {
    const GrpcReaction reaction(this);
    takeFromGrpc(&fContext);
    xFinishWhen(fOut.close());
}

void ServerSession::OnDone() {
    takeFromGrpc(this);
    fSilence.stop();
    fHeldHelloTurn.stop();
    {
        // Posted calls still run; others do not.
        const std::lock_guard lock(fMutex);
        fHasEnded = true;
        fWaiting.erase(std::remove_if(fWaiting.begin(), fWaiting.end(),
                                      [](const WorkPtr& work) { return work->fId != 0; }),
                       fWaiting.end());
        fCalls.clear();
    }
    xUnpark(limits::a_waitingCalls);
    fServer.sessionEnded(fId);
}

/**
 * Ends the session with this reason, unless there already is one. Returns false if the end has to
 * wait for a write.
 */
bool ServerSession::xEnd(v1::Error::Cause cause, const std::string& text) {
    {
        const std::lock_guard lock(fMutex);
        if (!fEnding) {
            fEnding = makeError(cause, text);
        }
    }
    const bool now = fOut.close();
    xFinishWhen(now);
    return now;
}

void ServerSession::xCheckSilence() {
    bool isPaused = false;
    {
        const std::lock_guard lock(fMutex);
        isPaused = fIsPaused && !fHoldsHello;
    }
    if (++fSilentHeartbeats >
        (isPaused ? limits::a_untakingHeartbeatsOfClient : limits::a_silentHeartbeatsOfClient)) {
        if (!xEnd(v1::Error::TIMED_OUT, "the program was silent for too long")) {
            fContext->TryCancel();  // it does not take what is being written either
        }
        return;
    }
    if (isPaused) {
        xKeepAwake();
    }
    fSilence.startAt(TimerThread::Clock::now() + fLimits.fHeartbeat);
}

void ServerSession::xHandle(v1::ClientMessage& message) {
    if (fIsRefused) {
        return;  // a second token is ignored
    }
    if (!fHasHello) {
        xHandleHello(message.hello());  // version 0 if it is another message
        return;
    }
    switch (message.content_case()) {
        case v1::ClientMessage::kCall:
            xHandleCall(std::move(*message.mutable_call()));
            break;
        case v1::ClientMessage::kCancel:
            xHandleCancel(message.cancel().call_id());
            break;
        case v1::ClientMessage::kListModules:
            xHandleListModules(message.list_modules());
            break;
        case v1::ClientMessage::kHeartbeat: {
            v1::ServerMessage answer;
            *answer.mutable_heartbeat() = message.heartbeat();
            fOut.pushUrgent(std::move(answer));
            break;
        }
        default:
            break;
    }
}

void ServerSession::xHandleHello(const v1::Hello& hello) {
    if (hello.protocol_version() != limits::a_protocolVersion) {
        xRefuse(v1::Error::PROTOCOL_VERSION,
                "it speaks version " + std::to_string(limits::a_protocolVersion) +
                    ", this program version " + std::to_string(hello.protocol_version()));
        return;
    }
    if (!fIsAdmitted) {
        xRefuse(v1::Error::TOO_MANY, "too many programs are connected to it");
        return;
    }
    const ServerSecurity& security = fServer.security();
    if (!security.asksForToken()) {
        xAccept(hello);
        return;
    }
    if (hello.token().empty()) {
        xRefuse(v1::Error::TOKEN_MISSING);
        return;
    }
    const auto now = TimerThread::Clock::now();
    const auto turn =
        fServer.tokenGuard().reserveTurn(fPeerAddress, now, limits::silenceOfClient(fLimits));
    if (!turn) {
        xRefuse(v1::Error::TOO_MANY, a_tooManyTokens);
    } else if (*turn <= now) {
        xCheckToken(hello);
    } else {
        fHeldHello = hello;
        const std::lock_guard lock(fMutex);
        fHoldsHello = true;
        fHeldHelloTurn.startAt(*turn);
    }
}

/** Checks the token after the delay; on the timer thread. No message is handled before. */
void ServerSession::xCheckHeldHello() {
    xCheckToken(fHeldHello);
    bool isPaused = false;
    {
        const std::lock_guard lock(fMutex);
        fHoldsHello = false;
        isPaused = fIsPaused;
    }
    if (isPaused) {
        xKeepAwake();
    }
}

void ServerSession::xCheckToken(const v1::Hello& hello) {
    if (fServer.acceptsToken(hello.token(), fPeerAddress)) {
        xAccept(hello);
    } else {
        xRefuse(v1::Error::TOKEN_WRONG);
    }
}

void ServerSession::xAccept(const v1::Hello& hello) {
    fHasHello = true;
    fServer.welcome(fContext->peer());
    fOut.setPeerTakesFragments(hello.takes_fragments());
    v1::ServerMessage message;
    v1::HelloReply* reply = message.mutable_hello_reply();
    reply->set_protocol_version(limits::a_protocolVersion);
    reply->set_name(base::validUtf8(fServer.brokerName()));
    reply->set_session_id(fId);
    reply->set_silence_limit(static_cast<std::uint32_t>(limits::silenceOfClient(fLimits).count()));
    reply->set_takes_fragments(true);
    fOut.push(std::move(message));
}

void ServerSession::xRefuse(v1::Error::Cause cause, const std::string& text) {
    fIsRefused = true;
    xEnd(cause, text);
}

void ServerSession::xHandleListModules(const v1::ListModules& question) {
    if (question.call_id() == 0) {
        return;  // there is nobody to answer
    }
    v1::ServerMessage message;
    v1::ModuleList* list = message.mutable_module_list();
    list->set_call_id(question.call_id());
    if (!listModules(*fModules, question.module(), list)) {
        message.mutable_result()->set_call_id(question.call_id());
        message.mutable_result()->mutable_error()->set_cause(v1::Error::NO_SUCH_MODULE);
    }
    fOut.push(std::move(message));
}

void ServerSession::xHandleCall(v1::Call&& call) {
    {
        const std::lock_guard lock(fMutex);
        const auto work =
            std::make_shared<Work>(std::move(call), fWaitingBytes > limits::a_packFrom);
        fWaiting.push_back(work);
        fWaitingBytes += work->fCall.cost();
        if (work->fId != 0) {
            fCalls[work->fId] = work;
        }
    }
    xPostRun();
}

void ServerSession::xPostRun() {
    fCallPool->post([self = shared_from_this()] { self->xRunNext(); });
}

void ServerSession::xHandleCancel(std::uint64_t callId) {
    const std::lock_guard lock(fMutex);
    const auto found = fCalls.find(callId);
    if (found != fCalls.end()) {
        found->second->fIsCancelled = true;
        fCalls.erase(found);
    }
}

/** Runs the next call; on a thread of the pool, once for each received call. */
void ServerSession::xRunNext() {
    if (const WorkPtr work = xTakeNext()) {
        xRun(work->fCall.take());
        xUnpark(1);
    }
}

/**
 * Returns the next call to run; null if it was cancelled, or has to wait until results are sent.
 */
ServerSession::WorkPtr ServerSession::xTakeNext() {
    WorkPtr work;
    bool hasRoomAgain = false;
    {
        const std::lock_guard lock(fMutex);
        if (!xHasRoomForResult()) {
            ++fParked;
            return nullptr;
        }
        if (fWaiting.empty()) {
            return nullptr;
        }
        work = std::move(fWaiting.front());
        fWaiting.pop_front();
        fWaitingBytes -= work->fCall.cost();
        const auto found = fCalls.find(work->fId);
        if (found != fCalls.end() && found->second == work) {
            fCalls.erase(found);
        }
        hasRoomAgain = fIsPaused && xHasRoomForCall();
    }
    if (hasRoomAgain) {
        xKeepAwake();
    }
    return work->fIsCancelled ? nullptr : work;
}

/** Schedules parked calls for which there is room. */
void ServerSession::xUnpark(std::size_t most) {
    std::size_t count = 0;
    {
        const std::lock_guard lock(fMutex);
        if (fParked == 0 || !xHasRoomForResult()) {
            return;
        }
        count = std::min(fParked, most);
        fParked -= count;
    }
    for (; count > 0; --count) {
        xPostRun();
    }
}

void ServerSession::xRun(const v1::Call& call) {
    if (call.call_id() == 0) {
        runCall(*fModules, call, fLimits, nullptr);
        return;
    }
    v1::ServerMessage message;
    message.mutable_result()->set_call_id(call.call_id());
    runCall(*fModules, call, fLimits, message.mutable_result());
    fOut.push(std::move(message));
    if (fOut.waitingBytes() > limits::a_muchMemory) {
        fHasKeptMuch = true;
    }
}

}  // namespace robaxi

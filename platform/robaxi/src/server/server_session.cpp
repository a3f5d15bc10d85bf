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

namespace {

constexpr const char* a_tooManySessions = "too many programs are connected to it";

}  // namespace

ServerSession::ServerSession(Server& server, SessionStream* stream, std::uint64_t id)
    : fServer(server),
      fModules(server.modules()),
      fCallPool(server.calls()),
      fId(id),
      fPeerAddress(addressOf(stream->context().peer())),
      fLimits(server.limits()),
      fOut(fLimits.fMessage),
      fAssembler(fLimits.fMessage),
      fStream(stream),
      fSilence(server.timers(), [this] { xCheckSilence(); }),
      fHeldHelloTurn(server.timers(), [this] { xCheckHeldHello(); }) {
    fOut.attach(stream->outlet());
}

ServerSession::~ServerSession() = default;

void ServerSession::start(bool admitted) {
    fIsAdmitted = admitted;
    fStream->setSession(shared_from_this());
    fStream->read();
    fSilence.startAt(TimerThread::Clock::now() + fLimits.fHeartbeat);
}

bool ServerSession::xUses(const SessionStream& stream) {
    const std::lock_guard lock(fMutex);
    return fStream == &stream;
}

void ServerSession::received(SessionStream& stream, grpc::ByteBuffer& bytes) {
    const std::lock_guard receiving(fReceiveMutex);
    if (xUses(stream)) {
        fSilentHeartbeats = 0;
        xTakeBatch(bytes);
    }
}

void ServerSession::xTakeBatch(grpc::ByteBuffer& bytes) {
    const std::size_t size = bytes.Length();
    fNextOfBatch = 0;
    if (!readMessage(bytes, &fBatch)) {
        xEnd(v1::Error::INVALID_ARGUMENT, "the program sent a message that cannot be read");
        return;
    }
    if (fBatch.number() != 0 && fBatch.number() <= fReceived) {
        fBatch.clear_messages();  // repeated after a resumption
    } else if (fBatch.number() > fReceived + 1) {
        xEnd(v1::Error::INVALID_ARGUMENT, "the program left out a batch");
        return;
    }
    fReceived = std::max(fReceived, fBatch.number());
    xAcknowledge(size);
    xHandleBatch();
}

/** Acknowledges the received batches before the next heartbeat if they are large. */
void ServerSession::xAcknowledge(std::size_t bytes) {
    fUnacknowledged += bytes;
    if (fReceived == 0 || fUnacknowledged < limits::a_acknowledgeAfter) {
        return;
    }
    fUnacknowledged = 0;
    v1::ServerMessage message;
    message.mutable_heartbeat()->set_received(fReceived);
    fOut.pushUrgent(std::move(message));
}

/** Handles the rest of the batch while there is room. */
void ServerSession::xHandleBatch() {
    while (fNextOfBatch < fBatch.messages_size()) {
        if (!xMayHandle()) {
            return;
        }
        if (!fAssembler.take(*fBatch.mutable_messages(fNextOfBatch++),
                             [this](v1::ClientMessage& message) { xHandle(message); })) {
            xEnd(v1::Error::INVALID_ARGUMENT,
                 "the program sent a message in parts that cannot be read");
            break;
        }
        if (fHasMoved) {
            return;
        }
    }
    {
        const std::lock_guard lock(fMutex);
        if (fHoldsHello) {
            fIsPaused = true;  // the stream may yet be given to another session, which then reads
            return;
        }
    }
    fStream->read();
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
    const std::lock_guard receiving(fReceiveMutex);
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

void ServerSession::written(SessionStream& stream, bool ok) {
    if (fOut.writeDone(*stream.outlet(), ok)) {
        xFinish(stream);
    }
    if (xUses(stream)) {
        xUnpark(limits::a_methodThreads);
        xResume();
    }
}

void ServerSession::streamClosed(SessionStream& stream) {
    const std::lock_guard receiving(fReceiveMutex);
    if (xUses(stream) ? fOut.close() : stream.outlet()->close()) {
        xFinish(stream);
    }
}

void ServerSession::streamEnded(SessionStream& stream) {
    {
        const std::lock_guard receiving(fReceiveMutex);
        const std::lock_guard lock(fMutex);
        if (fStream != &stream) {
            return;
        }
        fHasEnded = true;
        // Posted calls still run; others do not.
        fWaiting.erase(std::remove_if(fWaiting.begin(), fWaiting.end(),
                                      [](const WorkPtr& work) { return work->fId != 0; }),
                       fWaiting.end());
        fCalls.clear();
    }
    fSilence.stop();
    fHeldHelloTurn.stop();
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
    SessionStream* stream = nullptr;
    {
        const std::lock_guard lock(fMutex);
        stream = fStream;
    }
    if (now) {
        xFinish(*stream);
    }
    return now;
}

/** Ends a stream, when its outlet says so. */
void ServerSession::xFinish(SessionStream& stream) {
    std::optional<v1::Error> ending;
    {
        const std::lock_guard lock(fMutex);
        if (fStream == &stream) {
            ending = fEnding;
        }
    }
    stream.finish(ending);
}

void ServerSession::xCheckSilence() {
    const std::lock_guard receiving(fReceiveMutex);
    bool isPaused = false;
    bool givesWay = false;
    {
        const std::lock_guard lock(fMutex);
        if (fHasEnded || fHasMoved) {
            return;
        }
        isPaused = fIsPaused && !fHoldsHello;
        givesWay = fGivesWay;
    }
    if (givesWay) {
        xEndSilent(v1::Error::TOO_MANY, "the program was silent, and another one took its place");
        return;
    }
    const int most = isPaused ? limits::a_untakingHeartbeatsOfClient
                              : limits::periodsIn(xLongestSilence(), fLimits.fHeartbeat);
    if (++fSilentHeartbeats > most) {
        xEndSilent(v1::Error::TIMED_OUT, "the program was silent for too long");
        return;
    }
    if (isPaused) {
        xKeepAwake();
    }
    fSilence.startAt(TimerThread::Clock::now() + fLimits.fHeartbeat);
}

void ServerSession::xEndSilent(v1::Error::Cause cause, const std::string& text) {
    if (!xEnd(cause, text)) {
        fStream->cancel();  // it does not take what is being written either
    }
}

/** Called with fMutex locked. */
int ServerSession::xSilence() const {
    const bool isServed = fHasHello && !fIsPaused && !fGivesWay && !fHasEnded && !fEnding;
    const int silent = fSilentHeartbeats;
    return isServed && silent > limits::silentHeartbeats(fLimits, fLimits.fHeartbeat) ? silent : 0;
}

int ServerSession::silence() {
    const std::lock_guard lock(fMutex);
    return xSilence();
}

bool ServerSession::giveWay() {
    const std::lock_guard lock(fMutex);
    if (xSilence() == 0) {
        return false;
    }
    fGivesWay = true;
    fSilence.startAt(TimerThread::Clock::now());  // on its thread, since the caller holds locks
    return true;
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
            fOut.acknowledge(message.heartbeat().received());
            v1::ServerMessage answer;
            answer.mutable_heartbeat()->set_number(message.heartbeat().number());
            answer.mutable_heartbeat()->set_received(fReceived);
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
    // The session that it resumes is counted already.
    if (!fIsAdmitted && !hello.has_resume() && !fServer.hasSilentSession(fPeerAddress)) {
        xRefuse(v1::Error::TOO_MANY, a_tooManySessions);
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
        fServer.tokenGuard().reserveTurn(fPeerAddress, now, limits::timeForFirstMessage(fLimits));
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
    const std::lock_guard receiving(fReceiveMutex);
    {
        const std::lock_guard lock(fMutex);
        if (fHasEnded) {
            return;
        }
    }
    xCheckToken(fHeldHello);
    if (fHasMoved) {
        return;
    }
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
    if (hello.has_resume()) {
        xResumeAnother(hello);
        return;
    }
    if (!fIsAdmitted && !fServer.replaceSilentSession(fPeerAddress)) {
        xRefuse(v1::Error::TOO_MANY, a_tooManySessions);
        return;
    }
    {
        const std::lock_guard lock(fMutex);
        fHasHello = true;
    }
    fServer.welcome(fStream->context().peer());
    fClientName = hello.name();
    fOut.setPeerTakesFragments(hello.takes_fragments());
    fCanResume = hello.resumes();
    v1::ServerMessage message;
    *message.mutable_hello_reply() = xReply();
    fOut.push(std::move(message));
    if (fCanResume) {
        fOut.keepSent();
    }
}

std::chrono::milliseconds ServerSession::xLongestSilence() const {
    return fCanResume ? limits::longestSilence(fLimits) : limits::silenceOfSimpleClient(fLimits);
}

v1::HelloReply ServerSession::xReply() const {
    v1::HelloReply reply;
    reply.set_protocol_version(limits::a_protocolVersion);
    reply.set_name(base::validUtf8(fServer.brokerName()));
    reply.set_session_id(fId);
    reply.set_silence_limit(static_cast<std::uint32_t>(xLongestSilence().count()));
    reply.set_takes_fragments(true);
    reply.set_resumes(true);
    return reply;
}

/** Leaves the stream to the session that the client resumes. */
void ServerSession::xResumeAnother(const v1::Hello& hello) {
    const auto resumed = fServer.findSession(hello.resume().session_id());
    if (!resumed || resumed.get() == this || !resumed->moveTo(*fStream, hello)) {
        xRefuse(v1::Error::NOT_AUTHORISED, "it names no session that can be resumed");
        return;
    }
    fHasMoved = true;
    {
        const std::lock_guard lock(fMutex);
        fStream = nullptr;
        fHasEnded = true;
    }
    fServer.sessionEnded(fId);
}

bool ServerSession::moveTo(SessionStream& stream, const v1::Hello& hello) {
    const v1::Resume& resume = hello.resume();
    const std::lock_guard receiving(fReceiveMutex);
    {
        const std::lock_guard lock(fMutex);
        if (fHasEnded || fEnding || fGivesWay || !fCanResume ||
            resume.resumption() <= fResumption || hello.name() != fClientName) {
            return false;
        }
    }
    if (!fOut.canResume(resume.received()) || !stream.outlet()->enter()) {
        return false;
    }
    v1::ServerBatch reply;
    *reply.add_messages()->mutable_hello_reply() = xReply();
    reply.mutable_messages(0)->mutable_hello_reply()->set_resumed(true);
    reply.mutable_messages(0)->mutable_hello_reply()->set_received(fReceived);
    SessionStream* former = nullptr;
    {
        const std::lock_guard lock(fMutex);
        former = std::exchange(fStream, &stream);
        fResumption = resume.resumption();
        fIsPaused = true;  // until the end of the reply's write, where gRPC keeps the stream alive
    }
    fServer.welcome(stream.context().peer());
    fServer.cancelStreams(fId);  // no other one joins with the former resumption
    stream.setSession(shared_from_this());
    stream.outlet()->write(writeMessage(reply));  // before anything of the queue
    fOut.resume(stream.outlet(), resume.received());
    if (former->outlet()->close()) {
        former->finish(std::nullopt);
    }
    former->cancel();
    fSilentHeartbeats = 0;
    return true;
}

std::uint64_t ServerSession::resumption() {
    const std::lock_guard lock(fMutex);
    return fResumption;
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

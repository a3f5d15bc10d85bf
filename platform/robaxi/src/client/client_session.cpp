#include "client/client_session.h"

#include "client/frame_client.h"
#include "client/subscription_client.h"
#include "net/channel.h"
#include "net/socket_address.h"
#include "net/tls_probe.h"
#include "wire/grpc_handover.h"
#include "wire/message_codec.h"
#include "wire/status_codec.h"

#include <base/safe_text.h>

#include <grpcpp/generic/generic_stub.h>

#include <algorithm>
#include <limits>

namespace robaxi {

namespace {

Failure tokenMissing(const ClientSecurity& security) {
    if (security.withholdsToken()) {
        return {KVError::Cause::NotAuthorised,
                "it requires a token, which is not sent over a connection without TLS",
                "Give the robot a certificate, or set plain-token = yes for it in robaxi.conf."};
    }
    return {KVError::Cause::NotAuthorised, "it requires a token",
            "Name the file with the robot's token under token in robaxi.conf."};
}

Failure anotherVersion(std::uint32_t version) {
    return {KVError::Cause::ProtocolVersion, "it speaks version " + std::to_string(version) +
                                                 ", this program version " +
                                                 std::to_string(limits::a_protocolVersion)};
}

/** gRPC only reports in its message that the received data is not HTTP/2. */
bool isAnotherLanguage(const grpc::Status& status) {
    const std::string text = status.error_message();
    return text.find("http1") != std::string::npos || text.find("HTTP/2") != std::string::npos;
}

/** Returns why a session has ended that was in use. */
Failure sessionFailure(const EndOfRpc& end) {
    if (end.fCause == v1::Error::TOO_LARGE) {
        return end.fFailure;
    }
    return {KVError::Cause::ConnectionLost, end.fFailure.fDetail};
}

/** Returns why a session has ended before the robot answered hello. */
Failure helloFailure(const grpc::Status& status, const EndOfRpc& end,
                     const ClientSecurity& security) {
    if (isAnotherLanguage(status)) {
        return {KVError::Cause::ProtocolVersion, {}};
    }
    switch (end.fCause) {
        case v1::Error::TOKEN_MISSING:
            return tokenMissing(security);
        case v1::Error::TOKEN_WRONG:
            return {KVError::Cause::NotAuthorised, "the token is not the right one"};
        case v1::Error::CONNECTION_LOST:
            return {KVError::Cause::ConnectionLost, "it was closed before an answer came"};
        default:
            return end.fFailure;
    }
}

void checkSize(const v1::ClientMessage& message, std::size_t largest) {
    constexpr std::size_t roomForCallId = 16;
    if (message.ByteSizeLong() + roomForCallId > largest) {
        throw Failure{KVError::Cause::TooLarge, {}};
    }
}

void setCallId(v1::ClientMessage& message, std::uint64_t callId) {
    if (message.has_call()) {
        message.mutable_call()->set_call_id(callId);
    } else {
        message.mutable_list_modules()->set_call_id(callId);
    }
}

}  // namespace

ClientSession::ClientSession(std::shared_ptr<Runtime> runtime, const std::string& address, int port,
                             Deadline deadline)
    : fRuntime(std::move(runtime)),
      fLimits(fRuntime->fSettings.fLimits),
      fSecurity(fRuntime->fSettings.accessTo(address, port), address),
      fOut(fLimits.fMessage, [this](const v1::ClientBatch* batch) { StartWrite(batch); }),
      fAssembler(fLimits.fMessage),
      fHeartbeatPeriod(fLimits.fHeartbeat),
      fHeartbeat(fRuntime->fTimers, [this] { xBeat(); }) {
    const SocketAddress listener = findListener(resolve(address, port, deadline), deadline);
    fChannel = createChannel(listener.toTarget(), fSecurity, fLimits);
    fStub = v1::Robaxi::NewStub(fChannel);
    fStub->async()->Session(&fContext, this);
    AddHold();  // the users' threads write; released when nothing more will be written
    xSayHello();
    xRead();
    StartCall();
    try {
        xAwaitHello(deadline);
    } catch (const Failure& failure) {
        xEndStream();
        const bool mayBeTls = failure.fCause == KVError::Cause::ConnectionLost ||
                              failure.fCause == KVError::Cause::ProtocolVersion;
        const auto reason = mayBeTls ? findTlsFailure(listener, fSecurity, deadline) : std::nullopt;
        throw Failure(reason.value_or(failure));
    }
}

ClientSession::~ClientSession() {
    if (fHasPosted) {
        xSendTheRest();
    }
    xEndStream();
}

void ClientSession::prepareStream(
    grpc::ClientContext* context, const std::string& method,
    grpc::ClientBidiReactor<grpc::ByteBuffer, grpc::ByteBuffer>* reactor) {
    const std::string path = "/" + std::string(v1::Robaxi::service_full_name()) + "/" + method;
    grpc::GenericStub(fChannel).PrepareBidiStreamingCall(context, path, {}, reactor);
}

void ClientSession::xSendTheRest() {
    xEndWhen(fOut.closeWhenWritten());
    std::unique_lock lock(fMutex);
    fStateChanged.wait_for(lock, limits::a_timeToSendTheRest, [this] { return fIsDone; });
}

void ClientSession::xEndStream() {
    fHeartbeat.stop();
    xLose({KVError::Cause::Cancelled, {}});
    fContext.TryCancel();
    std::unique_lock lock(fMutex);
    fStateChanged.wait(lock, [this] { return fIsDone; });
}

void ClientSession::xSayHello() {
    v1::ClientMessage message;
    v1::Hello* hello = message.mutable_hello();
    hello->set_protocol_version(limits::a_protocolVersion);
    hello->set_name(base::validUtf8(fRuntime->fBrokerName));
    hello->set_takes_fragments(true);
    hello->set_token(fSecurity.token());
    fOut.push(std::move(message));
}

void ClientSession::xAwaitHello(Deadline deadline) {
    {
        std::unique_lock lock(fMutex);
        const bool answered = fStateChanged.wait_until(
            lock, deadline, [this] { return fHello.has_value() || fLoss.has_value(); });
        if (!answered) {
            throw Failure{KVError::Cause::TimedOut, {}};
        }
        if (fLoss) {
            throw Failure(*fLoss);
        }
        if (fHello->silence_limit() != 0) {
            const std::chrono::milliseconds silence(fHello->silence_limit());
            fHeartbeatPeriod =
                std::max(std::min(fHeartbeatPeriod, silence / limits::a_heartbeatsInSilence),
                         std::chrono::milliseconds(1));
        }
    }
    fHeartbeat.startAt(Clock::now());
}

void ClientSession::xRead() {
    giveToGrpc(&fIncoming);
    StartRead(&fIncoming);
}

void ClientSession::OnReadDone(bool ok) {
    const GrpcReaction reaction(this);
    takeFromGrpc(&fIncoming);
    if (!ok) {
        xEndWhen(fOut.close());
        return;
    }
    fSilentHeartbeats = 0;
    for (v1::ServerMessage& message : *fIncoming.mutable_messages()) {
        if (!xReceive(message)) {
            xLose({KVError::Cause::ConnectionLost, "the robot sent an invalid message"});
            fContext.TryCancel();
            break;
        }
    }
    xRead();
}

bool ClientSession::xReceive(v1::ServerMessage& message) {
    using Outcome = FragmentAssembler<v1::ServerMessage>::Outcome;
    const Outcome outcome = fAssembler.take(message);
    if (outcome == Outcome::Complete) {
        xHandle(message);
    }
    return outcome != Outcome::Malformed;
}

void ClientSession::OnWriteDone(bool ok) {
    const GrpcReaction reaction(this);
    xEndWhen(fOut.writeDone(ok));
}

void ClientSession::xEndWhen(bool now) {
    if (now) {
        // The robot reads up to this end before it ends the stream; cancelling the stream would
        // discard data that the robot has not read yet.
        giveToGrpc(this);
        StartWritesDone();
        RemoveHold();
    }
}

void ClientSession::OnDone(const grpc::Status& status) {
    takeFromGrpc(this);
    bool saidHello = false;
    {
        const std::lock_guard lock(fMutex);
        saidHello = fHello.has_value();
    }
    const EndOfRpc end = decodeStatus(status, fContext, v1::Error::PROTOCOL_VERSION);
    xLose(saidHello ? sessionFailure(end) : helloFailure(status, end, fSecurity));
    const std::lock_guard lock(fMutex);
    fIsDone = true;
    fStateChanged.notify_all();
}

void ClientSession::xHandle(v1::ServerMessage& message) {
    switch (message.content_case()) {
        case v1::ServerMessage::kHelloReply:
            xHandleHello(message.hello_reply());
            break;
        case v1::ServerMessage::kResult:
            xHandleAnswer(message.result().call_id(), message);
            break;
        case v1::ServerMessage::kModuleList:
            xHandleAnswer(message.module_list().call_id(), message);
            break;
        case v1::ServerMessage::kHeartbeat:
            xHandleHeartbeat(message.heartbeat().number());
            break;
        default:
            break;
    }
}

void ClientSession::xHandleHello(const v1::HelloReply& reply) {
    if (reply.protocol_version() != limits::a_protocolVersion) {
        xLose(anotherVersion(reply.protocol_version()));
        fContext.TryCancel();
        return;
    }
    fOut.setPeerTakesFragments(reply.takes_fragments());
    const std::lock_guard lock(fMutex);
    if (!fHello) {
        fHello = reply;
        fStateChanged.notify_all();
    }
}

void ClientSession::xHandleAnswer(std::uint64_t callId, v1::ServerMessage& answer) {
    std::shared_ptr<PendingCall> call;
    {
        const std::lock_guard lock(fMutex);
        const auto found = fPending.find(callId);
        if (found == fPending.end()) {
            return;  // cancelled or timed out
        }
        call = std::move(found->second);
        fPending.erase(found);
        call->fAnswer.Swap(&answer);
        call->fHasEnded = true;
    }
    // Without the lock, which the caller takes as soon as it is awake.
    call->fEnded.notify_one();
}

void ClientSession::xHandleHeartbeat(std::uint64_t number) {
    const std::lock_guard lock(fMutex);
    if (number == fHeartbeatNumber) {
        fRoundTrip = std::chrono::duration<double>(Clock::now() - fHeartbeatSent).count();
    }
}

void ClientSession::xBeat() {
    if (++fSilentHeartbeats > limits::silentHeartbeatsOfRobot(fLimits)) {
        xLose({KVError::Cause::ConnectionLost, "the robot does not answer any more"});
        fContext.TryCancel();
        return;
    }
    v1::ClientMessage message;
    {
        const std::lock_guard lock(fMutex);
        if (fLoss) {
            return;
        }
        message.mutable_heartbeat()->set_number(++fHeartbeatNumber);
        fHeartbeatSent = Clock::now();
    }
    fOut.pushUrgent(std::move(message));
    fHeartbeat.startAt(Clock::now() + fHeartbeatPeriod);
}

void ClientSession::xLose(const Failure& failure) {
    const std::lock_guard lock(fMutex);
    if (fLoss) {
        return;
    }
    fLoss = failure;
    for (const auto& [id, call] : fPending) {
        call->fFailure = failure;
        call->fHasEnded = true;
        call->fEnded.notify_one();
    }
    fPending.clear();
    for (LossListener* listener : fLossListeners) {
        listener->linkLost(failure);
    }
    fStateChanged.notify_all();
}

v1::ServerMessage ClientSession::xRequest(v1::ClientMessage message, CallOwner& owner,
                                          Deadline deadline) {
    checkSize(message, fLimits.fMessage);
    const auto call = std::make_shared<PendingCall>(owner);
    const std::uint64_t callId = xRegister(call);
    setCallId(message, callId);
    if (fOut.waitForRoom(deadline)) {
        fOut.push(std::move(message));
    }
    std::unique_lock lock(fMutex);
    if (!call->fEnded.wait_until(lock, deadline, [&call] { return call->fHasEnded; })) {
        fPending.erase(callId);
        lock.unlock();
        xSendCancel(callId);
        throw Failure{KVError::Cause::TimedOut, {}};
    }
    if (call->fFailure) {
        throw Failure(*call->fFailure);
    }
    return std::move(call->fAnswer);
}

std::uint64_t ClientSession::xRegister(const std::shared_ptr<PendingCall>& call) {
    const std::lock_guard lock(fMutex);
    xCheckOpen(*call->fOwner);
    const std::uint64_t callId = ++fLastCallId;
    fPending.emplace(callId, call);
    return callId;
}

void ClientSession::xCheckOpen(const CallOwner& owner) const {
    if (fLoss) {
        throw Failure(*fLoss);
    }
    if (owner.fIsClosed) {
        throw Failure{KVError::Cause::Cancelled, {}};
    }
}

void ClientSession::xPost(v1::ClientMessage message, const CallOwner& owner, Deadline deadline) {
    checkSize(message, fLimits.fMessage);
    const bool hasRoom = fOut.waitForRoom(deadline);
    {
        const std::lock_guard lock(fMutex);
        xCheckOpen(owner);
    }
    if (!hasRoom) {
        throw Failure{KVError::Cause::TimedOut, "too much data waits to be sent"};
    }
    fHasPosted = true;
    fOut.push(std::move(message));
}

int ClientSession::xNextTaskId() {
    constexpr std::uint32_t largest = std::numeric_limits<int>::max();
    return static_cast<int>(fLastTaskId.fetch_add(1) % largest) + 1;
}

void ClientSession::cancel(const CallOwner& owner) {
    xCancelPending(owner);
}

void ClientSession::close(CallOwner& owner) {
    {
        const std::lock_guard lock(fMutex);
        owner.fIsClosed = true;
    }
    xCancelPending(owner);
}

void ClientSession::xCancelPending(const CallOwner& owner) {
    std::vector<std::uint64_t> cancelled;
    {
        const std::lock_guard lock(fMutex);
        for (auto each = fPending.begin(); each != fPending.end();) {
            PendingCall& call = *each->second;
            if (call.fOwner != &owner) {
                ++each;
                continue;
            }
            cancelled.push_back(each->first);
            call.fFailure = Failure{KVError::Cause::Cancelled, {}};
            call.fHasEnded = true;
            call.fEnded.notify_one();
            each = fPending.erase(each);
        }
    }
    for (const std::uint64_t callId : cancelled) {
        xSendCancel(callId);
    }
}

void ClientSession::xSendCancel(std::uint64_t callId) {
    v1::ClientMessage message;
    message.mutable_cancel()->set_call_id(callId);
    fOut.push(std::move(message));
}

std::optional<Failure> ClientSession::addLossListener(LossListener* listener) {
    const std::lock_guard lock(fMutex);
    if (!fLoss) {
        fLossListeners.push_back(listener);
    }
    return fLoss;
}

void ClientSession::removeLossListener(LossListener* listener) {
    const std::lock_guard lock(fMutex);
    fLossListeners.erase(std::remove(fLossListeners.begin(), fLossListeners.end(), listener),
                         fLossListeners.end());
}

std::optional<Failure> ClientSession::loss() const {
    const std::lock_guard lock(fMutex);
    return fLoss;
}

std::string ClientSession::peerName() const {
    const std::lock_guard lock(fMutex);
    return fHello->name();
}

std::uint64_t ClientSession::sessionId() const {
    const std::lock_guard lock(fMutex);
    return fHello->session_id();
}

std::shared_ptr<ValueStream> ClientSession::subscribe(const Target& target,
                                                      KVSubscription::Selection selection,
                                                      const std::vector<std::string>& names,
                                                      double rate,
                                                      KVSubscription::Callbacks callbacks) {
    auto stream = std::make_shared<SubscriptionClient>(fRuntime, shared_from_this(), target, names,
                                                       std::move(callbacks));
    stream->start(names.empty() && selection == KVSubscription::Selection::AllKeys, rate);
    return stream;
}

std::shared_ptr<Stream> ClientSession::watch(const Target& target, const std::string& camera,
                                             KVFrameStream::Callbacks callbacks) {
    auto stream = std::make_shared<FrameClient>(fRuntime, shared_from_this(), target, camera,
                                                std::move(callbacks));
    stream->start();
    return stream;
}

}  // namespace robaxi

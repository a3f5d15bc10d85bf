#include "client/client_session.h"

#include "client/frame_client.h"
#include "client/subscription_client.h"
#include "net/channel.h"
#include "net/tls_probe.h"
#include "wire/raw_message.h"
#include "wire/status_codec.h"

#include <base/safe_text.h>

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

Failure invalidMessage() {
    return {KVError::Cause::ConnectionLost, "the robot sent an invalid message"};
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

ClientSession::ClientSession(std::shared_ptr<Runtime> runtime, const Place& place,
                             Deadline deadline)
    : fRuntime(std::move(runtime)),
      fLimits(fRuntime->fSettings.fLimits),
      fSecurity(fRuntime->fSettings.accessTo(place.fHost, place.fPort), place.fHost),
      fListener(findListener(place.fHost, place.fPort, place.fAddresses, deadline)),
      fOut(fLimits.fMessage),
      fAssembler(fLimits.fMessage),
      fHeard(Clock::now()),
      fHeartbeatPeriod(fLimits.fHeartbeat),
      fHeartbeat(fRuntime->fTimers, [this] { xBeat(); }),
      fProbing(fRuntime->fTimers, [this] { xPollProbe(); }) {
    fCurrent = xOpen(0);
    fOut.attach(fCurrent->outlet());
    fCurrent->start(xHello());
    try {
        xAwaitHello(deadline);
    } catch (const Failure& failure) {
        xEndStreams();
        const bool mayBeTls = failure.fCause == KVError::Cause::ConnectionLost ||
                              failure.fCause == KVError::Cause::ProtocolVersion;
        const auto reason =
            mayBeTls ? findTlsFailure(fListener, fSecurity, deadline) : std::nullopt;
        throw Failure(reason.value_or(failure));
    }
}

ClientSession::~ClientSession() {
    if (fHasPosted) {
        xSendTheRest();
    }
    xEndStreams();
}

/** Creates a transport and adds it to the list. */
std::shared_ptr<ClientTransport> ClientSession::xOpen(std::uint64_t resumption) {
    ClientTransport::Owner& owner = *this;
    auto transport = std::make_shared<ClientTransport>(
        owner, createChannel(fListener.toTarget(), fSecurity, fLimits), resumption);
    const std::lock_guard lock(fMutex);
    fTransports.push_back(transport);
    return transport;
}

void ClientSession::xSendTheRest() {
    {
        const std::lock_guard receiving(fReceiveMutex);  // the session does not move meanwhile
        xEndWriting(fOut.closeWhenWritten());
    }
    std::unique_lock lock(fMutex);
    fStateChanged.wait_for(lock, limits::a_timeToSendTheRest,
                           [this] { return fCurrent->hasEnded(); });
}

void ClientSession::xEndStreams() {
    fHeartbeat.stop();
    fProbing.stop();
    xLose({KVError::Cause::Cancelled, {}});
    xCancel();
    std::unique_lock lock(fMutex);
    fStateChanged.wait(lock, [this] {
        return std::all_of(fTransports.begin(), fTransports.end(),
                           [](const auto& each) { return each->hasEnded(); });
    });
}

v1::Hello ClientSession::xHello() const {
    v1::Hello hello;
    hello.set_protocol_version(limits::a_protocolVersion);
    hello.set_name(base::validUtf8(fRuntime->fBrokerName));
    hello.set_takes_fragments(true);
    hello.set_token(fSecurity.token());
    hello.set_resumes(true);
    return hello;
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

void ClientSession::received(ClientTransport& transport, grpc::ByteBuffer& bytes) {
    const std::size_t size = bytes.Length();
    const std::lock_guard receiving(fReceiveMutex);
    if (!readMessage(bytes, &fBatch)) {
        if (&transport == fCurrent.get()) {
            xLose(invalidMessage());
        }
        transport.cancel();
    } else if (&transport != fCurrent.get()) {
        xHandleAttempt(transport, fBatch);
    } else {
        xHear();
        xHandleBatch(fBatch);
        xAcknowledge(size);
    }
}

void ClientSession::xHandleBatch(v1::ServerBatch& batch) {
    if (batch.number() != 0 && batch.number() <= fReceived) {
        return;  // repeated after a resumption
    }
    bool isValid = batch.number() == 0 || batch.number() == fReceived + 1;
    if (isValid && batch.number() != 0) {
        fReceived = batch.number();
    }
    const auto handle = [this](v1::ServerMessage& message) { xHandle(message); };
    for (v1::ServerMessage& message : *batch.mutable_messages()) {
        isValid = isValid && fAssembler.take(message, handle);
    }
    if (!isValid) {
        xLose(invalidMessage());
        fCurrent->cancel();
    }
}

/** Acknowledges the received batches before the next heartbeat if they are large. */
void ClientSession::xAcknowledge(std::size_t bytes) {
    fUnacknowledged += bytes;
    if (!fCanResume || fUnacknowledged < limits::a_acknowledgeAfter) {
        return;
    }
    fUnacknowledged = 0;
    v1::ClientMessage message;
    message.mutable_heartbeat()->set_received(fReceived);
    fOut.pushUrgent(std::move(message));
}

bool ClientSession::written(ClientTransport& transport, bool ok) {
    return fOut.writeDone(*transport.outlet(), ok);
}

void ClientSession::xEndWriting(bool now) {
    if (now) {
        transport()->endWriting();
    }
}

/** Returns why a session has ended that was in use. */
Failure ClientSession::xSessionFailure(const EndOfRpc& end) {
    if (end.fCause == v1::Error::TOO_LARGE) {
        return end.fFailure;
    }
    return {KVError::Cause::ConnectionLost, end.fFailure.fDetail};
}

/** Returns why a session has ended before the robot answered hello. */
Failure ClientSession::xHelloFailure(const grpc::Status& status, const EndOfRpc& end) const {
    if (isAnotherLanguage(status)) {
        return {KVError::Cause::ProtocolVersion, {}};
    }
    switch (end.fCause) {
        case v1::Error::TOKEN_MISSING:
            return tokenMissing(fSecurity);
        case v1::Error::TOKEN_WRONG:
            return {KVError::Cause::NotAuthorised, "the token is not the right one"};
        case v1::Error::CONNECTION_LOST:
            return {KVError::Cause::ConnectionLost, "it was closed before an answer came"};
        default:
            return end.fFailure;
    }
}

void ClientSession::ended(ClientTransport& transport, const grpc::Status& status) {
    {
        const std::lock_guard receiving(fReceiveMutex);
        if (const auto loss = xLossAtEndOf(transport, status)) {
            xLose(*loss);
            xEndWriting(fOut.close());  // wakes those who wait for room
            xCancel();
        }
    }
    const std::lock_guard lock(fMutex);
    transport.setEnded();
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
            xHandleHeartbeat(message.heartbeat());
            break;
        default:
            break;
    }
}

void ClientSession::xHandleHello(const v1::HelloReply& reply) {
    if (reply.protocol_version() != limits::a_protocolVersion) {
        xLose(anotherVersion(reply.protocol_version()));
        fCurrent->cancel();
        return;
    }
    const std::lock_guard lock(fMutex);
    if (fHello) {
        return;
    }
    fOut.setPeerTakesFragments(reply.takes_fragments());
    if (reply.resumes()) {
        fCanResume = true;
        fOut.keepSent();
    }
    fHello = reply;
    fStateChanged.notify_all();
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

void ClientSession::xHandleHeartbeat(const v1::Heartbeat& heartbeat) {
    fOut.acknowledge(heartbeat.received());
    const std::lock_guard lock(fMutex);
    if (heartbeat.number() == fHeartbeatNumber) {
        fRoundTrip = std::chrono::duration<double>(Clock::now() - fHeartbeatSent).count();
    }
}

void ClientSession::xBeat() {
    xDestroyEnded();
    const int silent = ++fSilentHeartbeats;
    if (silent > limits::periodsIn(limits::longestSilence(fLimits), fHeartbeatPeriod)) {
        xLose({KVError::Cause::ConnectionLost, "the robot does not answer any more"});
        xCancel();
        return;
    }
    if (silent > limits::silentHeartbeats(fLimits, fHeartbeatPeriod)) {
        xBeSilent();
    }
    if (silent > limits::heartbeatsBeforeProbe(fLimits, fHeartbeatPeriod)) {
        xTryToResume();
    } else {
        fProbe.reset();
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
    message.mutable_heartbeat()->set_received(fReceived);
    if (fIsSilent) {
        fOut.pushIfEmpty(std::move(message));  // those of a long silence do not pile up
    } else {
        fOut.pushUrgent(std::move(message));
    }
    fHeartbeat.startAt(Clock::now() + fHeartbeatPeriod);
}

void ClientSession::xHear() {
    fSilentHeartbeats = 0;
    fHeard = Clock::now();
    if (!fIsSilent) {
        return;
    }
    const std::lock_guard lock(fMutex);
    if (fLoss || !fIsSilent.exchange(false)) {
        return;
    }
    for (Listener* listener : fListeners) {
        listener->linkSilent(false);
    }
}

void ClientSession::xBeSilent() {
    const std::lock_guard lock(fMutex);
    if (fLoss || fIsSilent || fSilentHeartbeats == 0) {
        return;
    }
    fIsSilent = true;
    for (Listener* listener : fListeners) {
        listener->linkSilent(true);
    }
}

void ClientSession::xCancel() {
    std::unique_lock lock(fMutex);
    const auto transports = fTransports;
    lock.unlock();
    for (const auto& transport : transports) {
        transport->cancel();
    }
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
    for (Listener* listener : fListeners) {
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

std::optional<Failure> ClientSession::addListener(Listener* listener) {
    const std::lock_guard lock(fMutex);
    if (!fLoss) {
        fListeners.push_back(listener);
        if (fIsSilent) {
            listener->linkSilent(true);
        }
    }
    return fLoss;
}

void ClientSession::removeListener(Listener* listener) {
    const std::lock_guard lock(fMutex);
    fListeners.erase(std::remove(fListeners.begin(), fListeners.end(), listener), fListeners.end());
}

double ClientSession::silence() const {
    return std::chrono::duration<double>(Clock::now() - fHeard.load()).count();
}

std::optional<Failure> ClientSession::loss() const {
    const std::lock_guard lock(fMutex);
    return fLoss;
}

bool ClientSession::isAt(const std::string& address) const {
    const std::vector<SocketAddress> parsed = parseAddresses({address}, fListener.port());
    return !parsed.empty() && parsed.front().host() == fListener.host();
}

std::string ClientSession::peerName() const {
    const std::lock_guard lock(fMutex);
    return fHello->name();
}

std::uint64_t ClientSession::sessionId() const {
    const std::lock_guard lock(fMutex);
    return fHello->session_id();
}

std::shared_ptr<ClientTransport> ClientSession::transport() const {
    const std::lock_guard lock(fMutex);
    return fCurrent;
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

std::shared_ptr<PictureStream> ClientSession::watch(const Target& target, const std::string& camera,
                                                    KVFrameStream::Callbacks callbacks) {
    auto stream = std::make_shared<FrameClient>(fRuntime, shared_from_this(), target, camera,
                                                std::move(callbacks));
    stream->start();
    return stream;
}

}  // namespace robaxi

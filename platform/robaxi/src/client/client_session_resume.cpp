// Resuming a session: further connections while the robot is silent, and the move to one of them.
#include "client/client_session.h"
#include "wire/status_codec.h"

#include <algorithm>
#include <utility>

namespace robaxi {

/** Looks for a connection to the robot; on the timer thread, at each heartbeat of a silence. */
void ClientSession::xTryToResume() {
    if (!fCanResume) {
        return;
    }
    if (!fProbe) {
        fProbe = std::make_unique<ReturnProbe>(fListener);
        fBetweenAttempts = limits::a_betweenAttemptsToResume;
        fNextAttempt = Clock::now();
    }
    if (Clock::now() < fNextAttempt || xCountAttempts() >= limits::a_attemptsToResume) {
        return;
    }
    fProbe->start();
    fProbing.startAt(Clock::now());
}

/**
 * Starts an attempt to resume if the robot's address answers; on the timer thread.
 *
 * An attempt is not cancelled, since the robot might already have moved the session to it. The next
 * one starts while it is open, since its connection may have been cut, too.
 */
void ClientSession::xPollProbe() {
    // The probe outlives a silence by up to a heartbeat.
    if (!fProbe || fSilentHeartbeats <= limits::heartbeatsBeforeProbe(fLimits, fHeartbeatPeriod)) {
        return;
    }
    switch (fProbe->poll()) {
        case ReturnProbe::Outcome::Connected:
            xStartAttempt();
            fNextAttempt = Clock::now() + fBetweenAttempts;
            fBetweenAttempts *= 2;
            break;
        case ReturnProbe::Outcome::Refused:
            xLose({KVError::Cause::ConnectionLost, "the robot ended it"});
            xCancel();
            break;
        case ReturnProbe::Outcome::Pending:
            fProbing.startAt(Clock::now() + limits::a_betweenPollsOfProbe);
            break;
    }
}

void ClientSession::xStartAttempt() {
    v1::Hello hello = xHello();
    v1::Resume* resume = hello.mutable_resume();
    resume->set_session_id(sessionId());
    resume->set_resumption(++fLastResumption);
    resume->set_received(fReceived);
    xOpen(fLastResumption)->start(hello);
}

std::size_t ClientSession::xCountAttempts() const {
    const std::lock_guard lock(fMutex);
    return static_cast<std::size_t>(
        std::count_if(fTransports.begin(), fTransports.end(), [this](const auto& each) {
            return !each->isOver() && each->resumption() > fCurrent->resumption();
        }));
}

bool ClientSession::mayHaveLeft(std::uint64_t resumption) const {
    const std::lock_guard lock(fMutex);
    // An attempt is open before the silence is reported.
    return fIsSilent || fCurrent->resumption() > resumption ||
           std::any_of(fTransports.begin(), fTransports.end(), [resumption](const auto& each) {
               return !each->isOver() && each->resumption() > resumption;
           });
}

/** Handles the first batch of an attempt; a former transport is ignored. */
void ClientSession::xHandleAttempt(ClientTransport& transport, const v1::ServerBatch& batch) {
    if (transport.resumption() < fCurrent->resumption()) {
        return;
    }
    const bool isAlone = batch.messages_size() == 1 && batch.messages(0).has_hello_reply();
    if (!isAlone || !batch.messages(0).hello_reply().resumed() ||
        batch.messages(0).hello_reply().session_id() != sessionId()) {
        transport.cancel();
    } else {
        xContinueOn(transport, batch.messages(0).hello_reply());
    }
}

void ClientSession::xContinueOn(ClientTransport& transport, const v1::HelloReply& reply) {
    const auto isWritten = fOut.resume(transport.outlet(), reply.received());
    if (!isWritten) {
        xLose({KVError::Cause::ConnectionLost, "the robot has not received what was sent"});
        xCancel();
        return;
    }
    std::shared_ptr<ClientTransport> former;
    {
        const std::lock_guard lock(fMutex);
        former = std::exchange(
            fCurrent, *std::find_if(fTransports.begin(), fTransports.end(),
                                    [&](const auto& each) { return each.get() == &transport; }));
        fEndOfCurrent.reset();
        for (Listener* listener : fListeners) {
            listener->linkResumed(transport.resumption());
        }
    }
    if (*isWritten) {
        transport.endWriting();
    }
    if (former->outlet()->close()) {
        former->endWriting();
    }
    former->cancel();
    xHear();
}

/** Returns the loss if the end of a transport is the end of the session. */
std::optional<Failure> ClientSession::xLossAtEndOf(ClientTransport& transport,
                                                   const grpc::Status& status) {
    const EndOfRpc end = decodeStatus(status, transport.context(), v1::Error::PROTOCOL_VERSION);
    const std::lock_guard lock(fMutex);
    transport.setOver();  // before the check, since others may end at the same time
    if (&transport == fCurrent.get()) {
        if (!fHello) {
            return xHelloFailure(status, end);
        }
        fEndOfCurrent = xSessionFailure(end);
    } else if (transport.resumption() < fCurrent->resumption()) {
        return std::nullopt;
    }
    const bool hasOthers =
        std::any_of(fTransports.begin(), fTransports.end(), [this](const auto& each) {
            return !each->isOver() && each->resumption() > fCurrent->resumption();
        });
    if (hasOthers || fEndOfCurrent) {
        return hasOthers ? std::nullopt : fEndOfCurrent;
    }
    const bool isRefusal = end.fCause == v1::Error::NOT_AUTHORISED ||
                           end.fCause == v1::Error::TOKEN_MISSING ||
                           end.fCause == v1::Error::TOKEN_WRONG;
    // An attempt is also refused when the former connection has returned, and acknowledged more.
    if (!isRefusal || !fIsSilent) {
        return std::nullopt;
    }
    return Failure{KVError::Cause::ConnectionLost, "the robot has ended the session"};
}

/** Destroys former transports and failed attempts; on the timer thread. */
void ClientSession::xDestroyEnded() {
    std::vector<std::shared_ptr<ClientTransport>> ended;
    const std::lock_guard lock(fMutex);
    const auto from =
        std::partition(fTransports.begin(), fTransports.end(),
                       [this](const auto& each) { return each == fCurrent || !each->hasEnded(); });
    ended.assign(std::make_move_iterator(from), std::make_move_iterator(fTransports.end()));
    fTransports.erase(from, fTransports.end());
}

}  // namespace robaxi

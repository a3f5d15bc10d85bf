#ifndef ROBAXI_CLIENT_STREAM_H
#define ROBAXI_CLIENT_STREAM_H

#include "client/client_session.h"
#include "error_sentences.h"
#include "task_pool.h"
#include "wire/grpc_handover.h"
#include "wire/status_codec.h"
#include "wire/write_gate.h"

#include <grpcpp/grpcpp.h>

#include <algorithm>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

namespace robaxi {

/**
 * Base of the client's ends of all streams beside the session: they end with the link, with the
 * stream's status or with stop(), and report the end to the callback on their strand.
 *
 * When the session continues on another connection, the stream is started again there, after the
 * call on the former one has ended. The callbacks do not notice.
 *
 * Interface is Stream or derived from it. A derived class calls stop() in its destructor.
 */
template <class Interface, class Request, class Update>
class ClientStream : public Interface,
                     public std::enable_shared_from_this<ClientStream<Interface, Request, Update>>,
                     protected grpc::ClientBidiReactor<Request, Update>,
                     private Link::Listener {
  public:
    ClientStream(const ClientStream&) = delete;
    ClientStream& operator=(const ClientStream&) = delete;

    void stop() final {
        {
            const std::lock_guard lock(fMutex);
            fIsStopped = true;
            if (!fCall) {
                return;
            }
        }
        fSession->removeListener(this);
        fStrand->close();
        // No task of the strand starts another call any more.
        const auto call = xCall();
        xEndWhen(call->fGate.close());
        call->fContext.TryCancel();
        std::unique_lock lock(fMutex);
        fDone.wait(lock, [this] { return !fIsActive; });
    }

  protected:
    ClientStream(const std::shared_ptr<Runtime>& runtime, std::shared_ptr<ClientSession> session,
                 Target target)
        : fSession(std::move(session)),
          fTarget(std::move(target)),
          fStrand(Strand::create(runtime->fNotices)) {}

    /**
     * Prepares the call, with its first request. Called first by xStart(), later on the strand.
     *
     * @param context of the call
     */
    virtual void xOpen(ClientTransport& transport, grpc::ClientContext* context) = 0;
    /** Fills in the next request; returns false if there is none. Called with fMutex locked. */
    virtual bool xTakeRequest(Request& request) = 0;
    /** Returns the cause of the status NOT_FOUND if the robot sends no details. */
    virtual v1::Error::Cause xNotFound() const = 0;
    /** Handles fUpdate, on gRPC's thread; it or its posted task calls xRead() again. */
    virtual void xReceived() = 0;
    /** Reports the end to the callback; on the strand. */
    virtual void xTellEnd(const KVError& error) = 0;

    /** Starts the stream. */
    void xStart() {
        xStartCall();
        const auto loss = fSession->addListener(this);
        if (loss) {
            xFail(*loss);
            return;
        }
        // It may have been resumed before.
        linkResumed(fSession->transport()->resumption());
    }

    /** Sends the next request, now or when the last one has been written. */
    void xWrite() {
        const auto call = xCall();
        if (call->fGate.enter()) {
            xWriteInside(*call);
        }
    }

    void xRead() {
        giveToGrpc(&fUpdate);
        this->StartRead(&fUpdate);
    }

    /** Ends the stream with this reason, unless there already is one. */
    void xFail(const Failure& failure) {
        {
            const std::lock_guard lock(fMutex);
            if (!fFailure) {
                fFailure = failure;
            }
            if (!fIsActive) {
                xReportEnd();
            }
        }
        xCall()->fContext.TryCancel();
    }

    /**
     * Runs an operation of the derived class on the strand, unless the stream has been destroyed.
     */
    template <class Stream>
    void xPost(void (Stream::*operation)()) {
        fStrand->post([weak = this->weak_from_this(), operation] {
            if (const auto self = weak.lock()) {
                (static_cast<Stream&>(*self).*operation)();
            }
        });
    }

    const std::shared_ptr<ClientSession> fSession;
    const Target fTarget;
    const std::shared_ptr<Strand> fStrand;
    Update fUpdate;  // owned by gRPC while a read is in flight

    std::mutex fMutex;
    bool fIsStopped = false;

  private:
    /** State of one of the stream's calls. */
    struct Call {
        explicit Call(std::uint64_t resumption) : fResumption(resumption) {}

        const std::uint64_t fResumption;  // of the session
        grpc::ClientContext fContext;
        WriteGate fGate;
    };

    // gRPC's names; the check does not see that they override, since the base depends on a
    // template.
    // NOLINTBEGIN(readability-identifier-naming)
    void OnReadDone(bool ok) final {
        const GrpcReaction reaction(this);
        takeFromGrpc(&fUpdate);
        if (ok) {
            xReceived();
        } else {
            xEndWhen(xCall()->fGate.close());
        }
    }

    void OnWriteDone(bool /*ok*/) final {
        const GrpcReaction reaction(this);
        takeFromGrpc(&fRequest);
        if (xCall()->fGate.leave()) {
            xEndWhen(true);
        } else {
            xWrite();
        }
    }

    void OnDone(const grpc::Status& status) final {
        takeFromGrpc(this);
        // Not owned here: the last owner of a call releases its channel, which a thread of gRPC
        // must not do. It stays until the lock below is released.
        const Call* const call = xCall().get();
        const EndOfRpc end = decodeStatus(status, call->fContext, xNotFound());
        const bool waitsForLink = xMayBeCutOff(end, call->fResumption);
        const std::lock_guard lock(fMutex);
        const bool isFormer = fLastResumption > call->fResumption;
        if (!fFailure && !isFormer && !waitsForLink) {
            fFailure = end.fFailure;
        }
        fIsActive = false;
        if (fFailure) {
            xReportEnd();
        } else if (isFormer) {
            xPost(&ClientStream::xStartAgain);
        }
        fDone.notify_all();
    }
    // NOLINTEND(readability-identifier-naming)

    void linkLost(const Failure& loss) final { xFail(loss); }

    /** Ends the call on the former connection, or starts the next one if it has ended already. */
    void linkResumed(std::uint64_t resumption) final {
        const auto call = xCall();
        {
            const std::lock_guard lock(fMutex);
            if (resumption <= std::max(fLastResumption, call->fResumption)) {
                return;
            }
            fLastResumption = resumption;
            if (!fIsActive && !fFailure) {
                xPost(&ClientStream::xStartAgain);
            }
        }
        call->fContext.TryCancel();
    }

    /**
     * Returns true if a call may have ended with a connection that the session leaves: the link
     * then either is lost or continues on another one.
     */
    bool xMayBeCutOff(const EndOfRpc& end, std::uint64_t resumption) const {
        if (!fSession->canResume()) {
            return false;
        }
        const bool endedWithTheConnection =
            !end.fHasDetails &&
            (end.fCause == v1::Error::CONNECTION_LOST || end.fCause == v1::Error::CANCELLED);
        const bool namedTheFormerOne =
            end.fCause == v1::Error::NOT_AUTHORISED && fSession->mayHaveLeft(resumption);
        return endedWithTheConnection || namedTheFormerOne;
    }

    /** Called with fMutex locked. */
    void xReportEnd() {
        if (!std::exchange(fIsOver, true)) {
            xPost(&ClientStream::xEnded);
        }
    }

    std::shared_ptr<Call> xCall() {
        const std::lock_guard lock(fMutex);
        return fCall;
    }

    /** Writes the next request, after the gate has been entered. */
    void xWriteInside(Call& call) {
        {
            const std::lock_guard lock(fMutex);
            if (!xTakeRequest(fRequest)) {
                xEndWhen(call.fGate.leave());
                return;
            }
        }
        giveToGrpc(&fRequest);
        this->StartWrite(&fRequest);
    }

    void xStartCall() {
        const auto transport = fSession->transport();
        const auto call = std::make_shared<Call>(transport->resumption());
        call->fGate.enter();  // other threads write only after the first request
        {
            const std::lock_guard lock(fMutex);
            fCall = call;
            fIsActive = true;
        }
        xOpen(*transport, &call->fContext);
        this->AddHold();  // the callbacks' and the users' threads write and read
        xWriteInside(*call);
        xRead();
        this->StartCall();
    }

    /** Starts the stream on the session's present connection; on the strand. */
    void xStartAgain() {
        {
            const std::lock_guard lock(fMutex);
            if (fIsActive || fIsStopped || fFailure) {
                return;
            }
        }
        xStartCall();
        // The session may have moved again.
        bool isFormer = false;
        const auto call = xCall();
        {
            const std::lock_guard lock(fMutex);
            isFormer = fLastResumption > call->fResumption;
        }
        if (isFormer) {
            call->fContext.TryCancel();
        }
    }

    void xEnded() {
        std::optional<Failure> failure;
        {
            const std::lock_guard lock(fMutex);
            if (fIsStopped) {
                return;
            }
            failure = fFailure;
        }
        xTellEnd(describe(fTarget, *failure));
    }

    void xEndWhen(bool now) {
        if (now) {
            giveToGrpc(this);
            this->RemoveHold();
        }
    }

    Request fRequest;  // owned by gRPC while a write is in flight
    std::condition_variable fDone;

    // Guarded by fMutex:
    std::optional<Failure> fFailure;
    std::shared_ptr<Call> fCall;  // the newest
    bool fIsActive = false;       // it has not ended
    bool fIsOver = false;         // the end is reported
    std::uint64_t fLastResumption = 0;
};

}  // namespace robaxi

#endif

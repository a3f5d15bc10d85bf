#ifndef ROBAXI_CLIENT_STREAM_H
#define ROBAXI_CLIENT_STREAM_H

#include "client/client_session.h"
#include "error_sentences.h"
#include "task_pool.h"
#include "wire/grpc_handover.h"
#include "wire/status_codec.h"
#include "wire/write_gate.h"

#include <grpcpp/grpcpp.h>

#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

namespace robaxi {

/**
 * Base of the client's ends of all streams beside the session: they end with the link, with the
 * stream's status or with stop(), and report the end to the callback on their strand.
 *
 * Interface is Stream or derived from it. A derived class calls stop() in its destructor.
 */
template <class Interface, class Request, class Update>
class ClientStream : public Interface,
                     public std::enable_shared_from_this<ClientStream<Interface, Request, Update>>,
                     protected grpc::ClientBidiReactor<Request, Update>,
                     private Link::LossListener {
  public:
    ClientStream(const ClientStream&) = delete;
    ClientStream& operator=(const ClientStream&) = delete;

    void stop() final {
        {
            const std::lock_guard lock(fMutex);
            fIsStopped = true;
            if (!fIsStarted) {
                return;
            }
        }
        fSession->removeLossListener(this);
        fStrand->close();
        xEndWhen(fGate.close());
        fContext.TryCancel();
        std::unique_lock lock(fMutex);
        fDone.wait(lock, [this] { return fIsDone; });
    }

  protected:
    ClientStream(const std::shared_ptr<Runtime>& runtime, std::shared_ptr<ClientSession> session,
                 Target target)
        : fSession(std::move(session)),
          fTarget(std::move(target)),
          fStrand(Strand::create(runtime->fNotices)) {}

    /** Fills in the next request; returns false if there is none. Called with fMutex locked. */
    virtual bool xTakeRequest(Request& request) = 0;
    /** Returns the cause of the status NOT_FOUND if the robot sends no details. */
    virtual v1::Error::Cause xNotFound() const = 0;
    /** Handles fUpdate, on gRPC's thread; it or its posted task calls xRead() again. */
    virtual void xReceived() = 0;
    /** Reports the end to the callback; on the strand. */
    virtual void xTellEnd(const KVError& error) = 0;

    /** Starts the call, which was prepared with fContext and this; the first request is waiting. */
    void xStart() {
        this->AddHold();  // the callbacks' and the users' threads write and read
        {
            const std::lock_guard lock(fMutex);
            fIsStarted = true;
        }
        xWrite();
        xRead();
        this->StartCall();
        const auto loss = fSession->addLossListener(this);
        if (loss) {
            xFail(*loss);
        }
    }

    /** Sends the next request, now or when the last one has been written. */
    void xWrite() {
        {
            const std::lock_guard lock(fMutex);
            if (!fGate.enter()) {
                return;
            }
            if (!xTakeRequest(fRequest)) {
                xEndWhen(fGate.leave());
                return;
            }
        }
        giveToGrpc(&fRequest);
        this->StartWrite(&fRequest);
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
        }
        fContext.TryCancel();
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
    grpc::ClientContext fContext;
    Update fUpdate;  // owned by gRPC while a read is in flight

    std::mutex fMutex;
    bool fIsStopped = false;

  private:
    // gRPC's names; the check does not see that they override, since the base depends on a
    // template.
    // NOLINTBEGIN(readability-identifier-naming)
    void OnReadDone(bool ok) final {
        const GrpcReaction reaction(this);
        takeFromGrpc(&fUpdate);
        if (ok) {
            xReceived();
        } else {
            xEndWhen(fGate.close());
        }
    }

    void OnWriteDone(bool /*ok*/) final {
        const GrpcReaction reaction(this);
        takeFromGrpc(&fRequest);
        if (fGate.leave()) {
            xEndWhen(true);
        } else {
            xWrite();
        }
    }

    void OnDone(const grpc::Status& status) final {
        takeFromGrpc(this);
        {
            const std::lock_guard lock(fMutex);
            if (!fFailure) {
                fFailure = decodeStatus(status, fContext, xNotFound()).fFailure;
            }
        }
        xPost(&ClientStream::xEnded);
        const std::lock_guard lock(fMutex);
        fIsDone = true;
        fDone.notify_all();
    }
    // NOLINTEND(readability-identifier-naming)

    void linkLost(const Failure& loss) final { xFail(loss); }

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

    WriteGate fGate;
    Request fRequest;  // owned by gRPC while a write is in flight
    std::condition_variable fDone;
    std::optional<Failure> fFailure;  // guarded by fMutex, like the following two
    bool fIsStarted = false;
    bool fIsDone = false;
};

}  // namespace robaxi

#endif

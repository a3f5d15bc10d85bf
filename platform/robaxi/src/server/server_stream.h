#ifndef ROBAXI_SERVER_STREAM_H
#define ROBAXI_SERVER_STREAM_H

#include "server/server.h"
#include "timer_thread.h"
#include "wire/grpc_handover.h"
#include "wire/limits.h"
#include "wire/message_codec.h"
#include "wire/write_gate.h"

#include <robaxi/kv_error.h>
#include <robaxi/kv_module.h>

#include <boost/shared_ptr.hpp>
#include <grpcpp/grpcpp.h>

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

namespace robaxi {

/**
 * Base of the robot's ends of all streams beside the session.
 *
 * It reads requests until the client closes its side, and ends with the client, the session, the
 * module or the stream's own last update. The server owns it until OnDone().
 */
template <class Request, class Update>
class ServerStream : public grpc::ServerBidiReactor<Request, Update>, public SideStream {
  public:
    ServerStream(const ServerStream&) = delete;
    ServerStream& operator=(const ServerStream&) = delete;

    void start() {
        giveToGrpc(&fContext);
        xRead();
        // A stream without a request is ended like a silent session.
        fPump.startAt(TimerThread::Clock::now() + limits::silenceOfClient(fServer.limits()));
    }

    void cancel() final { fContext->TryCancel(); }

    void moduleRemoved(const std::string& name) final {
        {
            const std::lock_guard lock(fMutex);
            if (fModule != name) {
                return;
            }
        }
        xEnd(KVError::Cause::NoSuchModule, "the robot has ended it");
    }

    void OnReadDone(bool ok) final {
        const GrpcReaction reaction(this);
        takeFromGrpc(&fRequest);
        if (!ok) {
            xFinishWhen(fGate.close());
            return;
        }
        xHandle();
        xWake();
        xRead();
    }

    void OnCancel() final {
        const GrpcReaction reaction(this);
        takeFromGrpc(&fContext);
        xFinishWhen(fGate.close());
    }

    void OnDone() final {
        takeFromGrpc(this);
        xLeave();
        fPump.stop();
        fServer.streamEnded(this);
    }

  protected:
    ServerStream(Server& server, grpc::CallbackServerContext* context)
        : fServer(server), fContext(context), fPump(server.timers(), [this] { xPump(); }) {}

    /** Handles fRequest. */
    virtual void xHandle() = 0;
    /** Sends pending data, if any; on the timer thread. */
    virtual void xPump() = 0;
    /** Stops watching and observing. */
    virtual void xLeave() = 0;

    /**
     * Adds the stream to its session and finds its module.
     *
     * @return the module; or null after setting the reason for the end of the stream
     */
    boost::shared_ptr<KVModule> xJoin(std::uint64_t sessionId, const std::string& module) {
        if (const auto refusal = fServer.joinSession(this, sessionId)) {
            xEnd(refusal->fCause, refusal->fDetail);
            return nullptr;
        }
        fServer.welcome(fContext->peer());
        {
            // Before the lookup of the module: if it is removed afterwards, moduleRemoved() handles
            // it.
            const std::lock_guard lock(fMutex);
            fModule = module;
        }
        auto found = fServer.modules()->find(module);
        if (!found) {
            xEnd(KVError::Cause::NoSuchModule, {});
        }
        return found;
    }

    void xWake() { fPump.startAt(TimerThread::Clock::now()); }

    /** Sends the reason for the end as the last update. */
    void xEnd(KVError::Cause cause, const std::string& text) {
        {
            const std::lock_guard lock(fMutex);
            if (!fEnding) {
                encodeError(cause, text, &fEnding.emplace());
            }
        }
        xWake();
    }

    void xFinishWhen(bool now) {
        if (now) {
            giveToGrpc(this);
            this->Finish(grpc::Status::OK);
        }
    }

    void xStartWrite() {
        giveToGrpc(&fUpdate);
        this->StartWrite(&fUpdate);
    }

    Server& fServer;
    Request fRequest;
    Update fUpdate;
    WriteGate fGate;

    std::mutex fMutex;
    std::optional<v1::Error> fEnding;  // guarded by fMutex

  private:
    void xRead() {
        giveToGrpc(&fRequest);
        this->StartRead(&fRequest);
    }

    grpc::CallbackServerContext* const fContext;
    std::string fModule;  // guarded by fMutex

  protected:
    Timer fPump;  // stopped before the other members are destroyed
};

}  // namespace robaxi

#endif

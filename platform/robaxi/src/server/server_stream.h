#ifndef ROBAXI_SERVER_STREAM_H
#define ROBAXI_SERVER_STREAM_H

#include "server/byte_stream.h"
#include "server/server.h"
#include "timer_thread.h"
#include "wire/limits.h"
#include "wire/message_codec.h"
#include "wire/raw_message.h"
#include "wire/write_gate.h"

#include <robaxi/kv_error.h>
#include <robaxi/kv_module.h>

#include <grpcpp/grpcpp.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

namespace robaxi {

/**
 * Base of the robot's ends of all streams beside the session.
 *
 * It reads requests until the client closes its side. It ends with the client, the session or the
 * module, or when the derived class ends it. The server owns it until OnDone().
 */
template <class Request>
class ServerStream : public ByteStream, public SideStream {
  public:
    ServerStream(const ServerStream&) = delete;
    ServerStream& operator=(const ServerStream&) = delete;

    void start() {
        giveToGrpc(&fContext);
        xRead();
        // A stream without a request is ended like a silent session.
        fPump.startAt(TimerThread::Clock::now() + limits::timeForFirstMessage(fServer.limits()));
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
        takeFromGrpc(&fIncoming);
        if (!ok) {
            xFinishWhen(fGate.close());
            return;
        }
        if (!readMessage(fIncoming, &fRequest)) {
            xEnd(KVError::Cause::InvalidArgument, "a request that cannot be read");
            return;
        }
        xHandle();
        if (!xHasStarted()) {
            xEnd(KVError::Cause::InvalidArgument, "the first request has no start");
        }
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
        : ByteStream(context), fServer(server), fPump(server.timers(), [this] { xPump(); }) {}

    /** Handles fRequest. */
    virtual void xHandle() = 0;
    /** Sends pending data, if any; on the timer thread. */
    virtual void xPump() = 0;
    /** Stops watching and observing. */
    virtual void xLeave() = 0;

    /**
     * Adds the stream to its session and finds its module.
     *
     * @param start v1::SubscriptionStart or v1::WatchStart
     * @return the module; or null after setting the reason for the end of the stream
     */
    template <class Start>
    std::shared_ptr<KVModule> xJoin(const Start& start) {
        {
            const std::lock_guard lock(fMutex);
            fHasStarted = true;
        }
        if (const auto refusal =
                fServer.joinSession(this, start.session_id(), start.resumption())) {
            xEnd(refusal->fCause, refusal->fDetail);
            return nullptr;
        }
        fServer.welcome(fContext->peer());
        {
            // Before the lookup of the module: if it is removed afterwards, moduleRemoved() handles
            // it.
            const std::lock_guard lock(fMutex);
            fModule = start.module();
        }
        auto found = fServer.modules()->find(start.module());
        if (!found) {
            xEnd(KVError::Cause::NoSuchModule, {});
        }
        return found;
    }

    void xWake() { fPump.startAt(TimerThread::Clock::now()); }

    /** Ends the stream with this reason, unless there already is one; on the timer thread. */
    void xEnd(KVError::Cause cause, const std::string& text) {
        {
            const std::lock_guard lock(fMutex);
            if (!fEnding) {
                encodeError(cause, text, &fEnding.emplace());
            }
        }
        xWake();
    }

    /** Ends the stream, or lets the end of a write do that, if there is a reason to end it. */
    bool xEndsNow() {
        {
            const std::lock_guard lock(fMutex);
            if (!fHasStarted && !fEnding) {
                encodeError(KVError::Cause::TimedOut, "no request came in time",
                            &fEnding.emplace());
            }
            if (!fEnding) {
                return false;
            }
        }
        xFinishWhen(fGate.close());
        return true;
    }

    void xStartWrite() {
        giveToGrpc(&fUpdate);
        StartWrite(&fUpdate);
    }

    Server& fServer;
    Request fRequest;
    grpc::ByteBuffer fUpdate;
    WriteGate fGate;

  private:
    bool xHasStarted() {
        const std::lock_guard lock(fMutex);
        return fHasStarted;
    }

    std::string fModule;  // guarded by fMutex, like the following one
    bool fHasStarted = false;

  protected:
    Timer fPump;  // stopped before the other members are destroyed
};

}  // namespace robaxi

#endif

#ifndef ROBAXI_SERVER_SESSION_H
#define ROBAXI_SERVER_SESSION_H

#include "hosted_modules.h"
#include "robaxi/v1/robaxi.grpc.pb.h"
#include "server/session_stream.h"
#include "task_pool.h"
#include "timer_thread.h"
#include "wire/fragment_assembler.h"
#include "wire/write_queue.h"

#include <grpcpp/grpcpp.h>

#include <atomic>
#include <chrono>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>

namespace robaxi {

class Server;

/**
 * The robot's end of one session: answers the heartbeat on gRPC's thread and runs methods on the
 * broker's threads.
 *
 * It stops reading while too many calls wait for a thread, or too much data waits to be sent. It
 * then sends heartbeats with the number 0, since the client's own wait behind its calls. Reading
 * resumes only at the end of a write, where gRPC keeps the stream alive.
 *
 * A client whose connection does not answer any more resumes its session on another one: the
 * session then leaves its stream for the new one, whose own session is given up.
 *
 * The server owns it until its stream has ended; running calls own it longer, and their results are
 * dropped.
 */
class ServerSession : public std::enable_shared_from_this<ServerSession> {
  public:
    /** @param stream its first one, which is owned by the server */
    ServerSession(Server& server, SessionStream* stream, std::uint64_t id);
    ~ServerSession();
    ServerSession(const ServerSession&) = delete;
    ServerSession& operator=(const ServerSession&) = delete;

    std::uint64_t id() const { return fId; }
    /** Returns the client's address, without its port. */
    const std::string& peerAddress() const { return fPeerAddress; }

    /** Returns true if it used much of the process's memory. */
    bool hasKeptMuch() const { return fHasKeptMuch; }

    /** Starts serving; `admitted` is false for a session beyond the limit, which is refused. */
    void start(bool admitted);

    /**
     * Returns the number of heartbeats during which nothing was received; 0 if they are too few for
     * giveWay().
     */
    int silence();
    /**
     * Ends soon, for a new client while there is room for no more sessions.
     *
     * @return false if it is not silent, or gives way to another client already
     */
    bool giveWay();

    /** Returns the resumption with which streams beside the session have to name it. */
    std::uint64_t resumption();
    /**
     * Leaves the stream for another one, on which a client has sent `hello`.
     *
     * @return false if it refuses; then nothing has changed
     */
    bool moveTo(SessionStream& stream, const v1::Hello& hello);

    /**
     * @name Events of a stream, on threads of gRPC. Those of a stream that the session has left
     * only end that stream.
     */
    ///@{
    void received(SessionStream& stream, grpc::ByteBuffer& bytes);
    void written(SessionStream& stream, bool ok);
    void streamClosed(SessionStream& stream);
    void streamEnded(SessionStream& stream);
    ///@}

  private:
    /** A call that waits for its method. */
    struct Work {
        Work(v1::Call call, bool packs) : fId(call.call_id()), fCall(std::move(call), packs) {}

        const std::uint64_t fId;
        WaitingMessage<v1::Call> fCall;
        bool fIsCancelled = false;
    };
    using WorkPtr = std::shared_ptr<Work>;

    bool xUses(const SessionStream& stream);
    void xTakeBatch(grpc::ByteBuffer& bytes);
    void xHandleBatch();
    bool xMayHandle();
    bool xHasRoomForCall() const;
    bool xHasRoomForResult() const;
    void xResume();
    void xKeepAwake();
    void xHandle(v1::ClientMessage& message);
    void xHandleHello(const v1::Hello& hello);
    void xCheckToken(const v1::Hello& hello);
    void xCheckHeldHello();
    void xAccept(const v1::Hello& hello);
    void xResumeAnother(const v1::Hello& hello);
    v1::HelloReply xReply() const;
    std::chrono::milliseconds xLongestSilence() const;
    void xAcknowledge(std::size_t bytes);
    void xRefuse(v1::Error::Cause cause, const std::string& text = std::string());
    void xHandleCall(v1::Call&& call);
    void xHandleCancel(std::uint64_t callId);
    void xHandleListModules(const v1::ListModules& question);
    void xPostRun();
    void xRunNext();
    WorkPtr xTakeNext();
    void xRun(const v1::Call& call);
    void xUnpark(std::size_t most);
    bool xEnd(v1::Error::Cause cause, const std::string& text);
    void xFinish(SessionStream& stream);
    void xCheckSilence();
    void xEndSilent(v1::Error::Cause cause, const std::string& text);
    int xSilence() const;

    Server& fServer;  // not to be used in a call: it may be destroyed while a method runs
    const std::shared_ptr<HostedModules> fModules;
    const std::shared_ptr<TaskPool> fCallPool;
    const std::uint64_t fId;
    const std::string fPeerAddress;
    const KVSettings::Limits fLimits;
    WriteQueue<v1::ServerBatch, v1::ServerMessage> fOut;

    /** Held while a batch is handled and while the session moves. */
    std::mutex fReceiveMutex;
    v1::ClientBatch fBatch;  // that was received
    int fNextOfBatch = 0;
    std::uint64_t fReceived = 0;  // number of the last batch
    std::size_t fUnacknowledged = 0;
    std::string fClientName;
    bool fCanResume = false;
    bool fHasMoved = false;  // its stream now belongs to another session
    FragmentAssembler<v1::ClientMessage> fAssembler;
    v1::Hello fHeldHello;
    bool fIsAdmitted = false;
    bool fIsRefused = false;

    std::mutex fMutex;
    SessionStream* fStream;  // changed with fReceiveMutex held, too
    std::uint64_t fResumption = 0;
    std::deque<WorkPtr> fWaiting;
    std::unordered_map<std::uint64_t, WorkPtr> fCalls;  // those in fWaiting that can be cancelled
    std::size_t fWaitingBytes = 0;
    std::size_t fParked = 0;   // runs of the pool that were skipped until results have been sent
    bool fHoldsHello = false;  // checks its token later
    bool fIsPaused = false;    // reads nothing, so that the client's calls wait in the network
    bool fHasHello = false;    // changed with fReceiveMutex held, too
    bool fGivesWay = false;
    bool fHasEnded = false;
    std::optional<v1::Error> fEnding;

    std::atomic<bool> fHasKeptMuch{false};
    std::atomic<int> fSilentHeartbeats{0};
    Timer fSilence;
    Timer fHeldHelloTurn;
};

}  // namespace robaxi

#endif

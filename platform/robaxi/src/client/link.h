#ifndef ROBAXI_LINK_H
#define ROBAXI_LINK_H

#include "deadline.h"
#include "failure.h"
#include "net/security.h"
#include "robaxi/v1/robaxi.grpc.pb.h"
#include "runtime.h"
#include "wire/fragment_assembler.h"
#include "wire/write_queue.h"

#include <grpcpp/grpcpp.h>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace robaxi {

/** Identifies a proxy in its link, so that its calls can be ended together. */
struct CallOwner {
    bool fIsClosed = false;  // guarded by the link
};

/**
 * A broker's session with one robot: a channel and the session stream on it, shared by all proxies
 * and connections to the same address and port.
 *
 * Once lost it stays lost. It is created and destroyed on threads of the users or of the broker,
 * never on those of gRPC: the destructor waits for them.
 */
class Link : private grpc::ClientBidiReactor<v1::ClientBatch, v1::ServerBatch> {
  public:
    /**
     * Called once when the link is lost, on a thread of gRPC or of the timers, with the link's lock
     * held. It must only pass the notice on.
     */
    class LossListener {
      public:
        virtual ~LossListener() = default;
        virtual void linkLost(const Failure& loss) = 0;
    };

    /** Connects and sends the hello. @throws Failure */
    Link(std::shared_ptr<Runtime> runtime, const std::string& address, int port, Deadline deadline);
    ~Link() override;
    Link(const Link&) = delete;
    Link& operator=(const Link&) = delete;

    /**
     * Sends a call or a request for modules and waits for the robot's answer.
     *
     * @param message its call_id is set here
     * @throws Failure if there was no answer
     */
    v1::ServerMessage request(v1::ClientMessage message, CallOwner& owner, Deadline deadline);

    /**
     * Sends without waiting for an answer, at the latest before the link is destroyed.
     *
     * @throws Failure if it cannot be sent
     */
    void post(v1::ClientMessage message, const CallOwner& owner, Deadline deadline);

    /** Returns a number for each posted call: positive, and repeated only after 2^31 posts. */
    int nextTaskId();

    /** Ends the owner's calls in flight with Cancelled. */
    void cancel(const CallOwner& owner);
    /** Ends the owner's calls in flight and every later one with Cancelled. */
    void close(CallOwner& owner);

    /** Adds a listener and returns nothing, or, if the link is already lost, returns the reason. */
    std::optional<Failure> addLossListener(LossListener* listener);
    void removeLossListener(LossListener* listener);

    std::optional<Failure> loss() const;
    const KVSettings::Limits& limits() const { return fLimits; }
    std::string peerName() const;
    std::uint64_t sessionId() const;
    /** Returns the round trip in seconds; negative before the first heartbeat came back. */
    double roundTrip() const { return fRoundTrip; }
    /**
     * @name For streams beside the session. They must have ended before the link is destroyed.
     */
    ///@{
    v1::Robaxi::Stub& stub() { return *fStub; }
    /** Prepares a stream of bytes for a method of the protocol. */
    void prepareStream(grpc::ClientContext* context, const std::string& method,
                       grpc::ClientBidiReactor<grpc::ByteBuffer, grpc::ByteBuffer>* reactor);
    ///@}

  private:
    struct PendingCall {
        explicit PendingCall(const CallOwner& owner) : fOwner(&owner) {}

        const CallOwner* fOwner;
        std::condition_variable fEnded;
        std::optional<Failure> fFailure;
        v1::ServerMessage fAnswer;
        bool fHasEnded = false;
    };

    void OnReadDone(bool ok) override;
    void OnWriteDone(bool ok) override;
    void OnDone(const grpc::Status& status) override;

    void xRead();
    void xSayHello();
    void xAwaitHello(Deadline deadline);
    void xSendTheRest();
    void xEndStream();
    void xEndWhen(bool now);
    bool xReceive(v1::ServerMessage& message);
    void xHandle(v1::ServerMessage& message);
    void xHandleHello(const v1::HelloReply& reply);
    void xHandleAnswer(std::uint64_t callId, v1::ServerMessage& answer);
    void xHandleHeartbeat(std::uint64_t number);
    void xBeat();
    void xLose(const Failure& failure);
    void xAwaitRoom(Deadline deadline);
    std::uint64_t xRegister(PendingCall& call);
    void xCheckOpen(const CallOwner& owner) const;
    void xCancelPending(const CallOwner& owner);
    void xSendCancel(std::uint64_t callId);

    const std::shared_ptr<Runtime> fRuntime;
    const KVSettings::Limits fLimits;
    const ClientSecurity fSecurity;
    std::shared_ptr<grpc::Channel> fChannel;
    std::unique_ptr<v1::Robaxi::Stub> fStub;
    grpc::ClientContext fContext;
    WriteQueue<v1::ClientBatch, v1::ClientMessage> fOut;
    v1::ServerBatch fIncoming;
    FragmentAssembler<v1::ServerMessage> fAssembler;

    mutable std::mutex fMutex;
    std::condition_variable fStateChanged;
    std::optional<v1::HelloReply> fHello;
    std::optional<Failure> fLoss;
    bool fIsDone = false;
    std::unordered_map<std::uint64_t, PendingCall*> fPending;
    std::uint64_t fLastCallId = 0;
    std::vector<LossListener*> fLossListeners;

    std::atomic<std::uint32_t> fLastTaskId{0};
    std::atomic<bool> fHasPosted{false};  // only the destructor waits for posted calls
    std::atomic<int> fSilentHeartbeats{0};
    std::atomic<double> fRoundTrip{-1};
    std::uint64_t fHeartbeatNumber = 0;  // guarded by fMutex, like the next member
    Clock::time_point fHeartbeatSent;
    std::chrono::milliseconds fHeartbeatPeriod;  // set once, before the first one
    Timer fHeartbeat;
};

}  // namespace robaxi

#endif

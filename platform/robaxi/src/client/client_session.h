#ifndef ROBAXI_CLIENT_SESSION_H
#define ROBAXI_CLIENT_SESSION_H

#include "engine.h"
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

/** A channel to one robot and the session stream on it. */
class ClientSession : public Link,
                      public std::enable_shared_from_this<ClientSession>,
                      private grpc::ClientBidiReactor<v1::ClientBatch, v1::ServerBatch> {
  public:
    /** Connects and sends the hello. @throws Failure */
    ClientSession(std::shared_ptr<Runtime> runtime, const std::string& address, int port,
                  Deadline deadline);
    ~ClientSession() override;
    ClientSession(const ClientSession&) = delete;
    ClientSession& operator=(const ClientSession&) = delete;

    std::vector<KVModuleInfo> listModules(const Target& target, CallOwner& owner,
                                          Deadline deadline) override;
    KVValue call(const Target& target, const KVValue::List& arguments, CallOwner& owner,
                 Deadline deadline) override;
    int post(const Target& target, const KVValue::List& arguments, const CallOwner& owner,
             Deadline deadline) override;
    void cancel(const CallOwner& owner) override;
    void close(CallOwner& owner) override;

    std::optional<Failure> addLossListener(LossListener* listener) override;
    void removeLossListener(LossListener* listener) override;
    std::optional<Failure> loss() const override;

    std::string peerName() const override;
    double roundTrip() const override { return fRoundTrip; }

    std::shared_ptr<ValueStream> subscribe(const Target& target,
                                           KVSubscription::Selection selection,
                                           const std::vector<std::string>& names, double rate,
                                           KVSubscription::Callbacks callbacks) override;
    std::shared_ptr<Stream> watch(const Target& target, const std::string& camera,
                                  KVFrameStream::Callbacks callbacks) override;

    /** @name For streams beside the session */
    ///@{
    std::uint64_t sessionId() const;
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

    /**
     * Sends a call or a request for modules, sets its call_id, and waits for the robot's answer.
     *
     * @throws Failure if there was no answer
     */
    v1::ServerMessage xRequest(v1::ClientMessage message, CallOwner& owner, Deadline deadline);
    /** Sends without waiting for an answer. @throws Failure if it cannot be sent */
    void xPost(v1::ClientMessage message, const CallOwner& owner, Deadline deadline);
    /** Returns a number for each posted call: positive, and repeated only after 2^31 posts. */
    int xNextTaskId();

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
    std::uint64_t xRegister(const std::shared_ptr<PendingCall>& call);
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
    std::unordered_map<std::uint64_t, std::shared_ptr<PendingCall>> fPending;
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

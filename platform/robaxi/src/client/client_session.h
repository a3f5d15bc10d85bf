#ifndef ROBAXI_CLIENT_SESSION_H
#define ROBAXI_CLIENT_SESSION_H

#include "client/client_transport.h"
#include "engine.h"
#include "net/return_probe.h"
#include "net/security.h"
#include "net/socket_address.h"
#include "robaxi/v1/robaxi.grpc.pb.h"
#include "runtime.h"
#include "wire/fragment_assembler.h"
#include "wire/status_codec.h"
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

/**
 * The client's end of one session.
 *
 * When the robot is silent, it tries further connections, and continues on the first one on which
 * the robot resumes the session. The former one is then closed.
 */
class ClientSession : public Link,
                      public std::enable_shared_from_this<ClientSession>,
                      private ClientTransport::Owner {
  public:
    /** Connects and sends the hello. @throws Failure */
    ClientSession(std::shared_ptr<Runtime> runtime, const Place& place, Deadline deadline);
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

    std::optional<Failure> addListener(Listener* listener) override;
    void removeListener(Listener* listener) override;
    std::optional<Failure> loss() const override;
    bool isSilent() const override { return fIsSilent; }
    double silence() const override;

    std::string address() const override { return fListener.host(); }
    bool isAt(const std::string& address) const override;
    std::string peerName() const override;
    double roundTrip() const override { return fRoundTrip; }

    std::shared_ptr<ValueStream> subscribe(const Target& target,
                                           KVSubscription::Selection selection,
                                           const std::vector<std::string>& names, double rate,
                                           KVSubscription::Callbacks callbacks) override;
    std::shared_ptr<PictureStream> watch(const Target& target, const std::string& camera,
                                         KVFrameStream::Callbacks callbacks) override;

    /** @name For streams beside the session */
    ///@{
    std::uint64_t sessionId() const;
    /** Returns the transport that the session uses now. */
    std::shared_ptr<ClientTransport> transport() const;
    /** Returns true if the robot keeps the session of a silent client. */
    bool canResume() const { return fCanResume; }
    /**
     * Returns true if the robot may have moved the session from the transport with this resumption
     * to another one, and therefore refuses streams that name the former.
     */
    bool mayHaveLeft(std::uint64_t resumption) const;
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

    void received(ClientTransport& transport, grpc::ByteBuffer& bytes) override;
    bool written(ClientTransport& transport, bool ok) override;
    void ended(ClientTransport& transport, const grpc::Status& status) override;

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

    std::shared_ptr<ClientTransport> xOpen(std::uint64_t resumption);
    v1::Hello xHello() const;
    void xAwaitHello(Deadline deadline);
    void xSendTheRest();
    void xEndStreams();
    void xCancel();
    void xEndWriting(bool now);
    void xHandleBatch(v1::ServerBatch& batch);
    void xHandle(v1::ServerMessage& message);
    void xHandleHello(const v1::HelloReply& reply);
    void xHandleAnswer(std::uint64_t callId, v1::ServerMessage& answer);
    void xHandleHeartbeat(const v1::Heartbeat& heartbeat);
    void xBeat();
    void xAcknowledge(std::size_t bytes);
    void xHear();
    void xBeSilent();
    void xLose(const Failure& failure);
    static Failure xSessionFailure(const EndOfRpc& end);
    Failure xHelloFailure(const grpc::Status& status, const EndOfRpc& end) const;

    /** @name Resuming */
    ///@{
    void xTryToResume();
    void xPollProbe();
    void xStartAttempt();
    void xHandleAttempt(ClientTransport& transport, const v1::ServerBatch& batch);
    void xContinueOn(ClientTransport& transport, const v1::HelloReply& reply);
    std::optional<Failure> xLossAtEndOf(ClientTransport& transport, const grpc::Status& status);
    std::size_t xCountAttempts() const;
    void xDestroyEnded();
    ///@}
    std::uint64_t xRegister(const std::shared_ptr<PendingCall>& call);
    void xCheckOpen(const CallOwner& owner) const;
    void xCancelPending(const CallOwner& owner);
    void xSendCancel(std::uint64_t callId);

    const std::shared_ptr<Runtime> fRuntime;
    const KVSettings::Limits fLimits;
    const ClientSecurity fSecurity;
    SocketAddress fListener;
    WriteQueue<v1::ClientBatch, v1::ClientMessage> fOut;

    /** Held while a batch is handled, since two transports may receive at the same time. */
    std::mutex fReceiveMutex;
    v1::ServerBatch fBatch;  // guarded by it, like the following two
    FragmentAssembler<v1::ServerMessage> fAssembler;
    std::size_t fUnacknowledged = 0;

    mutable std::mutex fMutex;
    std::condition_variable fStateChanged;
    /** The current one, attempts to resume, and former ones that have not ended. */
    std::vector<std::shared_ptr<ClientTransport>> fTransports;
    std::shared_ptr<ClientTransport> fCurrent;  // changed with fReceiveMutex held, too
    std::optional<Failure> fEndOfCurrent;       // not yet a loss, since attempts are open
    std::optional<v1::HelloReply> fHello;
    std::optional<Failure> fLoss;
    std::unordered_map<std::uint64_t, std::shared_ptr<PendingCall>> fPending;
    std::uint64_t fLastCallId = 0;
    std::vector<Listener*> fListeners;

    std::atomic<std::uint32_t> fLastTaskId{0};
    std::atomic<bool> fHasPosted{false};  // only the destructor waits for posted calls
    std::atomic<int> fSilentHeartbeats{0};
    std::atomic<bool> fIsSilent{false};
    std::atomic<bool> fCanResume{false};
    std::atomic<std::uint64_t> fReceived{0};  // number of the last batch
    std::atomic<Clock::time_point> fHeard;
    std::atomic<double> fRoundTrip{-1};
    std::uint64_t fHeartbeatNumber = 0;  // guarded by fMutex, like the next member
    Clock::time_point fHeartbeatSent;
    std::chrono::milliseconds fHeartbeatPeriod;  // set once, before the first one

    // Used on the timer thread only:
    std::unique_ptr<ReturnProbe> fProbe;
    std::uint64_t fLastResumption = 0;
    Clock::time_point fNextAttempt;
    std::chrono::milliseconds fBetweenAttempts{};

    Timer fHeartbeat;
    Timer fProbing;
};

}  // namespace robaxi

#endif

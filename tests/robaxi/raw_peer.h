#ifndef OBVISTA_TESTS_ROBAXI_RAW_PEER_H
#define OBVISTA_TESTS_ROBAXI_RAW_PEER_H

#include "robaxi/v1/robaxi.grpc.pb.h"

#include <grpcpp/grpcpp.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace robaxi_test {

namespace v1 = robaxi::v1;

/** A client that sends arbitrary messages, as a program in another language might. */
class RawClient {
  public:
    explicit RawClient(int port);
    ~RawClient();
    RawClient(const RawClient&) = delete;
    RawClient& operator=(const RawClient&) = delete;

    /** Sends hello and returns the answer, an empty one if the robot refuses it. */
    v1::HelloReply hello(std::uint32_t version = 1, bool takesFragments = false);
    v1::HelloReply hello(const v1::Hello& hello);

    bool send(const v1::ClientMessage& message);
    bool send(const v1::ClientBatch& batch) { return fSession->Write(batch); }

    /**
     * Receives the next message that is not a heartbeat; returns false if the robot has ended the
     * session.
     */
    bool receive(v1::ServerMessage& message);
    /** Waits for an unsolicited heartbeat; returns false if another message comes first. */
    bool receiveSignOfLife();
    /** Calls Echo.echo with one argument and returns the result. */
    v1::Result echo(const v1::Value& argument);
    /** Closes the sending side and waits for the end of the session. */
    grpc::Status finish();
    /** Returns the details of the session's status after finish(). */
    v1::Error details() const;

    v1::Robaxi::Stub& stub() { return *fStub; }

  private:
    std::unique_ptr<v1::Robaxi::Stub> fStub;
    grpc::ClientContext fContext;
    std::unique_ptr<grpc::ClientReaderWriter<v1::ClientBatch, v1::ServerBatch>> fSession;
    v1::ServerBatch fBatch;
    int fNext = 0;
    std::uint64_t fLastCallId = 0;
    bool fIsFinished = false;
};

/** A robot with arbitrary answers. */
class RawServer : private v1::Robaxi::Service {
  public:
    using SessionStream = grpc::ServerReaderWriter<v1::ServerBatch, v1::ClientBatch>;
    using SubscriptionStream =
        grpc::ServerReaderWriter<v1::SubscriptionUpdate, v1::SubscriptionRequest>;

    using WatchStream = grpc::ServerReaderWriter<v1::WatchUpdate, v1::WatchRequest>;

    /** Answers a message; does not answer if the function returns false. */
    using Answer = std::function<bool(const v1::ClientMessage&, v1::ServerMessage&)>;

    RawServer();
    ~RawServer() override;
    RawServer(const RawServer&) = delete;
    RawServer& operator=(const RawServer&) = delete;

    int port() const { return fPort; }

    /**
     * @name Set before a client connects; hello and heartbeats are answered correctly by default
     */
    ///@{
    v1::HelloReply fHelloReply;
    grpc::Status fSessionStatus;
    grpc::Status fStreamStatus;  // of subscriptions and watched cameras, unless they stay open
    std::optional<v1::Error> fDetails;  // of either status
    /** Returns the status with which an attempt to resume a session ends. */
    std::function<grpc::Status(SessionStream&)> fResumption;
    Answer fAnswer;
    std::function<void()> fHeartbeat;  // called at each
    std::function<void(SubscriptionStream&)> fSubscription;
    std::function<void(WatchStream&)> fWatch;
    ///@}

    /** @name Set what is sent on the streams that start from now on, also while others are open */
    ///@{
    void sendFrames(const std::vector<v1::WatchUpdate>& updates);
    void sendUpdates(const std::vector<v1::SubscriptionUpdate>& updates);
    ///@}

    /** Sessions are answered nothing while it is true. */
    std::atomic<bool> fIsSilent{false};

  private:
    grpc::Status Session(grpc::ServerContext* context, SessionStream* stream) override;
    grpc::Status Subscribe(grpc::ServerContext* context, SubscriptionStream* stream) override;
    grpc::Status Watch(grpc::ServerContext* context, WatchStream* stream) override;
    grpc::Status xEnd(grpc::ServerContext* context, const grpc::Status& status) const;
    bool xAnswer(const v1::ClientMessage& message, v1::ServerMessage& answer) const;
    template <class Stream, class Update>
    void xSend(Stream& stream, const std::vector<Update>& updates);

    std::unique_ptr<grpc::Server> fServer;
    int fPort = 0;
    std::mutex fMutex;
    std::vector<v1::WatchUpdate> fFrames;          // guarded by fMutex
    std::vector<v1::SubscriptionUpdate> fUpdates;  // guarded by fMutex
};

/** Returns the details of the status of an RPC that has ended; of cause INTERNAL without any. */
v1::Error detailsOf(const grpc::ClientContext& context);

v1::Value textValue(const std::string& text);
/** Returns lists nested `depth` deep. */
v1::Value nestedValue(int depth);

}  // namespace robaxi_test

#endif

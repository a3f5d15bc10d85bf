#ifndef OBVISTA_TOOLS_ROBAXI_CONFORM_WIRE_H
#define OBVISTA_TOOLS_ROBAXI_CONFORM_WIRE_H

#include "process/bell.h"
#include "process/interruption.h"

#include <robaxi/v1/robaxi.pb.h>

#include <grpcpp/generic/generic_stub.h>
#include <grpcpp/grpcpp.h>

#include <deque>
#include <memory>
#include <optional>
#include <set>
#include <string>

namespace robaxi_tool {

namespace v1 = robaxi::v1;

class Rpc;

/** The channel to a robot. It and its RPCs are used by one thread, which runs their events. */
class Wire {
  public:
    Wire(std::shared_ptr<grpc::Channel> channel, Interruption& interruption);
    ~Wire();
    Wire(const Wire&) = delete;
    Wire& operator=(const Wire&) = delete;

    /** Returns true if the channel is connected by the deadline. @throws Interrupted */
    bool connect(Clock::time_point deadline);

  private:
    friend class Rpc;

    /**
     * Waits for the next event and handles it, and sends what keepAlive() has set.
     *
     * @return false at the deadline
     * @throws Interrupted
     */
    bool xRunEvent(Clock::time_point deadline);
    /** The same, without signs of life and interruption. */
    bool xHandleEvent(Clock::time_point deadline);

    std::shared_ptr<grpc::Channel> fChannel;
    Interruption& fInterruption;
    grpc::GenericStub fStub;
    grpc::CompletionQueue fEvents;
    std::set<Rpc*> fRpcs;
};

/** The end of an RPC. */
struct End {
    grpc::StatusCode fCode = grpc::StatusCode::OK;
    std::string fMessage;
    /** The trailing metadata "robaxi-error-bin"; nothing if it is missing. */
    std::optional<std::string> fDetails;
};

/**
 * One RPC of any kind, as the bytes of its messages: a client that can break the rules. It reads
 * all the time, up to a bound.
 */
class Rpc {
  public:
    /**
     * Starts it.
     *
     * @param method for instance "/robaxi.v1.Robaxi/Session"
     * @param authorization content of the header of that name, if it is not empty
     */
    Rpc(Wire& wire, const std::string& method, const std::string& authorization = {});
    /** Cancels it. */
    ~Rpc();
    Rpc(const Rpc&) = delete;
    Rpc& operator=(const Rpc&) = delete;

    void sendBytes(const std::string& message);
    template <class Message>
    void send(const Message& message) {
        sendBytes(message.SerializeAsString());
    }
    /** Closes the sending side behind the messages. */
    void halfClose();
    /** Sends these bytes once in each period. */
    void keepAlive(std::string message, Clock::duration period);

    /** Returns the next message; nothing if the RPC has ended, or at the deadline. */
    std::optional<std::string> next(Clock::time_point deadline);
    /** Returns the end, or null if there is none at the deadline. Messages before it are kept. */
    const End* end(Clock::time_point deadline);

  private:
    friend class Wire;

    enum class Step { Start, Read, Write, Close, Finish };
    /** Tag of an event of gRPC. */
    struct Event {
        Rpc& fRpc;
        Step fStep;
        bool fIsPending = false;
    };

    void* xTag(Event& event);
    void xHandle(const Event& event, bool ok);
    void xWriteNext();
    void xReadNext();
    void xTakeEnd();

    Wire& fWire;
    grpc::ClientContext fContext;
    std::unique_ptr<grpc::GenericClientAsyncReaderWriter> fCall;
    Event fStart{*this, Step::Start};
    Event fRead{*this, Step::Read};
    Event fWrite{*this, Step::Write};
    Event fClose{*this, Step::Close};
    Event fFinish{*this, Step::Finish};
    grpc::ByteBuffer fIncoming;
    grpc::Status fStatus;
    std::deque<std::string> fOut;
    std::deque<std::string> fIn;
    std::size_t fInBytes = 0;
    bool fHasStarted = false;
    bool fClosesWhenSent = false;
    bool fIsCancelled = false;
    std::string fSign;  ///< of life
    Clock::duration fSignPeriod{};
    Clock::time_point fNextSign = Clock::time_point::max();
    std::optional<End> fEnd;
};

}  // namespace robaxi_tool

#endif

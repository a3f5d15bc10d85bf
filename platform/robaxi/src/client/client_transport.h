#ifndef ROBAXI_CLIENT_TRANSPORT_H
#define ROBAXI_CLIENT_TRANSPORT_H

#include "robaxi/v1/robaxi.grpc.pb.h"
#include "wire/outlet.h"

#include <grpcpp/grpcpp.h>

#include <cstdint>
#include <memory>
#include <string>

namespace robaxi {

/**
 * One connection of a session: a channel to the robot and the session stream on it.
 *
 * Owned by its session until the stream has ended, and destroyed on a thread that is not gRPC's.
 */
class ClientTransport : private grpc::ClientBidiReactor<grpc::ByteBuffer, grpc::ByteBuffer> {
  public:
    /** Receives the events of a transport, on threads of gRPC, one at a time for each transport. */
    class Owner {
      public:
        virtual ~Owner() = default;
        virtual void received(ClientTransport& transport, grpc::ByteBuffer& bytes) = 0;
        /** Returns true if the transport is to end its writing. */
        virtual bool written(ClientTransport& transport, bool ok) = 0;
        /** The last event. The transport may be destroyed when it has been marked as ended. */
        virtual void ended(ClientTransport& transport, const grpc::Status& status) = 0;
    };

    /** @param resumption of the session, 0 for its first transport */
    ClientTransport(Owner& owner, std::shared_ptr<grpc::Channel> channel, std::uint64_t resumption);
    ~ClientTransport() override;
    ClientTransport(const ClientTransport&) = delete;
    ClientTransport& operator=(const ClientTransport&) = delete;

    /** Sends the hello and starts to receive. */
    void start(const v1::Hello& hello);

    std::uint64_t resumption() const { return fResumption; }
    const std::shared_ptr<Outlet>& outlet() const { return fOutlet; }
    const grpc::ClientContext& context() const { return fContext; }
    /** @name Set by the owner in ended(), and guarded by it */
    ///@{
    /** True from the begin of ended() on. */
    bool isOver() const { return fIsOver; }
    void setOver() { fIsOver = true; }
    /** Set as the last access of that thread. */
    bool hasEnded() const { return fHasEnded; }
    void setEnded() { fHasEnded = true; }
    ///@}

    /** Ends the writing; called once, when the outlet says so. */
    void endWriting();
    /** Cancels the stream. */
    void cancel() { fContext.TryCancel(); }

    v1::Robaxi::Stub& stub() { return *fStub; }
    /** Prepares a stream of bytes for a method of the protocol, on the same connection. */
    void prepareStream(grpc::ClientContext* context, const std::string& method,
                       grpc::ClientBidiReactor<grpc::ByteBuffer, grpc::ByteBuffer>* reactor);

  private:
    void OnReadDone(bool ok) override;
    void OnWriteDone(bool ok) override;
    void OnDone(const grpc::Status& status) override;

    void xRead();

    Owner& fOwner;
    const std::shared_ptr<grpc::Channel> fChannel;
    const std::unique_ptr<v1::Robaxi::Stub> fStub;
    const std::uint64_t fResumption;
    grpc::ClientContext fContext;
    const std::shared_ptr<Outlet> fOutlet;
    grpc::ByteBuffer fIncoming;
    bool fIsOver = false;
    bool fHasEnded = false;
};

}  // namespace robaxi

#endif

#include "client/client_transport.h"

#include "net/channel_release.h"
#include "wire/grpc_handover.h"
#include "wire/raw_message.h"

#include <grpcpp/generic/generic_stub.h>

#include <utility>

namespace robaxi {

ClientTransport::ClientTransport(Owner& owner, std::shared_ptr<grpc::Channel> channel,
                                 std::uint64_t resumption)
    : fOwner(owner),
      fChannel(std::move(channel)),
      fStub(v1::Robaxi::NewStub(fChannel)),
      fResumption(resumption),
      fOutlet(
          std::make_shared<Outlet>([this](const grpc::ByteBuffer* bytes) { StartWrite(bytes); })) {
}

ClientTransport::~ClientTransport() {
    releaseChannel(fChannel);
}

void ClientTransport::start(const v1::Hello& hello) {
    v1::ClientBatch batch;
    *batch.add_messages()->mutable_hello() = hello;
    prepareStream(&fContext, "Session", this);
    AddHold();  // the users' threads write; released when nothing more will be written
    if (fOutlet->enter()) {
        fOutlet->write(writeMessage(batch));
    }
    xRead();
    StartCall();
}

void ClientTransport::endWriting() {
    // The robot reads up to this end before it ends the stream; cancelling the stream would
    // discard data that the robot has not read yet.
    giveToGrpc(this);
    StartWritesDone();
    RemoveHold();
}

void ClientTransport::prepareStream(
    grpc::ClientContext* context, const std::string& method,
    grpc::ClientBidiReactor<grpc::ByteBuffer, grpc::ByteBuffer>* reactor) {
    const std::string path = "/" + std::string(v1::Robaxi::service_full_name()) + "/" + method;
    grpc::GenericStub(fChannel).PrepareBidiStreamingCall(context, path, {}, reactor);
}

void ClientTransport::xRead() {
    giveToGrpc(&fIncoming);
    StartRead(&fIncoming);
}

void ClientTransport::OnReadDone(bool ok) {
    const GrpcReaction reaction(this);
    takeFromGrpc(&fIncoming);
    if (!ok) {
        if (fOutlet->close()) {
            endWriting();
        }
        return;
    }
    fOwner.received(*this, fIncoming);
    fIncoming.Clear();
    xRead();
}

void ClientTransport::OnWriteDone(bool ok) {
    const GrpcReaction reaction(this);
    if (fOwner.written(*this, ok)) {
        endWriting();
    }
}

void ClientTransport::OnDone(const grpc::Status& status) {
    takeFromGrpc(this);
    fOwner.ended(*this, status);
}

}  // namespace robaxi

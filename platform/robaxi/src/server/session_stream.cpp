#include "server/session_stream.h"

#include "server/server.h"
#include "server/server_session.h"
#include "wire/grpc_handover.h"

#include <utility>

namespace robaxi {

SessionStream::SessionStream(Server& server, grpc::CallbackServerContext* context)
    : ByteStream(context),
      fServer(server),
      fOutlet(
          std::make_shared<Outlet>([this](const grpc::ByteBuffer* bytes) { StartWrite(bytes); })) {
    giveToGrpc(&fContext);
}

SessionStream::~SessionStream() = default;

void SessionStream::setSession(std::shared_ptr<ServerSession> session) {
    const std::lock_guard lock(fMutex);
    fSession = std::move(session);
}

std::shared_ptr<ServerSession> SessionStream::xSession() {
    const std::lock_guard lock(fMutex);
    return fSession;
}

void SessionStream::finish(const std::optional<v1::Error>& error) {
    {
        const std::lock_guard lock(fMutex);
        fEnding = error;
    }
    xFinishWhen(true);
}

void SessionStream::OnReadDone(bool ok) {
    const GrpcReaction reaction(this);
    takeFromGrpc(&fIncoming);
    if (ok) {
        xSession()->received(*this, fIncoming);
    } else {
        xSession()->streamClosed(*this);
    }
}

void SessionStream::OnWriteDone(bool ok) {
    const GrpcReaction reaction(this);
    xSession()->written(*this, ok);
}

void SessionStream::OnCancel() {
    const GrpcReaction reaction(this);
    takeFromGrpc(&fContext);
    xSession()->streamClosed(*this);
}

void SessionStream::OnDone() {
    takeFromGrpc(this);
    const auto session = xSession();
    setSession(nullptr);
    session->streamEnded(*this);
    fServer.sessionStreamEnded(this);
}

}  // namespace robaxi

#ifndef ROBAXI_SESSION_STREAM_H
#define ROBAXI_SESSION_STREAM_H

#include "server/byte_stream.h"
#include "wire/outlet.h"

#include <grpcpp/grpcpp.h>

#include <memory>
#include <optional>

namespace robaxi {

class Server;
class ServerSession;

/**
 * The robot's end of one session stream: passes its events to the session that uses it.
 *
 * A session that is resumed moves to another stream. The server owns a stream until OnDone().
 */
class SessionStream : public ByteStream {
  public:
    SessionStream(Server& server, grpc::CallbackServerContext* context);
    ~SessionStream() override;
    SessionStream(const SessionStream&) = delete;
    SessionStream& operator=(const SessionStream&) = delete;

    const grpc::CallbackServerContext& context() const { return *fContext; }
    const std::shared_ptr<Outlet>& outlet() const { return fOutlet; }
    void setSession(std::shared_ptr<ServerSession> session);

    void read() { xRead(); }
    /** Ends the stream; called once, when the outlet says so. */
    void finish(const std::optional<v1::Error>& error);
    /** Cancels the stream, also while a write is in flight. */
    void cancel() { fContext->TryCancel(); }

    void OnReadDone(bool ok) override;
    void OnWriteDone(bool ok) override;
    void OnCancel() override;
    void OnDone() override;

  private:
    std::shared_ptr<ServerSession> xSession();

    Server& fServer;
    const std::shared_ptr<Outlet> fOutlet;
    std::shared_ptr<ServerSession> fSession;  // guarded by fMutex
};

}  // namespace robaxi

#endif

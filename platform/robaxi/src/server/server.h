#ifndef ROBAXI_SERVER_H
#define ROBAXI_SERVER_H

#include "engine.h"
#include "hosted_modules.h"
#include "net/connection_acceptor.h"
#include "net/security.h"
#include "robaxi/v1/robaxi.grpc.pb.h"
#include "runtime.h"
#include "server/expiry_warning.h"
#include "server/rpc_load.h"
#include "server/token_guard.h"

#include <grpcpp/grpcpp.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace robaxi {

class ServerSession;
class SessionStream;

/** Reason for refusing a client while too many from its address send wrong tokens. */
constexpr const char* a_tooManyTokens = "too many tokens from that address wait to be checked";

/** The server's interface to the robot's end of a stream that belongs to a session. */
class SideStream {
  public:
    enum class Kind { Subscription, Camera };

    virtual ~SideStream() = default;

    virtual Kind kind() const = 0;
    /** Ends the stream. Called before the stream has reported its end to the server. */
    virtual void cancel() = 0;
    /** Ends the stream if it belongs to this module. */
    virtual void moduleRemoved(const std::string& name) = 0;
};

/**
 * The listening part of a broker: the gRPC server, its sessions and the streams beside them, and
 * the threads on which methods run.
 */
class Server : public RunningServer {
  public:
    /**
     * Starts listening; with port 0, on any free port. @throws Failure AddressInUse, CannotListen;
     * InvalidArgument if the security settings cannot be used
     */
    Server(std::shared_ptr<Runtime> runtime, std::shared_ptr<HostedModules> modules,
           const std::string& address, int port);
    ~Server() override;
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    int port() const override { return fPort; }
    void moduleRemoved(const std::string& name) override;

    /** @name For the sessions and the streams beside them */
    ///@{
    const KVSettings::Limits& limits() const { return fRuntime->fSettings.fLimits; }
    const ServerSecurity& security() const { return fSecurity; }
    TokenGuard& tokenGuard() { return fTokenGuard; }
    /** Returns true if the token is right; otherwise counts it and warns. */
    bool acceptsToken(const std::string& token, const std::string& address);
    const std::shared_ptr<RpcLoad>& rpcLoad() const { return fRpcLoad; }
    const std::string& brokerName() const { return fRuntime->fBrokerName; }
    /**
     * Writes one line to standard error for the user of the program: "robaxi: NAME: TEXT". For
     * problems that concern no call and therefore cannot be exceptions. May be called from any
     * thread.
     */
    void warn(const std::string& text) const;
    const std::shared_ptr<TimerThread>& timers() const { return fRuntime->fTimers; }
    const std::shared_ptr<HostedModules>& modules() const { return fModules; }
    const std::shared_ptr<TaskPool>& calls() const { return fCalls; }
    /** Keeps a connection: its client is in a session. */
    void welcome(const std::string& peer) { fAcceptor->welcome(peer); }
    /** Returns null if there is none. */
    std::shared_ptr<ServerSession> findSession(std::uint64_t id);
    /** Returns true if a silent session may give way to a further one of a client's address. */
    bool hasSilentSession(const std::string& address);
    /** Ends a silent session for it soon. Returns false if there is none. */
    bool replaceSilentSession(const std::string& address);
    void sessionEnded(std::uint64_t id);
    void sessionStreamEnded(SessionStream* stream);
    /** Ends the streams beside a session, which no longer count towards its limits. */
    void cancelStreams(std::uint64_t sessionId);
    /**
     * Adds a stream to its session. Returns the reason if it is refused.
     *
     * @param resumption that it names; another one is that of a connection which the session has
     * left
     */
    std::optional<Failure> joinSession(SideStream* stream, std::uint64_t sessionId,
                                       std::uint64_t resumption);
    void streamEnded(SideStream* stream);
    ///@}

  private:
    class Service;

    void xStartGrpc();
    void xWarnOfExpiry();
    void xAccept(std::vector<base::FileDescriptor> listening);
    grpc::ServerBidiReactor<grpc::ByteBuffer, grpc::ByteBuffer>* xOpenSession(
        grpc::CallbackServerContext* context);
    bool xHasRoomFor(const std::string& address) const;
    std::size_t xCountSessionsOf(const std::string& address) const;
    std::shared_ptr<ServerSession> xFindSilentSession(const std::string& address);
    template <class Stream>
    Stream* xOpenStream(grpc::CallbackServerContext* context);
    template <class Object>
    void xLetGo(std::shared_ptr<Object> object);

    const std::shared_ptr<Runtime> fRuntime;
    const std::shared_ptr<HostedModules> fModules;
    const ServerSecurity fSecurity;
    const std::shared_ptr<TaskPool> fCalls;
    TokenGuard fTokenGuard;
    const std::shared_ptr<RpcLoad> fRpcLoad;
    int fPort = 0;
    std::unique_ptr<Service> fService;
    const std::unique_ptr<grpc::Service> fHealth;
    const std::unique_ptr<grpc::Service> fReflection;
    std::unique_ptr<grpc::Server> fServer;
    std::unique_ptr<grpc::experimental::ExternalConnectionAcceptor> fEntrance;
    std::unique_ptr<ConnectionAcceptor> fAcceptor;
    std::unique_ptr<ExpiryWarning> fExpiryWarning;

    std::mutex fMutex;
    std::unordered_map<std::uint64_t, std::shared_ptr<ServerSession>> fSessions;
    std::unordered_map<SessionStream*, std::shared_ptr<SessionStream>> fSessionStreams;
    struct Membership {
        std::shared_ptr<SideStream> fStream;
        std::uint64_t fSessionId = 0;
    };
    std::unordered_map<SideStream*, Membership> fStreams;
};

}  // namespace robaxi

#endif

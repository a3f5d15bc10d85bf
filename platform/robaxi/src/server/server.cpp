#include "server/server.h"

#include "deadline.h"
#include "net/channel.h"
#include "net/socket_address.h"
#include "server/frame_server.h"
#include "server/health_service.h"
#include "server/reflection_service.h"
#include "server/server_session.h"
#include "server/session_stream.h"
#include "server/subscription_server.h"
#include "server/unary_calls.h"
#include "wire/grpc_handover.h"
#include "wire/limits.h"

#include <boost/system/system_error.hpp>

#include <algorithm>
#include <malloc.h>
#include <random>
#include <sockets/line_writer.h>
#include <unistd.h>
#include <utility>

namespace robaxi {

namespace {

constexpr double a_listenTimeOut = 2;
constexpr std::chrono::hours a_betweenExpiryWarnings(1);

/** Random, so that a program cannot guess the session of another one. */
std::uint64_t makeSessionId() {
    std::random_device random;
    std::uint64_t id = 0;
    while (id == 0) {
        id = (std::uint64_t{random()} << 32U) | random();
    }
    return id;
}

void deleteSession(ServerSession* session) {
    const bool hasKeptMuch = session->hasKeptMuch();
    delete session;
    if (hasKeptMuch) {
        // The freed memory is scattered over the arenas of several threads, none of which returns
        // it to the system by itself.
        ::malloc_trim(0);
    }
}

}  // namespace

/**
 * The streams are streams of bytes: frames are passed to gRPC unchanged, and a message that cannot
 * be read is distinguished from the end of its stream.
 */
using CallbackService =
    v1::Robaxi::WithRawCallbackMethod_Session<v1::Robaxi::WithRawCallbackMethod_Subscribe<
        v1::Robaxi::WithRawCallbackMethod_Watch<v1::Robaxi::WithCallbackMethod_Call<
            v1::Robaxi::WithCallbackMethod_ListModules<v1::Robaxi::Service>>>>>;

class Server::Service : public CallbackService {
  public:
    explicit Service(Server& server) : fServer(server) {}

    grpc::ServerBidiReactor<grpc::ByteBuffer, grpc::ByteBuffer>* Session(
        grpc::CallbackServerContext* context) override {
        return fServer.xOpenSession(context);
    }

    grpc::ServerBidiReactor<grpc::ByteBuffer, grpc::ByteBuffer>* Subscribe(
        grpc::CallbackServerContext* context) override {
        return fServer.xOpenStream<SubscriptionServer>(context);
    }

    grpc::ServerBidiReactor<grpc::ByteBuffer, grpc::ByteBuffer>* Watch(
        grpc::CallbackServerContext* context) override {
        return fServer.xOpenStream<FrameServer>(context);
    }

    grpc::ServerUnaryReactor* Call(grpc::CallbackServerContext* context, const v1::Call* request,
                                   v1::Result* response) override {
        return startUnaryCall(fServer, context, *request, response);
    }

    grpc::ServerUnaryReactor* ListModules(grpc::CallbackServerContext* context,
                                          const v1::ListModules* request,
                                          v1::ModuleList* response) override {
        return startUnaryList(fServer, context, *request, response);
    }

  private:
    Server& fServer;
};

Server::Server(std::shared_ptr<Runtime> runtime, std::shared_ptr<HostedModules> modules,
               const std::string& address, int port)
    : fRuntime(std::move(runtime)),
      fModules(std::move(modules)),
      fSecurity(fRuntime->fSettings.fServer),
      fCalls(TaskPool::create(limits::a_methodThreads)),
      fRpcLoad(std::make_shared<RpcLoad>(limits::a_waitingCalls,
                                         limits::waitingBytes(limits().fMessage))),
      fService(std::make_unique<Service>(*this)),
      fHealth(makeHealthService(*this)),
      fReflection(makeReflectionService(*this)) {
    auto listening = listenOn(address, port, deadlineAfter(a_listenTimeOut));
    fPort = portOf(listening.front());
    xStartGrpc();
    xAccept(std::move(listening));
    xWarnOfExpiry();
}

void Server::warn(const std::string& text) const {
    sockets::writeLine(STDERR_FILENO, "robaxi: " + brokerName() + ": " + text);
}

bool Server::acceptsToken(const std::string& token, const std::string& address) {
    if (security().accepts(token)) {
        fTokenGuard.countAcceptance(address);
        return true;
    }
    const int refusals = fTokenGuard.countRefusal(address);
    warn("refused a wrong token from " + address +
         (TokenGuard::isSlowed(refusals)
              ? ", number " + std::to_string(refusals) +
                    " in a row; tokens from there are looked at one a second"
              : std::string()));
    return false;
}

void Server::xWarnOfExpiry() {
    const auto expiry = fSecurity.certificateExpiry();
    if (!expiry) {
        return;
    }
    const std::string text = "the certificate " + fRuntime->fSettings.fServer.fCertificate +
                             " has expired, so that no program trusts it; replace it and start "
                             "this program again";
    fExpiryWarning = std::make_unique<ExpiryWarning>(timers(), *expiry, a_betweenExpiryWarnings,
                                                     [this, text] { warn(text); });
}

void Server::xStartGrpc() {
    grpc::ServerBuilder builder;
    configureServer(builder, limits());
    using Type = grpc::ServerBuilder::experimental_type::ExternalConnectionType;
    fEntrance = builder.experimental().AddExternalConnectionAcceptor(Type::FROM_FD,
                                                                     fSecurity.credentials());
    builder.RegisterService(fService.get());
    builder.RegisterService(fHealth.get());
    builder.RegisterService(fReflection.get());
    fServer = builder.BuildAndStart();
    if (!fServer) {
        throw Failure{KVError::Cause::CannotListen, {}};
    }
}

void Server::xAccept(std::vector<base::FileDescriptor> listening) {
    ConnectionAcceptor::Settings settings;
    settings.fTimeForHello = limits::timeForFirstMessage(limits());
    settings.fMostBytes = limits::bytesOfNewcomers(limits().fMessage);
    settings.fTimeOutOfTransport = limits::timeOutOfTransport(limits());
    settings.fHandOver = [this](int descriptor) {
        grpc::experimental::ExternalConnectionAcceptor::NewConnectionParameters connection;
        connection.fd = descriptor;
        giveToGrpc(this);
        fEntrance->HandleNewConnection(&connection);
    };
    settings.fReport = [this](const std::string& text) { warn(text); };
    // Sessions use it, and may start before make_unique() returns.
    fAcceptor = std::make_unique<ConnectionAcceptor>(std::move(settings));
    try {
        fAcceptor->start(std::move(listening));
    } catch (const boost::system::system_error& failure) {
        throw Failure{KVError::Cause::CannotListen, failure.code().message()};
    }
}

Server::~Server() {
    // First, since gRPC does not close descriptors that it receives after its end.
    fAcceptor->stop();
    fServer->Shutdown(std::chrono::system_clock::now());
    fCalls->stop();
}

grpc::ServerBidiReactor<grpc::ByteBuffer, grpc::ByteBuffer>* Server::xOpenSession(
    grpc::CallbackServerContext* context) {
    takeFromGrpc(this);
    const auto stream = std::make_shared<SessionStream>(*this, context);
    std::shared_ptr<ServerSession> session;
    bool admitted = false;
    {
        const std::lock_guard lock(fMutex);
        fSessionStreams.emplace(stream.get(), stream);
        std::uint64_t id = makeSessionId();
        while (fSessions.count(id) != 0) {
            id = makeSessionId();
        }
        session = {new ServerSession(*this, stream.get(), id), deleteSession};
        admitted = xHasRoomFor(session->peerAddress());
        fSessions.emplace(id, session);
    }
    session->start(admitted);
    return stream.get();
}

bool Server::xHasRoomFor(const std::string& address) const {
    return fSessions.size() < limits().fSessions &&
           xCountSessionsOf(address) < limits().fSessionsOfAddress;
}

std::size_t Server::xCountSessionsOf(const std::string& address) const {
    const auto count = std::count_if(
        fSessions.begin(), fSessions.end(),
        [&address](const auto& each) { return each.second->peerAddress() == address; });
    return static_cast<std::size_t>(count);
}

bool Server::hasSilentSession(const std::string& address) {
    return xFindSilentSession(address) != nullptr;
}

bool Server::replaceSilentSession(const std::string& address) {
    const auto silent = xFindSilentSession(address);
    return silent && silent->giveWay();
}

/**
 * Returns the session that has been silent for longest, of the same address if there is one; only
 * of the same address if that has too many.
 */
std::shared_ptr<ServerSession> Server::xFindSilentSession(const std::string& address) {
    const std::lock_guard lock(fMutex);
    // The session that asks is counted, too.
    const bool isForAddress = xCountSessionsOf(address) > limits().fSessionsOfAddress;
    std::shared_ptr<ServerSession> found;
    std::pair<bool, int> longest;
    for (const auto& [id, session] : fSessions) {
        const int silence = session->silence();
        const std::pair rank(session->peerAddress() == address, silence);
        if (silence > 0 && rank > longest && (rank.first || !isForAddress)) {
            found = session;
            longest = rank;
        }
    }
    return found;
}

template <class Stream>
Stream* Server::xOpenStream(grpc::CallbackServerContext* context) {
    takeFromGrpc(this);
    const auto stream = std::make_shared<Stream>(*this, context);
    {
        const std::lock_guard lock(fMutex);
        fStreams[stream.get()] = {stream, 0};
    }
    stream->start();
    return stream.get();
}

std::shared_ptr<ServerSession> Server::findSession(std::uint64_t id) {
    const std::lock_guard lock(fMutex);
    const auto found = fSessions.find(id);
    return found == fSessions.end() ? nullptr : found->second;
}

std::optional<Failure> Server::joinSession(SideStream* stream, std::uint64_t sessionId,
                                           std::uint64_t resumption) {
    const std::lock_guard lock(fMutex);
    const auto session = fSessions.find(sessionId);
    if (session == fSessions.end() || session->second->resumption() != resumption) {
        return Failure{KVError::Cause::NotAuthorised, "it names no session"};
    }
    const bool isCamera = stream->kind() == SideStream::Kind::Camera;
    const auto alike = std::count_if(fStreams.begin(), fStreams.end(), [&](const auto& each) {
        return each.second.fSessionId == sessionId && each.first->kind() == stream->kind();
    });
    if (static_cast<std::size_t>(alike) >=
        (isCamera ? limits().fCameras : limits().fSubscriptions)) {
        return Failure{KVError::Cause::TooMany,
                       isCamera ? "this program watches too many cameras already"
                                : "this program has too many subscriptions already"};
    }
    fStreams[stream].fSessionId = sessionId;
    return std::nullopt;
}

void Server::sessionEnded(std::uint64_t id) {
    std::shared_ptr<ServerSession> session;
    {
        const std::lock_guard lock(fMutex);
        const auto found = fSessions.find(id);
        session = std::move(found->second);
        fSessions.erase(found);
    }
    cancelStreams(id);
    xLetGo(std::move(session));
}

void Server::sessionStreamEnded(SessionStream* stream) {
    std::shared_ptr<SessionStream> kept;
    {
        const std::lock_guard lock(fMutex);
        const auto found = fSessionStreams.find(stream);
        kept = std::move(found->second);
        fSessionStreams.erase(found);
    }
    xLetGo(std::move(kept));
}

void Server::cancelStreams(std::uint64_t sessionId) {
    const std::lock_guard lock(fMutex);
    for (auto& [stream, membership] : fStreams) {
        if (membership.fSessionId == sessionId) {
            membership.fSessionId = 0;
            stream->cancel();
        }
    }
}

void Server::streamEnded(SideStream* stream) {
    std::shared_ptr<SideStream> kept;
    {
        const std::lock_guard lock(fMutex);
        const auto found = fStreams.find(stream);
        kept = std::move(found->second.fStream);
        fStreams.erase(found);
    }
    xLetGo(std::move(kept));
}

void Server::moduleRemoved(const std::string& name) {
    const std::lock_guard lock(fMutex);
    for (const auto& [stream, membership] : fStreams) {
        stream->moduleRemoved(name);
    }
}

template <class Object>
void Server::xLetGo(std::shared_ptr<Object> object) {
    // The object may own objects of the users, whose destructors must not run on a thread of gRPC.
    fCalls->post([object = std::move(object)] {});
}

}  // namespace robaxi

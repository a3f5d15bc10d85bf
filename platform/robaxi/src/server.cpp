#include "server.h"

#include "channel.h"
#include "deadline.h"
#include "failure.h"
#include "grpc_handover.h"
#include "server_session.h"
#include "socket_address.h"
#include "subscription_server.h"

#include <algorithm>
#include <random>
#include <utility>

namespace robaxi {

namespace {

constexpr double a_listenTimeOut = 2;

/** Random, so that a program cannot guess the session of another one. */
std::uint64_t makeSessionId() {
    std::random_device random;
    std::uint64_t id = 0;
    while (id == 0) {
        id = (std::uint64_t{random()} << 32U) | random();
    }
    return id;
}

}  // namespace

class Server::Service : public v1::Robaxi::CallbackService {
  public:
    explicit Service(Server& server) : fServer(server) {}

    grpc::ServerBidiReactor<v1::ClientBatch, v1::ServerBatch>* Session(
        grpc::CallbackServerContext* context) override {
        return fServer.xOpenSession(context);
    }

    grpc::ServerBidiReactor<v1::SubscriptionRequest, v1::SubscriptionUpdate>* Subscribe(
        grpc::CallbackServerContext* context) override {
        return fServer.xOpenSubscription(context);
    }

  private:
    Server& fServer;
};

Server::Server(std::shared_ptr<Runtime> runtime, std::shared_ptr<HostedModules> modules,
               const std::string& address, int port)
    : fRuntime(std::move(runtime)),
      fModules(std::move(modules)),
      fCalls(TaskPool::create(limits::a_methodThreads)),
      fService(std::make_unique<Service>(*this)) {
    const Deadline deadline = deadlineAfter(a_listenTimeOut);
    grpc::ServerBuilder builder;
    configureServer(builder);
    for (const SocketAddress& local : findLocalAddresses(address, port, deadline)) {
        builder.AddListeningPort(local.toString(), grpc::InsecureServerCredentials());
    }
    builder.RegisterService(fService.get());
    giveToGrpc(this);
    fServer = builder.BuildAndStart();
    if (!fServer) {
        findLocalAddresses(address, port, deadline);  // says so if the port was taken just now
        throw Failure{KVError::Cause::CannotListen, {}};
    }
}

Server::~Server() {
    if (fServer) {
        fServer->Shutdown(std::chrono::system_clock::now());
    }
    fCalls->stop();
}

grpc::ServerBidiReactor<v1::ClientBatch, v1::ServerBatch>* Server::xOpenSession(
    grpc::CallbackServerContext* context) {
    takeFromGrpc(this);
    std::shared_ptr<ServerSession> session;
    bool admitted = false;
    {
        const std::lock_guard lock(fMutex);
        std::uint64_t id = makeSessionId();
        while (fSessions.count(id) != 0) {
            id = makeSessionId();
        }
        session = std::make_shared<ServerSession>(*this, context, id);
        admitted = fSessions.size() < limits::a_sessionsOfBroker;
        fSessions.emplace(id, session);
    }
    session->start(admitted);
    return session.get();
}

grpc::ServerBidiReactor<v1::SubscriptionRequest, v1::SubscriptionUpdate>* Server::xOpenSubscription(
    grpc::CallbackServerContext* context) {
    takeFromGrpc(this);
    const auto subscription = std::make_shared<SubscriptionServer>(*this, context);
    {
        const std::lock_guard lock(fMutex);
        fSubscriptions[subscription.get()] = {subscription, 0};
    }
    subscription->start();
    return subscription.get();
}

std::optional<std::string> Server::joinSession(SubscriptionServer* subscription,
                                               std::uint64_t sessionId) {
    const std::lock_guard lock(fMutex);
    if (fSessions.count(sessionId) == 0) {
        return "it names no session";
    }
    const auto ofSession = std::count_if(
        fSubscriptions.begin(), fSubscriptions.end(),
        [sessionId](const auto& each) { return each.second.fSessionId == sessionId; });
    if (static_cast<std::size_t>(ofSession) >= limits::a_subscriptionsOfSession) {
        return "this program has too many subscriptions already";
    }
    fSubscriptions[subscription].fSessionId = sessionId;
    return std::nullopt;
}

void Server::sessionEnded(std::uint64_t id) {
    std::shared_ptr<ServerSession> session;
    {
        const std::lock_guard lock(fMutex);
        const auto found = fSessions.find(id);
        session = std::move(found->second);
        fSessions.erase(found);
        for (const auto& [reactor, subscription] : fSubscriptions) {
            if (subscription.fSessionId == id) {
                reactor->cancel();
            }
        }
    }
    xLetGo(std::move(session));
}

void Server::subscriptionEnded(SubscriptionServer* subscription) {
    std::shared_ptr<SubscriptionServer> reactor;
    {
        const std::lock_guard lock(fMutex);
        const auto found = fSubscriptions.find(subscription);
        reactor = std::move(found->second.fReactor);
        fSubscriptions.erase(found);
    }
    xLetGo(std::move(reactor));
}

void Server::moduleRemoved(const std::string& name) {
    const std::lock_guard lock(fMutex);
    for (const auto& [reactor, subscription] : fSubscriptions) {
        reactor->moduleRemoved(name);
    }
}

template <class Object>
void Server::xLetGo(std::shared_ptr<Object> object) {
    // What it holds may be the users', and their destructors do not run on a thread of gRPC.
    fCalls->post([object = std::move(object)] {});
}

}  // namespace robaxi

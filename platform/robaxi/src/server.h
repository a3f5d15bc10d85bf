#ifndef ROBAXI_SERVER_H
#define ROBAXI_SERVER_H

#include "hosted_modules.h"
#include "robaxi/v1/robaxi.grpc.pb.h"
#include "runtime.h"

#include <grpcpp/grpcpp.h>

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>

namespace robaxi {

class ServerSession;
class SubscriptionServer;

/** What of a broker listens: the gRPC server, its sessions and subscriptions, and the threads on
 *  which methods run. */
class Server {
  public:
    /** Starts to listen. @throws Failure AddressInUse, CannotListen */
    Server(std::shared_ptr<Runtime> runtime, std::shared_ptr<HostedModules> modules,
           const std::string& address, int port);
    /** Ends all sessions; returns when no method runs any more, except one from which it is
     *  called. */
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    /** Ends the subscriptions to a module that is hosted no more. */
    void moduleRemoved(const std::string& name);

    /** @name For the sessions and subscriptions */
    ///@{
    const std::string& brokerName() const { return fRuntime->fBrokerName; }
    const std::shared_ptr<TimerThread>& timers() const { return fRuntime->fTimers; }
    const std::shared_ptr<HostedModules>& modules() const { return fModules; }
    TaskPool& calls() { return *fCalls; }
    void sessionEnded(std::uint64_t id);
    /** Counts a subscription to its session. Returns the reason why it is refused, if it is. */
    std::optional<std::string> joinSession(SubscriptionServer* subscription,
                                           std::uint64_t sessionId);
    void subscriptionEnded(SubscriptionServer* subscription);
    ///@}

  private:
    class Service;

    grpc::ServerBidiReactor<v1::ClientBatch, v1::ServerBatch>* xOpenSession(
        grpc::CallbackServerContext* context);
    grpc::ServerBidiReactor<v1::SubscriptionRequest, v1::SubscriptionUpdate>* xOpenSubscription(
        grpc::CallbackServerContext* context);
    template <class Object>
    void xLetGo(std::shared_ptr<Object> object);

    const std::shared_ptr<Runtime> fRuntime;
    const std::shared_ptr<HostedModules> fModules;
    const std::shared_ptr<TaskPool> fCalls;
    std::unique_ptr<Service> fService;
    std::unique_ptr<grpc::Server> fServer;

    std::mutex fMutex;
    std::unordered_map<std::uint64_t, std::shared_ptr<ServerSession>> fSessions;
    struct Subscription {
        std::shared_ptr<SubscriptionServer> fReactor;
        std::uint64_t fSessionId = 0;
    };
    std::unordered_map<SubscriptionServer*, Subscription> fSubscriptions;
};

}  // namespace robaxi

#endif

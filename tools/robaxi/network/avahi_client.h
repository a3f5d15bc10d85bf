#ifndef OBVISTA_TOOLS_ROBAXI_NETWORK_AVAHI_CLIENT_H
#define OBVISTA_TOOLS_ROBAXI_NETWORK_AVAHI_CLIENT_H

#include "process/bell.h"

#include <avahi-client/client.h>
#include <avahi-client/lookup.h>
#include <avahi-common/simple-watch.h>
#include <avahi-common/thread-watch.h>

#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace robaxi_tool {

template <auto Free>
struct FreeWith {
    template <class Object>
    void operator()(Object* object) const {
        Free(object);
    }
};

/** State of this computer's Avahi daemon. */
struct AvahiState {
    std::string fBusError;     ///< the reason if there is no system bus; otherwise empty
    bool fIsRunning = false;   ///< the daemon is running
    bool fHasItsName = false;  ///< its name is established on the network
    std::string fVersion;
    std::string fHostName;  ///< for instance "desk.local"
};

/** Queries the state; returns at once. */
AvahiState askAvahi();

/** Host name and port of a service. */
struct ServiceLocation {
    std::string fHostName;
    int fPort = 0;
};

/** A query for the location of a service instance, on a thread of Avahi. */
class ServiceQuery {
  public:
    /**
     * Starts the query; without a daemon it never succeeds. `bell` is rung when the service is
     * found.
     */
    ServiceQuery(const std::string& instance, const std::string& type, Bell& bell);
    ~ServiceQuery();
    ServiceQuery(const ServiceQuery&) = delete;
    ServiceQuery& operator=(const ServiceQuery&) = delete;

    std::optional<ServiceLocation> location() const;

  private:
    static void xOnResolved(AvahiServiceResolver* resolver, AvahiIfIndex interface,
                            AvahiProtocol protocol, AvahiResolverEvent event, const char* instance,
                            const char* type, const char* domain, const char* hostName,
                            const AvahiAddress* address, std::uint16_t port, AvahiStringList* text,
                            AvahiLookupResultFlags flags, void* userData) noexcept;

    Bell& fBell;
    mutable std::mutex fMutex;
    std::optional<ServiceLocation> fLocation;
    std::unique_ptr<AvahiThreadedPoll, FreeWith<avahi_threaded_poll_free>> fPoll;
    std::unique_ptr<AvahiClient, FreeWith<avahi_client_free>> fClient;
};

/**
 * Lookups of host names by the Avahi daemon, on a thread of Avahi. Unlike the system's resolver,
 * the daemon does not wait for DNS servers.
 */
class AddressQueries {
  public:
    /** @param address an IPv4 address; empty if the daemon finds none */
    using Answer = std::function<void(const std::string& address)>;

    AddressQueries();
    /** Returns when no answer will be delivered any more. */
    ~AddressQueries();
    AddressQueries(const AddressQueries&) = delete;
    AddressQueries& operator=(const AddressQueries&) = delete;

    /**
     * Starts a lookup. The answer is delivered on Avahi's thread, or at once if the daemon cannot
     * be queried.
     */
    void start(const std::string& hostName, const Answer& answer);

  private:
    struct Query {
        AddressQueries* fOwner;
        Answer fAnswer;
        std::list<Query>::iterator fPlace;
    };

    static void xOnResolved(AvahiHostNameResolver* resolver, AvahiIfIndex interface,
                            AvahiProtocol protocol, AvahiResolverEvent event, const char* name,
                            const AvahiAddress* address, AvahiLookupResultFlags flags,
                            void* userData) noexcept;

    std::list<Query> fQueries;  ///< guarded by the poll's lock
    std::unique_ptr<AvahiThreadedPoll, FreeWith<avahi_threaded_poll_free>> fPoll;
    std::unique_ptr<AvahiClient, FreeWith<avahi_client_free>> fClient;
};

}  // namespace robaxi_tool

#endif

#ifndef OBVISTA_TOOLS_ROBAXI_NETWORK_AVAHI_CLIENT_H
#define OBVISTA_TOOLS_ROBAXI_NETWORK_AVAHI_CLIENT_H

#include <base/lookups.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace robaxi_tool {

/** State of this computer's Avahi daemon. */
struct AvahiState {
    std::string fBusError;     ///< the reason if there is no system bus; otherwise empty
    bool fIsHung = false;      ///< the daemon has not answered in a_daemonPatience
    bool fIsRunning = false;   ///< the daemon is running
    bool fHasItsName = false;  ///< its name is established on the network
    std::string fVersion;
    std::string fHostName;  ///< for instance "desk.local"
};

/** Queries the state; returns at once unless the daemon hangs. */
AvahiState askAvahi();

/** Longest time to wait for an answer of the daemon. */
constexpr std::chrono::seconds a_daemonPatience(5);

/** Host name and port of a service. */
struct ServiceLocation {
    std::string fHostName;
    int fPort = 0;
};

/**
 * Returns the location of a service instance; nothing if the daemon has not found it in
 * a_daemonPatience. Takes longer if the daemon hangs.
 */
std::optional<ServiceLocation> locateService(const std::string& instance, const std::string& type);

/**
 * Lookups of host names by the Avahi daemon, on threads that are abandoned if it hangs. Unlike the
 * system's resolver, the daemon does not wait for DNS servers.
 */
class AddressQueries {
  public:
    /** @param address an IPv4 address; empty if the daemon finds none */
    using Answer = std::function<void(const std::string& address)>;

    AddressQueries();
    /** Returns when no answer is being delivered, and none will be. */
    ~AddressQueries();
    AddressQueries(const AddressQueries&) = delete;
    AddressQueries& operator=(const AddressQueries&) = delete;

    /** Starts a lookup. The answer is delivered on another thread, one at a time. */
    void start(const std::string& hostName, const Answer& answer);

  private:
    class Client;

    std::shared_ptr<Client> fClient;  ///< also held by the threads; the last one releases it
    base::Lookups fCalls{1};          ///< the calls to the daemon, one after the other
};

}  // namespace robaxi_tool

#endif

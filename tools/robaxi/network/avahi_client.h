#ifndef OBVISTA_TOOLS_ROBAXI_NETWORK_AVAHI_CLIENT_H
#define OBVISTA_TOOLS_ROBAXI_NETWORK_AVAHI_CLIENT_H

#include <chrono>
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

}  // namespace robaxi_tool

#endif

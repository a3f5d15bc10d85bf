#ifndef OBVISTA_TOOLS_ROBAXI_NETWORK_HOST_SEARCH_H
#define OBVISTA_TOOLS_ROBAXI_NETWORK_HOST_SEARCH_H

#include "network/announced_hosts.h"
#include "network/target.h"
#include "process/bell.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace robaxi_tool {

/** Address and port of a robot. */
struct Endpoint {
    std::string fHost;  ///< an address, or a name that resolves
    int fPort = 0;
    std::vector<std::string> fAddresses{};  ///< numeric ones of a name, as far as they are known
};

/** State of a search for a name. */
struct SearchState {
    /** Location according to the announcements. */
    std::optional<Endpoint> fAnnounced;
    /** True if announcements are received, or may soon be. */
    bool fMayBeAnnounced = true;
    /** The name, possibly with ".local", after it has resolved; with the middleware's port. */
    std::optional<Endpoint> fResolved;
    /** True while Avahi looks up the addresses of fAnnounced; without it, of fResolved. */
    bool fIsAddressAsked = false;
    /** True if it resolved to this computer only. */
    bool fIsThisComputer = false;
    bool fLookUpsEnded = false;
    Clock::duration fElapsed{};
    /** True if there is no time left. */
    bool fIsOver = false;
};

/** Decision for a search state. */
struct SearchDecision {
    enum class Kind { Wait, Found, NotFound };

    Kind fKind = Kind::Wait;
    Endpoint fEndpoint;
};

/**
 * Prefers announcements to host names, since they contain the port, and Avahi's addresses to those
 * of the system's resolver, which may wait for a DNS server and omits IPv6 addresses of the local
 * network. A name that resolves waits half a second for them; with a port of the user, it does not
 * wait for an announcement.
 */
SearchDecision decide(const Target& target, const SearchState& state);

/**
 * Finds a robot by its name: its service instance, its host name with or without ".local", or any
 * name that resolves.
 *
 * @param timeout seconds
 * @throws Failure NotFound, or TimedOut if the system's resolver has not answered; Interrupted
 */
Endpoint findHost(const Target& target, int timeout, Interruption& interruption);

}  // namespace robaxi_tool

#endif

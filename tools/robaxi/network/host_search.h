#ifndef OBVISTA_TOOLS_ROBAXI_NETWORK_HOST_SEARCH_H
#define OBVISTA_TOOLS_ROBAXI_NETWORK_HOST_SEARCH_H

#include "network/announced_hosts.h"
#include "network/avahi_client.h"
#include "network/target.h"
#include "process/bell.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace robaxi_tool {

/** Where a robot is reached. */
struct Endpoint {
    std::string fHost;  ///< an address, or a name that resolves
    int fPort = 0;
    std::string fAddress;  ///< address that Avahi has for the name; empty if there is none

    /** What to connect to. With Avahi's address, no DNS server is waited for. */
    const std::string& reachableHost() const { return fAddress.empty() ? fHost : fAddress; }
};

/** What is known while a name is searched for. */
struct SearchState {
    /** Where the announcements say that it is. */
    std::optional<Endpoint> fAnnounced;
    /** Avahi is still asked for the address of fAnnounced. */
    bool fIsAddressAsked = false;
    /** Whether announcements can be heard at all. */
    bool fMayBeAnnounced = true;
    /** The name itself, or with ".local", once it has resolved. */
    std::optional<std::string> fResolved;
    /** It resolved to this computer alone. */
    bool fIsThisComputer = false;
    bool fLookUpsEnded = false;
    Clock::duration fElapsed{};
};

/** What follows from it. */
struct SearchDecision {
    enum class Kind { Wait, Found, NotFound };

    Kind fKind = Kind::Wait;
    Endpoint fEndpoint;
};

/**
 * Announcements go before host names, since they tell the port; a name that resolves waits for
 * them for a second only, and not at all when the user gave a port.
 */
SearchDecision decide(const Target& target, const SearchState& state);

/**
 * Finds the robot that goes by a name: its service instance, its host name with or without
 * ".local", or any name that resolves.
 *
 * @param timeout seconds
 * @throws Failure NotFound, or TimedOut if the system's resolver has not answered; Interrupted
 */
Endpoint findHost(const Target& target, int timeout, Interruption& interruption);

}  // namespace robaxi_tool

#endif

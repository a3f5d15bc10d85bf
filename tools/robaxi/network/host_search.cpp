#include "network/host_search.h"

#include "network/avahi_client.h"
#include "process/failure.h"

#include <base/address.h>
#include <bonjour/bonjour_discovery.h>
#include <robaxi/kv_broker.h>

#include <boost/algorithm/string/case_conv.hpp>

#include <address_queries.h>
#include <algorithm>
#include <locale>
#include <utility>

namespace robaxi_tool {

using KV::bonjour::isLocalName;

namespace {

using Kind = SearchDecision::Kind;

/**
 * Time that a resolved name waits for its announcement and for Avahi's address, and time that an
 * unresolved one waits. Measured: 20 ms if the daemon knows the host; otherwise 170 ms until the
 * announcement, since mDNS delays answers, and up to 120 ms more for the address.
 */
constexpr std::chrono::milliseconds a_patienceWhenResolved(500);
constexpr std::chrono::milliseconds a_patience(2000);
/** Hosts on the local network answer sooner; the resolver itself would wait longer. */
constexpr std::chrono::milliseconds a_longestLocalSearch(3000);

/** Returns the names to look up for a host: a bare name may belong to the local network. */
std::vector<std::string> candidateNames(const std::string& host) {
    if (host.find('.') == std::string::npos) {
        return {host, host + ".local"};
    }
    return {host};
}

std::string lowerCase(const std::string& text) {
    return boost::algorithm::to_lower_copy(text, std::locale::classic());
}

bool isAskedOfTheNetwork(const std::string& host) {
    return isLocalName(host) || host.find('.') == std::string::npos;
}

Clock::duration longestSearch(const Target& target, int timeout) {
    const Clock::duration given = std::chrono::seconds(timeout);
    return isAskedOfTheNetwork(target.fHost)
               ? std::min<Clock::duration>(given, a_longestLocalSearch)
               : given;
}

class HostSearch {
  public:
    HostSearch(const Target& target, int timeout, Interruption& interruption)
        : fTarget(target),
          fBell(interruption),
          fStart(Clock::now()),
          fEnd(fStart + longestSearch(target, timeout)),
          fNames(candidateNames(target.fHost)),
          fAnnounced(fBell, AnnouncedHosts::Addresses::LeftOut) {
        for (const std::string& name : fNames) {
            if (isLocalName(name)) {
                xAskAvahi(name);
            }
            startLookup(fLookups, name, [this, name](const std::vector<std::string>& addresses) {
                xSetFound(name, &Addresses::fOfSystem, addresses);
            });
        }
        fLookups.start([this, instance = target.fHost]() -> base::Lookups::Answer {
            const auto location = locateService(instance, KV::BonjourDiscovery::fRobaxiServiceType);
            return [this, location] { xSetInstance(location); };
        });
    }

    Endpoint find() {
        SearchDecision decision;
        const auto decided = [&] {
            decision = decide(fTarget, xState());
            return decision.fKind != Kind::Wait;
        };
        // Without other changes the decision changes at these times.
        for (const Clock::time_point due :
             {fStart + a_patienceWhenResolved, fStart + a_patience, fEnd}) {
            if (fBell.waitUntil(std::min(due, fEnd), decided)) {
                break;
            }
        }
        if (decision.fKind == Kind::Wait) {
            decided();  // now that the time is over
        }
        if (decision.fKind == Kind::Found) {
            return decision.fEndpoint;
        }
        xGiveUp();
    }

  private:
    [[noreturn]] void xGiveUp() const {
        const std::string advice =
            " Check the spelling with 'robaxi list', or look for the cause "
            "with 'robaxi doctor'.";
        const std::string found = "Found no robot or computer " + fTarget.fHost;
        const std::string unheard = xErrorOfAnnouncements();
        if (!xIsResolverSilent()) {
            throw Failure(
                ExitStatus::NotFound,
                found +
                    (unheard.empty() ? ": no announcement and no host has that name."
                                     : ": no host with that name was found, and announcements "
                                       "cannot be received. " +
                                           unheard) +
                    advice);
        }
        throw Failure(
            ExitStatus::TimedOut,
            found + " in time: the system's resolver has not answered. " +
                (unheard.empty() ? "Check the DNS servers in /etc/resolv.conf." : unheard) +
                advice);
    }

    /** Returns why there are no announcements; empty if they are received. */
    std::string xErrorOfAnnouncements() const {
        return fAnnounced.startError().value_or(
            "The Avahi daemon does not answer. Restart the service \"avahi-daemon\".");
    }

    /** Addresses of a name, once they have been looked up. */
    struct Addresses {
        bool fIsAvahiAsked = false;  ///< and has not answered
        std::optional<std::vector<std::string>> fOfAvahi;
        std::optional<std::vector<std::string>> fOfSystem;

        std::vector<std::string> known() const {
            return fOfAvahi && !fOfAvahi->empty() ? *fOfAvahi
                                                  : fOfSystem.value_or(std::vector<std::string>());
        }
    };

    /** Names of the local network are excluded: there is no answer for a name that no host has. */
    bool xIsResolverSilent() const {
        return !isLocalName(fTarget.fHost) && !xAddresses(fTarget.fHost).fOfSystem;
    }

    void xSetInstance(const std::optional<ServiceLocation>& location) {
        if (location) {
            xAskAvahi(location->fHostName);
        }
        {
            // Last: an instance whose addresses nobody asks for is one without addresses.
            const std::lock_guard lock(fMutex);
            fInstance = location;
        }
        fBell.ring();
    }

    void xAskAvahi(const std::string& name) {
        {
            const std::lock_guard lock(fMutex);
            Addresses& addresses = fAddresses[lowerCase(name)];
            if (addresses.fIsAvahiAsked || addresses.fOfAvahi) {
                return;
            }
            addresses.fIsAvahiAsked = true;
        }
        fQueries.start(name, [this, name](const std::vector<std::string>& addresses) {
            xSetFound(name, &Addresses::fOfAvahi, addresses);
        });
    }

    void xSetFound(const std::string& name,
                   std::optional<std::vector<std::string>> Addresses::*source,
                   const std::vector<std::string>& addresses) {
        {
            const std::lock_guard lock(fMutex);
            Addresses& found = fAddresses[lowerCase(name)];
            found.*source = addresses;
            found.fIsAvahiAsked = found.fIsAvahiAsked && !found.fOfAvahi;
        }
        fBell.ring();
    }

    Addresses xAddresses(const std::string& name) const {
        const std::lock_guard lock(fMutex);
        const auto found = fAddresses.find(lowerCase(name));
        return found == fAddresses.end() ? Addresses() : found->second;
    }

    SearchState xState() const {
        SearchState state;
        const Clock::time_point now = Clock::now();
        state.fElapsed = now - fStart;
        state.fIsOver = now >= fEnd;
        state.fMayBeAnnounced = fAnnounced.startError().value_or(std::string()).empty();
        xSetResolved(state);
        xSetAnnounced(state);
        return state;
    }

    void xSetResolved(SearchState& state) const {
        state.fLookUpsEnded = true;
        for (const std::string& name : fNames) {
            const Addresses addresses = xAddresses(name);
            const std::vector<std::string> known = addresses.known();
            state.fLookUpsEnded = state.fLookUpsEnded && addresses.fOfSystem;
            if (!known.empty() && !state.fResolved) {
                state.fResolved = Endpoint{name, KVBroker::a_defaultPort, known};
                state.fIsAddressAsked = addresses.fIsAvahiAsked;
                state.fIsThisComputer = std::all_of(known.begin(), known.end(), base::isLoopback);
            }
        }
    }

    std::optional<ServiceLocation> xInstance() const {
        const std::lock_guard lock(fMutex);
        return fInstance;
    }

    void xSetAnnounced(SearchState& state) const {
        const auto hosts = fAnnounced.hosts();
        if (const auto location = xInstance()) {
            state.fAnnounced = Endpoint{location->fHostName, location->fPort};
        }
        for (const std::string& name : fNames) {
            const auto found = hosts.find(lowerCase(name));
            if (!state.fAnnounced && found != hosts.end() && !found->second.ports().empty()) {
                state.fAnnounced = Endpoint{found->second.fHostName, found->second.ports().front()};
            }
        }
        if (state.fAnnounced) {
            const Addresses addresses = xAddresses(state.fAnnounced->fHost);
            state.fAnnounced->fAddresses = addresses.known();
            state.fIsAddressAsked = addresses.fIsAvahiAsked;
        }
    }

    const Target& fTarget;
    Bell fBell;
    Clock::time_point fStart;
    Clock::time_point fEnd;
    std::vector<std::string> fNames;
    mutable std::mutex fMutex;
    std::map<std::string, Addresses> fAddresses;  ///< by the names in lower case
    AnnouncedHosts fAnnounced;
    std::optional<ServiceLocation> fInstance;  ///< of the service with the host's name
    // Destroyed first, since their answers use the other members, and those of fLookups fQueries.
    KV::bonjour::AddressQueries fQueries;
    base::Lookups fLookups{a_mostLookups};
};

}  // namespace

SearchDecision decide(const Target& target, const SearchState& state) {
    const auto found = [&target](Endpoint endpoint) {
        endpoint.fPort = target.fPort.value_or(endpoint.fPort);
        return SearchDecision{Kind::Found, std::move(endpoint)};
    };
    const bool isPatient = state.fElapsed < a_patienceWhenResolved;
    if (state.fAnnounced) {
        // Without an address of the system's resolver, the name alone is not sufficient.
        const bool isSufficient = !state.fAnnounced->fAddresses.empty() && !isPatient;
        const bool waits = state.fIsAddressAsked && !isSufficient && !state.fIsOver;
        return waits ? SearchDecision() : found(*state.fAnnounced);
    }
    const bool mayBeAnnounced = state.fMayBeAnnounced && !target.fPort && !state.fIsThisComputer &&
                                isAskedOfTheNetwork(target.fHost);
    if (state.fResolved && !(isPatient && (mayBeAnnounced || state.fIsAddressAsked))) {
        return found(*state.fResolved);
    }
    const bool hopeless = !state.fMayBeAnnounced || state.fElapsed >= a_patience;
    if (state.fLookUpsEnded && !state.fResolved && hopeless) {
        return {Kind::NotFound, {}};
    }
    return {};
}

Endpoint findHost(const Target& target, int timeout, Interruption& interruption) {
    if (base::isAddress(target.fHost)) {
        return {target.fHost, target.fPort.value_or(KVBroker::a_defaultPort)};
    }
    return HostSearch(target, timeout, interruption).find();
}

}  // namespace robaxi_tool

#include "network/announced_hosts.h"

#include "network/avahi_client.h"
#include "process/failure.h"

#include <bonjour/bonjour_discovery.h>

#include <boost/bind/bind.hpp>

#include <algorithm>
#include <chrono>
#include <exception>

namespace robaxi_tool {

using KV::BonjourDiscovery;
using KV::BonjourProfile;

namespace {

/** Time between two attempts to end a start. */
constexpr std::chrono::milliseconds a_turn(10);

}  // namespace

std::string AnnouncedHost::name() const {
    const std::string suffix = ".local";
    const std::size_t size = fHostName.size();
    const bool isLocal =
        size > suffix.size() && fHostName.compare(size - suffix.size(), suffix.size(), suffix) == 0;
    return isLocal ? fHostName.substr(0, size - suffix.size()) : fHostName;
}

bool AnnouncedHost::isRobot() const {
    return std::any_of(fServices.begin(), fServices.end(), [](const KV::BonjourService& service) {
        return service.fType == BonjourDiscovery::fRobaxServiceType;
    });
}

std::vector<int> AnnouncedHost::ports() const {
    std::vector<int> ports;
    for (const KV::BonjourService& service : fServices) {
        if (service.fType == BonjourDiscovery::fRobaxiServiceType) {
            ports.push_back(service.fPort);
        }
    }
    return ports;
}

AnnouncedHosts::AnnouncedHosts(Bell& bell, Addresses addresses)
    : fBell(bell),
      fLastChange(Clock::now()),
      fQueries(addresses == Addresses::LookedUp ? std::make_unique<KV::bonjour::AddressQueries>()
                                                : nullptr) {
    fAdding = BonjourDiscovery::fAddProfile.connect(
        boost::bind(&AnnouncedHosts::xAdd, this, boost::placeholders::_1));
    fRemoving = BonjourDiscovery::fRemoveProfile.connect(
        boost::bind(&AnnouncedHosts::xRemove, this, boost::placeholders::_1));
    fStart = std::async(std::launch::async, [this] { xStart(); });
}

AnnouncedHosts::~AnnouncedHosts() {
    // Ends a start that a daemon holds up, even if it only begins now.
    do {
        BonjourDiscovery::stopListening();
    } while (fStart.wait_for(a_turn) != std::future_status::ready);
    BonjourDiscovery::stopListening();
}

void AnnouncedHosts::waitForStart() {
    // The start itself gives up after a_daemonPatience.
    fBell.waitUntil(Clock::now() + 2 * a_daemonPatience,
                    [this] { return startError().has_value(); });
    const std::string error = startError().value_or("The Avahi daemon does not answer.");
    if (!error.empty()) {
        throw Failure(ExitStatus::NoDiscovery, error);
    }
}

std::optional<std::string> AnnouncedHosts::startError() const {
    const std::lock_guard lock(fMutex);
    return fStartError;
}

std::map<std::string, AnnouncedHost> AnnouncedHosts::hosts() const {
    const std::lock_guard lock(fMutex);
    return fHosts;
}

Clock::time_point AnnouncedHosts::lastChange() const {
    const std::lock_guard lock(fMutex);
    return fLastChange;
}

// Called by the discovery library, which holds the map's lock.
void AnnouncedHosts::xAdd(const boost::shared_ptr<BonjourProfile>& profile) {
    const std::string key = profile->fKey;
    bool isNew = false;
    {
        const std::lock_guard lock(fMutex);
        AnnouncedHost& host = fHosts[key];
        isNew = host.fHostName.empty();
        host.fHostName = profile->fHostName;
        host.fServices = profile->fServices;
        fLastChange = host.fChanged = Clock::now();
    }
    if (isNew && fQueries) {
        xLookUp(key, profile->fHostName);
    }
    fBell.ring();
}

void AnnouncedHosts::xRemove(const boost::shared_ptr<BonjourProfile>& profile) {
    {
        const std::lock_guard lock(fMutex);
        fHosts.erase(profile->fKey);
        fLastChange = Clock::now();
    }
    fBell.ring();
}

void AnnouncedHosts::xLookUp(const std::string& key, const std::string& hostName) {
    fQueries->start(hostName, [this, key, hostName](const std::vector<std::string>& found) {
        if (!found.empty()) {
            xSetAddresses(key, found);
            return;
        }
        startLookup(fLookups, hostName, [this, key](const std::vector<std::string>& addresses) {
            xSetAddresses(key, addresses);
        });
    });
}

void AnnouncedHosts::xSetAddresses(const std::string& key,
                                   const std::vector<std::string>& addresses) {
    {
        const std::lock_guard lock(fMutex);
        const auto found = fHosts.find(key);
        if (found == fHosts.end()) {
            return;
        }
        found->second.fLookedUp = true;
        found->second.fAddresses = addresses;
        fLastChange = found->second.fChanged = Clock::now();
    }
    fBell.ring();
}

void AnnouncedHosts::xStart() {
    std::string error;
    try {
        BonjourDiscovery::startListening();
    } catch (const std::exception& exception) {
        error = exception.what();
    }
    {
        const std::lock_guard lock(fMutex);
        fStartError = error;
        fLastChange = Clock::now();
    }
    fBell.ring();
}

}  // namespace robaxi_tool

#include "network/announced_hosts.h"

#include "process/failure.h"

#include <bonjour/bonjour_discovery.h>

#include <boost/bind/bind.hpp>

#include <algorithm>

namespace robaxi_tool {

using KV::BonjourDiscovery;
using KV::BonjourProfile;

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

AnnouncedHosts::AnnouncedHosts(Bell& bell) : fBell(bell), fLastChange(Clock::now()) {
    fAdding = BonjourDiscovery::fAddProfile.connect(
        boost::bind(&AnnouncedHosts::xAdd, this, boost::placeholders::_1));
    fRemoving = BonjourDiscovery::fRemoveProfile.connect(
        boost::bind(&AnnouncedHosts::xRemove, this, boost::placeholders::_1));
    try {
        xListen();
    } catch (...) {
        BonjourDiscovery::stopListening();
        throw;
    }
}

AnnouncedHosts::~AnnouncedHosts() {
    BonjourDiscovery::stopListening();
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
    if (isNew) {
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
    fQueries.start(hostName, [this, key, hostName](const std::string& address) {
        if (!address.empty()) {
            xSetAddresses(key, {address}, true);
            return;
        }
        startLookup(fLookups, hostName, [this, key](const std::vector<std::string>& addresses) {
            xSetAddresses(key, addresses, false);
        });
    });
}

void AnnouncedHosts::xSetAddresses(const std::string& key,
                                   const std::vector<std::string>& addresses, bool areOfAvahi) {
    {
        const std::lock_guard lock(fMutex);
        const auto found = fHosts.find(key);
        if (found == fHosts.end()) {
            return;
        }
        found->second.fLookedUp = true;
        found->second.fAddresses = addresses;
        found->second.fIsAddressOfAvahi = areOfAvahi;
        fLastChange = found->second.fChanged = Clock::now();
    }
    fBell.ring();
}

void AnnouncedHosts::xListen() {
    // It waits a few seconds for a daemon that hangs, and the user may interrupt that.
    const std::optional<std::string> error =
        resultInTime(2 * a_daemonPatience, fBell, []() -> std::string {
            try {
                BonjourDiscovery::startListening();
                return {};
            } catch (const std::exception& exception) {
                return exception.what();
            }
        });
    if (!error || !error->empty()) {
        throw Failure(ExitStatus::NoDiscovery, error.value_or("The Avahi daemon does not answer."));
    }
}

}  // namespace robaxi_tool

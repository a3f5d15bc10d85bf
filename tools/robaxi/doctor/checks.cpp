#include "doctor/checks.h"

#include <bonjour/bonjour_discovery.h>

#include <algorithm>

namespace robaxi_tool {

namespace {

/**
 * Returns true if the host is the one that is found by that name or address. A host name without
 * ".local" is not sufficient, since a service of another host may have it as its name, and services
 * are preferred.
 */
bool isCertainly(const Target& target, const AnnouncedHost& host) {
    const auto hasName = [&target](const KV::BonjourService& service) {
        return service.fType == KV::BonjourDiscovery::fRobaxiServiceType &&
               service.fName == target.fHost;
    };
    return host.fHostName == target.fHost ||
           std::any_of(host.fServices.begin(), host.fServices.end(), hasName) ||
           std::find(host.fAddresses.begin(), host.fAddresses.end(), target.fHost) !=
               host.fAddresses.end();
}

bool shareAddress(const std::vector<std::string>& some, const std::vector<std::string>& others) {
    return std::find_first_of(some.begin(), some.end(), others.begin(), others.end()) != some.end();
}

}  // namespace

std::string nameOf(Verdict verdict) {
    switch (verdict) {
        case Verdict::Good:
            return "ok";
        case Verdict::Note:
            return "note";
        case Verdict::Problem:
            return "problem";
        case Verdict::Skipped:
            break;
    }
    return "skipped";
}

Finding problemOf(const std::string& text) {
    const std::size_t end = text.find(". ");
    if (end == std::string::npos) {
        return {Verdict::Problem, text, {}};
    }
    return {Verdict::Problem, text.substr(0, end + 1), text.substr(end + 2)};
}

const AnnouncedHost* completeAnnouncement(const Target& target,
                                          const std::map<std::string, AnnouncedHost>& hosts) {
    const auto found = std::find_if(hosts.begin(), hosts.end(), [&target](const auto& entry) {
        const AnnouncedHost& host = entry.second;
        return host.isRobot() && !host.ports().empty() && host.fLookedUp &&
               isCertainly(target, host);
    });
    return found == hosts.end() ? nullptr : &found->second;
}

std::optional<std::vector<std::string>> Examination::lookUp(const std::string& hostName) const {
    return addressesInTime(hostName, std::chrono::seconds(fTimeout), fInterruption);
}

const AnnouncedHost* Examination::announcement() const {
    for (const auto& [key, host] : fAnnounced) {
        if ((fEndpoint && host.fHostName == fEndpoint->fHost) ||
            shareAddress(host.fAddresses, fAddresses)) {
            return &host;
        }
    }
    return nullptr;
}

const std::vector<Check>& allChecks() {
    static const std::vector<Check> checks = {
        {"network", false, checkNetwork},
        {"multicast", false, checkMulticast},
        {"multicast-route", false, checkMulticastRoute},
        {"mdns-port", false, checkMdnsPort},
        {"settings", false, checkSettings},
        {"bus", false, checkBus},
        {"daemon", false, checkDaemon},
        {"names", false, checkNames},
        {"announcements", false, checkAnnouncements},
        {"host-name", true, checkHostName},
        {"announced", true, checkAnnounced},
        {"port", true, checkPort},
        {"protocol", true, checkProtocol},
        {"access", true, checkAccess},
        {"icon", true, checkIcon},
        {"ros2", true, checkRos2},
    };
    return checks;
}

}  // namespace robaxi_tool

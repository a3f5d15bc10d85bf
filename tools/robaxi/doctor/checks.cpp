#include "doctor/checks.h"

#include <algorithm>

namespace robaxi_tool {

namespace {

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

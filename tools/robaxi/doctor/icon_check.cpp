#include "doctor/checks.h"

#include <base/address.h>

#include <algorithm>
#include <download/robot_icon.h>

namespace robaxi_tool {

namespace {

/** Returns the address at which lists look for the icon: IPv4, if the host has it. */
const std::string& addressOfIcon(const Examination& examination) {
    const std::vector<std::string>& addresses = examination.fAddresses;
    const auto ipv4 = std::find_if(addresses.begin(), addresses.end(), base::isIPv4);
    if (ipv4 != addresses.end()) {
        return *ipv4;
    }
    return examination.fIsConnected ? examination.fReachedAddress : addresses.front();
}

}  // namespace

Finding checkIcon(Examination& examination) {
    if (examination.fAddresses.empty()) {
        return {Verdict::Skipped, "The host's address is not known.", {}};
    }
    const AnnouncedHost* const host = examination.announcement();
    if (host != nullptr && !host->isRobot()) {
        return {Verdict::Skipped, "Only robots have an icon.", {}};
    }
    const download::RobotIcon icon = download::getRobotIcon(
        addressOfIcon(examination), std::chrono::seconds(examination.fTimeout));
    if (icon.fFault.empty()) {
        return {Verdict::Good,
                "The icon is there (" + std::to_string(icon.fBytes.size()) + " bytes).",
                {}};
    }
    // A host that is not announced need not be a robot.
    return {
        host == nullptr ? Verdict::Note : Verdict::Problem,
        "The icon is missing, so lists show no picture: " + icon.fUrl + ": " + icon.fFault + '.',
        "Let the robot's web server, on port 80, serve the picture at that address; the two "
        "slashes belong to it."};
}

}  // namespace robaxi_tool

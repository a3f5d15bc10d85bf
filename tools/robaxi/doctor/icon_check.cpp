#include "doctor/checks.h"
#include "doctor/http_get.h"

namespace robaxi_tool {

namespace {

constexpr std::size_t a_largestIcon = std::size_t{4} * 1024 * 1024;
constexpr unsigned short a_httpPort = 80;
constexpr unsigned a_httpOk = 200;
// With a doubled slash because the robot browser uses one, and some servers treat it differently.
constexpr const char* a_iconPath = "//media/buddy.icon";

/** Why there is no icon; empty when there is one. */
std::string missing(const HttpAnswer& answer) {
    if (!answer.fError.empty()) {
        return answer.fError;
    }
    if (answer.fStatus != a_httpOk) {
        return "status " + std::to_string(answer.fStatus);
    }
    return answer.fBytes == 0 ? "the file is empty" : "";
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
    const std::string& address = examination.fAddresses.front();
    const bool isIpv6 = address.find(':') != std::string::npos;
    const std::string url = "http://" + (isIpv6 ? '[' + address + ']' : address) + a_iconPath;
    const HttpAnswer answer = httpGet(address, a_httpPort, a_iconPath,
                                      std::chrono::seconds(examination.fTimeout), a_largestIcon);
    const std::string reason = missing(answer);
    if (reason.empty()) {
        return {
            Verdict::Good, "The icon is there (" + std::to_string(answer.fBytes) + " bytes).", {}};
    }
    // A host that is not announced need not be a robot.
    return {host == nullptr ? Verdict::Note : Verdict::Problem,
            "The icon is missing, so lists show no picture: " + url + ": " + reason + '.',
            "Let the robot's web server, on port 80, serve the picture at that address; the two "
            "slashes belong to it."};
}

}  // namespace robaxi_tool

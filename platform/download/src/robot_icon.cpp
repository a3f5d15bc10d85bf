#include <download/http_get.h>
#include <download/robot_icon.h>
#include <utility>

namespace download {

namespace {

constexpr std::size_t a_largestIcon = std::size_t{4} * 1024 * 1024;
constexpr unsigned short a_httpPort = 80;
constexpr unsigned a_httpOk = 200;
// With a doubled slash because the robot browser uses one, and some servers treat it differently.
constexpr const char* a_iconPath = "//media/buddy.icon";

/** Why there is no icon; empty when there is one. */
std::string faultOf(const HttpAnswer& answer) {
    if (!answer.fError.empty()) {
        return answer.fError;
    }
    if (answer.fStatus != a_httpOk) {
        return "status " + std::to_string(answer.fStatus);
    }
    return answer.fBody.empty() ? "the file is empty" : "";
}

}  // namespace

RobotIcon getRobotIcon(const std::string& address, std::chrono::milliseconds timeout,
                       const std::atomic<bool>* isCancelled) {
    const bool isIpv6 = address.find(':') != std::string::npos;
    RobotIcon icon;
    icon.fUrl = "http://" + (isIpv6 ? '[' + address + ']' : address) + a_iconPath;
    HttpAnswer answer =
        httpGet(address, a_httpPort, a_iconPath, timeout, a_largestIcon, isCancelled);
    icon.fFault = faultOf(answer);
    icon.fBytes = std::move(answer.fBody);
    return icon;
}

}  // namespace download

#include "doctor/checks.h"

#include <download/robot_icon.h>

namespace robaxi_tool {

Finding checkIcon(Examination& examination) {
    if (examination.fAddresses.empty()) {
        return {Verdict::Skipped, "The host's address is not known.", {}};
    }
    const AnnouncedHost* const host = examination.announcement();
    if (host != nullptr && !host->isRobot()) {
        return {Verdict::Skipped, "Only robots have an icon.", {}};
    }
    const download::RobotIcon icon = download::getRobotIcon(
        examination.fAddresses.front(), std::chrono::seconds(examination.fTimeout));
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

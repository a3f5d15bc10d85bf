#ifndef DOWNLOAD_ROBOT_ICON_H
#define DOWNLOAD_ROBOT_ICON_H

#include <chrono>
#include <string>

namespace download {

/** The answer to a request for a robot's icon. */
struct RobotIcon {
    std::string fUrl;
    std::string fBytes;  ///< untrusted
    std::string fFault;  ///< the reason if there is no icon; otherwise empty
};

/** Downloads the icon from the robot's web server. @param address an IP address */
RobotIcon getRobotIcon(const std::string& address, std::chrono::milliseconds timeout);

}  // namespace download

#endif

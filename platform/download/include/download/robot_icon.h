#ifndef DOWNLOAD_ROBOT_ICON_H
#define DOWNLOAD_ROBOT_ICON_H

#include <atomic>
#include <chrono>
#include <string>

namespace download {

/** The answer to a request for a robot's icon. */
struct RobotIcon {
    std::string fUrl;
    std::string fBytes;  ///< untrusted
    std::string fFault;  ///< the reason if there is no icon; otherwise empty
};

/**
 * Downloads the icon from the robot's web server.
 *
 * @param address an IP address
 * @param isCancelled ends the download soon when another thread sets it; null for none
 */
RobotIcon getRobotIcon(const std::string& address, std::chrono::milliseconds timeout,
                       const std::atomic<bool>* isCancelled = nullptr);

}  // namespace download

#endif

#ifndef OBVISTA_VIEWER_ANNOUNCEMENT_H
#define OBVISTA_VIEWER_ANNOUNCEMENT_H

#include <optional>
#include <string>

namespace obvista {

/** Address and port of a robot. */
struct RobotPlace {
    std::string fAddress;
    int fPort = 0;

    bool operator==(const RobotPlace& other) const {
        return fAddress == other.fAddress && fPort == other.fPort;
    }
    bool operator!=(const RobotPlace& other) const { return !(*this == other); }
};

/** The announced service of a robot, which keeps its name when the robot moves. */
struct Announcement {
    std::string fHostName;  ///< safe to show
    std::string fService;   ///< name of the service instance; one host may have several robots

    bool operator==(const Announcement& other) const {
        return fHostName == other.fHostName && fService == other.fService;
    }
};

// Both read the map of KV::BonjourDiscovery, which is empty unless the process listens.

/** Returns the announcement of the robot at an address, or a host name, and port. */
std::optional<Announcement> announcedAt(const RobotPlace& place);

/** Returns the current address and port of an announced robot, with an empty address while the
 *  host is still looked up; nothing while it is not announced. */
std::optional<RobotPlace> placeOf(const Announcement& robot);

}  // namespace obvista

#endif

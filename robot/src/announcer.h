#ifndef OBVISTA_ROBOT_ANNOUNCER_H
#define OBVISTA_ROBOT_ANNOUNCER_H

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace robot {

/** A service to announce. */
struct AnnouncedService {
    std::string fType;  ///< for instance "_robaxi._tcp"
    int fPort = 0;
};

inline bool operator==(const AnnouncedService& one, const AnnouncedService& other) {
    return one.fType == other.fType && one.fPort == other.fPort;
}

/**
 * Announces services on the local network through the Avahi daemon.
 *
 * A missing daemon or bus is reported once; when one appears or returns, everything is announced
 * again. If another host uses the name, the services get another one ("NAME #2"), which is
 * reported, too. All operations may be called from any thread, but not from `say`.
 */
class Announcer {
  public:
    /**
     * @param name of the services, 1 to 63 bytes
     * @param say writes one line for the user; called from any thread
     */
    Announcer(const std::string& name, std::function<void(const std::string& line)> say);

    /** Withdraws everything and sends a goodbye. */
    ~Announcer();
    Announcer(const Announcer&) = delete;
    Announcer& operator=(const Announcer&) = delete;

    /**
     * Announces these services and withdraws the others; services in both sets are not interrupted.
     */
    void announce(const std::vector<AnnouncedService>& services);

    /**
     * Announces the services under a separate host name of the robot with one IPv4 address, instead
     * of the machine's name and addresses.
     *
     * @param address dotted IPv4; empty to restore the machine's name and addresses
     */
    void setAddress(const std::string& address);

  private:
    struct Private;
    std::unique_ptr<Private> fPrivate;
};

/** Returns a host name derived from a service's name: "my robot" becomes "my-robot.local". */
std::string hostNameFor(const std::string& name);

}  // namespace robot

#endif

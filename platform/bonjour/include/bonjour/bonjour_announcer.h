#ifndef BONJOUR_BONJOUR_ANNOUNCER_H
#define BONJOUR_BONJOUR_ANNOUNCER_H

#include <bonjour/bonjour_export.h>
#include <bonjour/bonjour_profile.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace KV {

/**
 * Announces a robot's or computer's services on the local network through the Avahi daemon
 * (docs/announcing.md).
 *
 *     KV::BonjourAnnouncer announcer("marvin", [](const std::string& line) { ... });
 *     announcer.announce({{KV::BonjourDiscovery::fRobaxServiceType, 80},
 *                         {KV::BonjourDiscovery::fRobaxiServiceType, 9559}});
 *
 * A missing daemon or bus is reported once; when one appears or returns, everything is announced
 * again. If another host uses the name, the services get another one ("NAME #2"), which is
 * reported, too. All operations may be called from any thread, but not from `say`. They wait at
 * most 0.3 s for the daemon; if it hangs, the changes are announced when it answers again.
 */
class BONJOUR_EXPORT BonjourAnnouncer {
  public:
    /**
     * @param name of the services, 1 to 63 bytes
     * @param say writes one line for the user; called from another thread, one call at a time
     * @throws std::runtime_error if its thread cannot be started
     */
    BonjourAnnouncer(const std::string& name, std::function<void(const std::string& line)> say);

    /** Withdraws everything and sends a goodbye. `say` is not called afterwards. */
    ~BonjourAnnouncer();
    BonjourAnnouncer(const BonjourAnnouncer&) = delete;
    BonjourAnnouncer& operator=(const BonjourAnnouncer&) = delete;

    /**
     * Announces these services, whose fName is ignored, and withdraws the others; services in both
     * sets are not interrupted.
     */
    void announce(const std::vector<BonjourService>& services);

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

}  // namespace KV

#endif

#ifndef OBVISTA_TOOLS_ROBAXI_NETWORK_ANNOUNCED_HOSTS_H
#define OBVISTA_TOOLS_ROBAXI_NETWORK_ANNOUNCED_HOSTS_H

#include "network/avahi_client.h"
#include "network/name_lookups.h"
#include "process/bell.h"

#include <bonjour/bonjour_profile.h>

#include <boost/shared_ptr.hpp>
#include <boost/signals2/connection.hpp>

#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace robaxi_tool {

/** A host that announces itself, as it was known at one instant. */
struct AnnouncedHost {
    std::string fHostName;  ///< for instance "robot1.local"
    std::vector<KV::BonjourService> fServices;
    bool fLookedUp = false;
    std::vector<std::string> fAddresses;  ///< none until it is looked up, or when it fails
    bool fIsAddressOfAvahi = false;       ///< Avahi gave the address, not the system's resolver
    Clock::time_point fChanged;           ///< when what is above last changed

    /** The host name without ".local". */
    std::string name() const;
    bool isRobot() const;
    /** Ports of the middleware; none when it does not run. */
    std::vector<int> ports() const;
};

/**
 * The hosts that announce themselves while it lives, with their addresses. One at a time in a
 * program. May be used from any thread.
 */
class AnnouncedHosts {
  public:
    /**
     * Starts to listen.
     *
     * @param bell rung after each change
     * @throws Failure NoDiscovery when there is no bus or no daemon
     */
    explicit AnnouncedHosts(Bell& bell);
    ~AnnouncedHosts();
    AnnouncedHosts(const AnnouncedHosts&) = delete;
    AnnouncedHosts& operator=(const AnnouncedHosts&) = delete;

    /** The hosts by their host name in lower case. */
    std::map<std::string, AnnouncedHost> hosts() const;
    /** When a host last came, changed or went, or when this was made. */
    Clock::time_point lastChange() const;

  private:
    void xAdd(const boost::shared_ptr<KV::BonjourProfile>& profile);
    void xRemove(const boost::shared_ptr<KV::BonjourProfile>& profile);
    void xLookUp(const std::string& key, const std::string& hostName);
    void xSetAddresses(const std::string& key, const std::vector<std::string>& addresses,
                       bool areOfAvahi);
    void xListen();

    Bell& fBell;
    mutable std::mutex fMutex;  ///< guards the two that follow
    std::map<std::string, AnnouncedHost> fHosts;
    Clock::time_point fLastChange;
    NameLookups fLookups;
    AddressQueries fQueries;  ///< goes before fLookups, which its answers use
    boost::signals2::scoped_connection fAdding;
    boost::signals2::scoped_connection fRemoving;
};

}  // namespace robaxi_tool

#endif

#ifndef OBVISTA_TOOLS_ROBAXI_NETWORK_ANNOUNCED_HOSTS_H
#define OBVISTA_TOOLS_ROBAXI_NETWORK_ANNOUNCED_HOSTS_H

#include "network/name_lookups.h"
#include "process/bell.h"

#include <bonjour/bonjour_profile.h>

#include <boost/shared_ptr.hpp>
#include <boost/signals2/connection.hpp>

#include <address_queries.h>
#include <future>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace robaxi_tool {

/** A snapshot of an announced host. */
struct AnnouncedHost {
    std::string fHostName;  ///< for instance "robot1.local"
    std::vector<KV::BonjourService> fServices;
    bool fLookedUp = false;
    /** Empty until it is looked up, or if that fails; IPv4 first. */
    std::vector<std::string> fAddresses;
    Clock::time_point fChanged;  ///< time of the last change of the above

    /** Returns the host name without ".local". */
    std::string name() const;
    bool isRobot() const;
    /** Returns the ports of the middleware; empty if it is not running. */
    std::vector<int> ports() const;
};

/**
 * The hosts that are announced while the object exists. One object at a time in a program. May be
 * used from any thread.
 */
class AnnouncedHosts {
  public:
    enum class Addresses { LookedUp, LeftOut };

    /**
     * Begins to start listening, on another thread.
     *
     * @param bell rung after each change, and at the end of the start
     */
    explicit AnnouncedHosts(Bell& bell, Addresses addresses = Addresses::LookedUp);
    ~AnnouncedHosts();
    AnnouncedHosts(const AnnouncedHosts&) = delete;
    AnnouncedHosts& operator=(const AnnouncedHosts&) = delete;

    /**
     * Waits for the end of the start, which takes 5 s if the daemon hangs.
     *
     * @throws Failure NoDiscovery if there is no bus, or no daemon that answers
     * @throws Interrupted
     */
    void waitForStart();
    /** Returns why it cannot listen, or an empty text if it listens; nothing during the start. */
    std::optional<std::string> startError() const;

    /** Returns the hosts by their host name in lower case. */
    std::map<std::string, AnnouncedHost> hosts() const;
    /** Returns the time of the last change of any host, or of the end of the start. */
    Clock::time_point lastChange() const;

  private:
    void xAdd(const boost::shared_ptr<KV::BonjourProfile>& profile);
    void xRemove(const boost::shared_ptr<KV::BonjourProfile>& profile);
    void xLookUp(const std::string& key, const std::string& hostName);
    void xSetAddresses(const std::string& key, const std::vector<std::string>& addresses);
    void xStart();

    Bell& fBell;
    mutable std::mutex fMutex;  ///< guards the following three
    std::optional<std::string> fStartError;
    std::map<std::string, AnnouncedHost> fHosts;
    Clock::time_point fLastChange;
    base::Lookups fLookups{a_mostLookups};
    /** Null if addresses are left out; destroyed before fLookups, which its answers use. */
    std::unique_ptr<KV::bonjour::AddressQueries> fQueries;
    boost::signals2::scoped_connection fAdding;
    boost::signals2::scoped_connection fRemoving;
    std::future<void> fStart;  ///< destroyed first
};

}  // namespace robaxi_tool

#endif

#ifndef OBVISTA_TESTS_BONJOUR_DISCOVERY_RECORDER_H
#define OBVISTA_TESTS_BONJOUR_DISCOVERY_RECORDER_H

#include <bonjour/bonjour_discovery.h>

#include <boost/signals2/connection.hpp>

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

/** A snapshot of one host in the map. */
struct HostView {
    boost::shared_ptr<KV::BonjourProfile> fProfile;
    std::string fHostName;
    std::string fServices;  ///< in order, for instance "_robax._tcp:9559 _robaxi._tcp:9560"
    std::string fIP;
};
using MapView = std::map<std::string, HostView>;

/** Describes the services of a profile as in HostView. */
std::string describeServices(const KV::BonjourProfile& profile);

/** Copies the discovery map under its lock. */
MapView viewMap();

/** Returns the number of hosts in the discovery map. */
std::size_t mapSize();

/** Connects a handler to the signal of added profiles while the connection exists. */
boost::signals2::scoped_connection connectToAdd(
    const std::function<void(const boost::shared_ptr<KV::BonjourProfile>&)>& handler);

/** Records the two discovery signals from construction to destruction. */
class DiscoveryRecorder {
  public:
    struct Event {
        bool fAdded = false;
        boost::shared_ptr<KV::BonjourProfile> fProfile;
        std::string fHostName;
        std::string fServices;
    };

    DiscoveryRecorder();

    std::vector<Event> eventsOf(const std::string& hostName) const;
    /** Returns the events of one host as texts: "+ _robax._tcp:9559", "-". */
    std::vector<std::string> wordsOf(const std::string& hostName) const;

    /**
     * Waits until the map is as wanted; it is checked after each signal. Returns false if it is not
     * in 60 s: a service whose announcement is lost is found by a query up to half a minute later.
     */
    bool waitForMap(const std::function<bool(const MapView&)>& wanted) const;
    /** Waits until the host is in the map with these services. */
    bool waitForHost(const std::string& hostName, const std::string& services) const;
    bool waitForNoHost(const std::string& hostName) const;

  private:
    void xRecord(bool added, const boost::shared_ptr<KV::BonjourProfile>& profile);

    mutable std::mutex fMutex;
    mutable std::condition_variable fChanged;
    std::vector<Event> fEvents;
    boost::signals2::scoped_connection fAddConnection;
    boost::signals2::scoped_connection fRemoveConnection;
};

#endif

#ifndef BONJOUR_BONJOUR_DISCOVERY_H
#define BONJOUR_BONJOUR_DISCOVERY_H

#include <bonjour/bonjour_export.h>
#include <bonjour/bonjour_profile.h>
#include <robaxi/kv_mutex.h>

#include <boost/shared_ptr.hpp>
#include <boost/signals2/signal.hpp>

#include <map>
#include <string>

namespace KV {

/**
 * The robots and computers that are announced on the local network.
 *
 * Based on Avahi. Connect to the two signals before calling startListening(), otherwise the first
 * announcements are missed. The library changes the map and emits both signals on a dedicated
 * thread while it holds fRobaxsMapMutex for writing: a handler reads a profile without a lock, and
 * must not take the map lock. The signals and the lock are never destroyed, so a thread that still
 * runs when the program ends can use them.
 */
class BONJOUR_EXPORT BonjourDiscovery {
  public:
    using Map = std::map<std::string, boost::shared_ptr<BonjourProfile>>;  ///< By host name
    using ProfileSignal = boost::signals2::signal<void(boost::shared_ptr<BonjourProfile>)>;
    ///< Emitted with the profile that has been added, or that is removed.
    /** Service type of a robot: "_robax._tcp". */
    static const std::string& fRobaxServiceType;
    /** Service type of a running middleware: "_robaxi._tcp". */
    static const std::string& fRobaxiServiceType;
    /** Default port of the middleware: 9559. */
    static const int fDefaultRobaxiPort;

    /** Guards the map and the fields of the profiles in it. */
    static boost::shared_ptr<KVMutexRW>& fRobaxsMapMutex;

    /** Emitted when a host appears, and again for the same object when it gains or loses a
     *  service. */
    static ProfileSignal& fAddProfile;
    /**
     * Emitted when the last service of a host is gone, or when the host has moved to another
     * address; fAddProfile then follows at once for a new profile. The profile is no longer in the
     * map.
     */
    static ProfileSignal& fRemoveProfile;

    /**
     * Starts listening; does nothing if it already listens or is starting. Blocks until the daemon
     * has answered, for five seconds at most, or until stopListening() is called. From then on the
     * daemon and the system bus may stop and restart: the map is emptied, with fRemoveProfile for
     * each host, and filled again. May be called from any thread. Does nothing while the program's
     * static objects are being destroyed.
     *
     * @throws std::runtime_error if there is no system bus or no Avahi daemon, or the daemon does
     * not answer; the text gives the cause and advice
     */
    static void startListening();

    /**
     * Stops listening and empties the map without emitting signals. Returns within half a second,
     * when no handler is running, even if the daemon does not answer. May be called from any thread
     * that does not hold the map lock. Does nothing if it does not listen. If a program ends
     * without calling it, it is called while static objects are being destroyed.
     *
     * @throws std::logic_error if it is called from a handler
     */
    static void stopListening();

    /** Returns the announced hosts by key. Hold the map lock while using the reference. */
    static const Map& getMap();
};

}  // namespace KV

#endif

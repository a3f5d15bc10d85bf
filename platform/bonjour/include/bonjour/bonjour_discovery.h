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
 * Sits on Avahi. Connect to the two signals first, then call startListening(), or the first
 * announcements are missed. The library changes the map and fires both signals while it holds
 * fRobaxsMapMutex for writing, on a thread of its own: a handler reads a profile without a lock,
 * and must not take the map lock. The signals and the lock are never destroyed, so a thread that is
 * still running when the program ends may use them.
 */
class BONJOUR_EXPORT BonjourDiscovery {
  public:
    using Map = std::map<std::string, boost::shared_ptr<BonjourProfile>>;
    using ProfileSignal = boost::signals2::signal<void(boost::shared_ptr<BonjourProfile>)>;

    /** Service type of a robot: "_robax._tcp". */
    static const std::string& fRobaxServiceType;
    /** Service type of a running middleware: "_robaxi._tcp". */
    static const std::string& fRobaxiServiceType;
    /** The port on which the middleware usually listens: 9559. */
    static const int fDefaultRobaxiPort;

    /** Guards the map and the fields of the profiles in it. */
    static boost::shared_ptr<KVMutexRW>& fRobaxsMapMutex;

    /** A host appeared, or gained or lost a service: then for the same object again. */
    static ProfileSignal& fAddProfile;
    /**
     * The last service of a host is gone, or the host has moved to another address, upon which
     * fAddProfile follows at once for a new profile; the profile has left the map.
     */
    static ProfileSignal& fRemoveProfile;

    /**
     * Starts to listen; does nothing when it already listens or begins to. Blocks until the daemon
     * has answered, for five seconds at most, or until stopListening() is called. Once it listens,
     * the daemon and the system bus may go away and come back: the map empties, with fRemoveProfile
     * for each host, and fills again. May be called from any thread. Does nothing while the
     * program's static objects are being destroyed.
     *
     * @throws std::runtime_error when there is no system bus or no Avahi daemon, or the daemon does
     * not answer; the text says which and what to do
     */
    static void startListening();

    /**
     * Stops listening and empties the map without firing signals. Returns when no handler runs any
     * more, within half a second, whether the daemon answers or not. May be called from any thread
     * that does not hold the map lock. Does nothing when it does not listen. A program that ends
     * without it is stopped while its static objects are being destroyed.
     *
     * @throws std::logic_error when it is called from a handler
     */
    static void stopListening();

    /** The announced hosts by key. The map lock must be held while the reference is used. */
    static const Map& getMap();
};

}  // namespace KV

#endif

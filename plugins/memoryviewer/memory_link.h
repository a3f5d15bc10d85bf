#ifndef OBVISTA_MEMORYVIEWER_MEMORY_LINK_H
#define OBVISTA_MEMORYVIEWER_MEMORY_LINK_H

#include "memory_feed.h"

#include <boost/shared_ptr.hpp>

#include <memory>
#include <string>

class KVBroker;
class KVConnection;
class KVSubscription;

namespace memoryviewer {

/**
 * One viewer's connection to one robot: the connection, the subscription to its memory, and the
 * feed that they fill.
 *
 * The widget that shows it holds it, and the plugin object can close it: either may be gone before
 * the other. Whatever is still open when the process exits is closed then, before the libraries
 * that it needs take themselves apart; no widget is told. Used on the GUI thread; only the feed is
 * filled from the library's threads.
 */
class MemoryLink {
  public:
    /**
     * Connects and subscribes; waits for the robot's answer, not for its keys.
     *
     * @throws KVError when the robot cannot be reached within the time-out
     */
    static std::shared_ptr<MemoryLink> open(const boost::shared_ptr<KVBroker>& broker,
                                            const std::string& ip, int port, double timeOut);

    ~MemoryLink();
    MemoryLink(const MemoryLink&) = delete;
    MemoryLink& operator=(const MemoryLink&) = delete;

    MemoryFeed& feed() { return fFeed; }
    /** The name that the robot reports itself. */
    const std::string& robotName() const { return fRobotName; }
    const std::string& address() const { return fAddress; }
    int port() const { return fPort; }

    /**
     * Ends the connection and says so in the feed; nothing but that arrives there afterwards. Does
     * nothing when it is closed already. Returns when no thread of the library uses the link.
     */
    void close();
    bool isClosed() const { return !fConnection; }

  private:
    MemoryLink(const boost::shared_ptr<KVBroker>& broker, const std::string& ip, int port,
               double timeOut);

    MemoryFeed fFeed;
    std::string fAddress;
    int fPort;
    std::string fRobotName;
    boost::shared_ptr<KVConnection> fConnection;
    boost::shared_ptr<KVSubscription> fSubscription;
};

}  // namespace memoryviewer

#endif

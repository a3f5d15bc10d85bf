#ifndef OBVISTA_MEMORYVIEWER_MEMORY_LINK_H
#define OBVISTA_MEMORYVIEWER_MEMORY_LINK_H

#include "memory_feed.h"

#include <boost/shared_ptr.hpp>

#include <memory>
#include <robot_link.h>
#include <string>

class KVSubscription;

namespace memoryviewer {

/** One viewer's connection to one robot, the subscription to its memory, and the feed that they
 *  fill: only that is used from the library's threads too. */
class MemoryLink : public viewer::RobotLink {
  public:
    /**
     * Connects and subscribes; waits for the robot's answer, not for its keys.
     *
     * @throws KVError when the robot cannot be reached within the time-out
     */
    static std::shared_ptr<MemoryLink> open(const boost::shared_ptr<KVBroker>& broker,
                                            const std::string& ip, int port, double timeOut);

    ~MemoryLink() override;

    MemoryFeed& feed() { return fFeed; }

  private:
    MemoryLink(const boost::shared_ptr<KVBroker>& broker, const std::string& ip, int port,
               double timeOut);

    void xStop() override;
    void xTellClosed() override;
    void xSilence() override;

    MemoryFeed fFeed;
    boost::shared_ptr<KVSubscription> fSubscription;
};

}  // namespace memoryviewer

#endif

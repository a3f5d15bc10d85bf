#ifndef OBVISTA_MEMORYVIEWER_MEMORY_LINK_H
#define OBVISTA_MEMORYVIEWER_MEMORY_LINK_H

#include "session/history_client.h"
#include "session/memory_feed.h"
#include "session/subscription_planner.h"

#include <obvista/viewer/robot_link.h>

#include <boost/shared_ptr.hpp>

#include <memory>
#include <string>
#include <vector>

namespace memoryviewer {

class ValueWriter;

/**
 * A viewer's connection to one robot, the subscription to its memory, and the feed that receives
 * its values; only the feed is also used on the library's threads.
 */
class MemoryLink : public obvista::RobotLink {
  public:
    /** Updates a second of a plan's slow keys. */
    static constexpr double a_slowRate = 1;

    /**
     * Connects and subscribes; waits for the connection, not for the keys.
     *
     * @throws KVError if the robot cannot be reached within the time-out
     */
    MemoryLink(const boost::shared_ptr<KVBroker>& broker, const std::string& ip, int port,
               double timeOut);
    ~MemoryLink() override;

    MemoryFeed& feed() { return fFeed; }
    /** Returns the client of the histories of a replay; null once the link is closed. */
    HistoryClient* history() const { return fHistory.get(); }

    /**
     * Changes the subscribed keys and rate. Does not wait; does nothing without a connection.
     *
     * @param rate of the fast keys, updates a second
     */
    void subscribe(const SubscriptionPlan& plan, int rate);

    /** Subscribes again, since the robot has ended the subscriptions. Does nothing without a
     *  connection. */
    void subscribeAgain();

    /** Returns the round trip to the robot in seconds; negative if unknown. */
    double roundTrip() const;

    /** Returns a writer of values to this robot, over a separate connection. */
    std::unique_ptr<ValueWriter> makeWriter() const;

  protected:
    void stop() override;
    void restart() override;

  private:
    void xStart();
    std::shared_ptr<KVSubscription> xSubscribe(double rate, KVSubscription::Callbacks callbacks);

    MemoryFeed fFeed{notice()};
    SubscriptionPlan fSent;  ///< with the robot's identifiers
    int fRate;
    std::shared_ptr<KVSubscription> fFast;
    std::shared_ptr<KVSubscription> fSlow;  // only while it is needed
    std::unique_ptr<HistoryClient> fHistory;
};

}  // namespace memoryviewer

#endif

#ifndef OBVISTA_MEMORYVIEWER_MEMORY_LINK_H
#define OBVISTA_MEMORYVIEWER_MEMORY_LINK_H

#include "session/memory_feed.h"
#include "session/subscription_planner.h"

#include <obvista/viewer/robot_link.h>

#include <boost/shared_ptr.hpp>

#include <memory>
#include <string>
#include <vector>

namespace memoryviewer {

class ValueWriter;

/** One viewer's connection to one robot, the subscription to its memory, and the feed that they
 *  fill: only that is used from the library's threads too. */
class MemoryLink : public obvista::RobotLink {
  public:
    /** Updates a second of the slow keys of a plan. */
    static constexpr double a_slowRate = 1;

    /**
     * Connects and subscribes; waits for the robot's answer, not for its keys.
     *
     * @throws KVError when the robot cannot be reached within the time-out
     */
    MemoryLink(const boost::shared_ptr<KVBroker>& broker, const std::string& ip, int port,
               double timeOut);
    ~MemoryLink() override;

    MemoryFeed& feed() { return fFeed; }

    /**
     * Asks the robot for other keys, or at another rate. Does not wait; does nothing when the link
     * is closed.
     *
     * @param rate of the fast ones, updates a second
     */
    void subscribe(const SubscriptionPlan& plan, int rate);

    /** Seconds that a question to the robot takes; negative when that is not known. */
    double roundTrip() const;

    /** What writes values to this robot, over a connection of its own. */
    std::unique_ptr<ValueWriter> makeWriter() const;

  protected:
    void stop() override;

  private:
    /** Passes the values on that come once a second; of the keys it has heard already. */
    class SlowListener : public KVSubscription::Listener {
      public:
        explicit SlowListener(MemoryFeed& feed) : fFeed(feed) {}
        void keysAdded(const std::vector<KVKeyInfo>& /*keys*/) override {}
        void keysRemoved(const std::vector<std::uint32_t>& /*ids*/) override {}
        void valuesChanged(const std::vector<KVChange>& changes) override;
        void ended(const KVError& /*error*/) override {}

      private:
        MemoryFeed& fFeed;
    };

    const boost::shared_ptr<KVBroker> fBroker;
    MemoryFeed fFeed{notice()};
    SlowListener fSlowListener{fFeed};
    SubscriptionPlan fPlan;
    int fRate;
    boost::shared_ptr<KVSubscription> fFast;
    boost::shared_ptr<KVSubscription> fSlow;  // only while it is needed
};

}  // namespace memoryviewer

#endif

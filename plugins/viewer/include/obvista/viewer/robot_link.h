#ifndef OBVISTA_VIEWER_ROBOT_LINK_H
#define OBVISTA_VIEWER_ROBOT_LINK_H

#include <obvista/viewer/notice.h>
#include <obvista/viewer/viewer_export.h>

#include <boost/shared_ptr.hpp>

#include <atomic>
#include <memory>
#include <string>

class KVBroker;
class KVConnection;

namespace obvista {

class ReplayClient;

/**
 * The connection of one viewer to one robot.
 *
 * A viewer derives its own link, which holds what flows over the connection: subscriptions, streams
 * and the threads that work on them.
 *
 * ```cpp
 * class BatteryLink : public obvista::RobotLink {
 *   public:
 *     using RobotLink::RobotLink;
 *     ~BatteryLink() override { close(); }
 *
 *     void follow() {
 *         KVSubscription::Callbacks callbacks;
 *         callbacks.fValuesChanged = ...;
 *         fSubscription =
 *             KVSubscription::start(connection(), "KVMemory", {"Battery/Charge"}, 5, callbacks);
 *     }
 *
 *   protected:
 *     void stop() override { fSubscription.reset(); }
 *     ...
 * };
 * ```
 *
 * PluginLinks opens it, the widget that shows it holds it, and the plugin object can close it:
 * either may be gone before the other. Links that are still open when the process exits are closed
 * then, before the libraries that they need take themselves apart.
 *
 * Used on the GUI thread, except for notice() and isLost().
 */
class OBVISTA_VIEWER_EXPORT RobotLink {
  public:
    /**
     * Connects. A derived class has a constructor with the same parameters, for PluginLinks.
     *
     * @param timeOut seconds
     * @throws KVError if the robot cannot be reached within the time-out
     */
    RobotLink(const boost::shared_ptr<KVBroker>& broker, const std::string& ip, int port,
              double timeOut);
    /** A derived class calls close() in its own destructor, while stop() is still its own. */
    virtual ~RobotLink();
    RobotLink(const RobotLink&) = delete;
    RobotLink& operator=(const RobotLink&) = delete;

    /** The name that the robot reports itself; untrusted, and may be empty. */
    const std::string& robotName() const { return fRobotName; }
    const std::string& address() const { return fAddress; }  ///< Address as it was given
    int port() const { return fPort; }                       ///< Port of the robot

    /**
     * Ends the connection and gives notice of it. Does nothing if it is closed already. Returns
     * when no thread of the middleware uses the link.
     */
    void close();
    /** Like close(), but without a notice; none is given afterwards. */
    void closeSilently();
    bool isClosed() const { return !fConnection; }  ///< True after close()

    /**
     * Returns the seconds since the robot was last heard if it does not answer any more; otherwise,
     * and after the end, 0.
     */
    double silence() const;

    /** Returns true if the robot was lost before the link was closed. May be called from any
     *  thread. */
    bool isLost() const { return fIsLost; }

    /** The notice that there is something to take from this link, or that it has ended.
     * ViewerWidget receives it; the threads that bring something give it. */
    Notice& notice() { return fNotice; }

    /** Returns the controls of a robot that is a replay; null once the link is closed. For
     *  ViewerWidget. */
    ReplayClient* replay() const { return fReplay.get(); }

  protected:
    /** Null once the link is closed. */
    const std::shared_ptr<KVConnection>& connection() const { return fConnection; }

    /** Ends everything that flows over the connection, and returns when no thread brings any more.
     *  Called once, on the GUI thread or at the exit of the process. */
    virtual void stop() = 0;

  private:
    std::string fAddress;
    int fPort;
    std::string fRobotName;
    Notice fNotice;
    std::atomic<bool> fIsLost{false};
    std::shared_ptr<KVConnection> fConnection;
    std::unique_ptr<ReplayClient> fReplay;
};

}  // namespace obvista

#endif

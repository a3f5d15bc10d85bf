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

struct Announcement;
class Reconnection;
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
 *         fIsFollowing = true;
 *         KVSubscription::Callbacks callbacks;
 *         callbacks.fValuesChanged = ...;
 *         fSubscription =
 *             KVSubscription::start(connection(), "KVMemory", {"Battery/Charge"}, 5, callbacks);
 *     }
 *
 *   protected:
 *     void stop() override { fSubscription.reset(); }
 *     void restart() override {
 *         if (fIsFollowing) {
 *             follow();
 *         }
 *     }
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

    /** The name that the robot reports itself; untrusted, and may be empty. It changes when the
     * user accepts another robot in the place of one that was lost; the address and the port also
     * do when a robot returns elsewhere. */
    const std::string& robotName() const { return fRobotName; }
    /** Address or name as it was given; for an address, the current one of a robot that has
     *  returned. */
    const std::string& address() const { return fAddress; }
    int port() const { return fPort; }  ///< Port of the robot

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

    /** Takes note of the robot's announcement, by which it is found again if it moves. ViewerWidget
     *  calls it about once a second; a widget without that base class does the same. */
    void noteAnnouncement();

    /** Returns true if the robot was lost before the link was closed, and has not returned. May be
     *  called from any thread. */
    bool isLost() const { return fIsLost; }

    /** @name Connecting to a lost robot again
     * ViewerWidget calls these operations, since it shows the attempts and asks about other robots.
     * Only a widget without that base class calls them itself.
     */
    ///@{
    enum class Return {
        None,       ///< not yet
        SameRobot,  ///< the link is connected again, and restart() was called
        OtherRobot  ///< the same with the robot that the user has accepted
    };
    /** Calls stop(), and begins with attempts to connect again, on other threads. */
    void startReconnecting();
    /** Ends the attempts; the robot stays lost. */
    void stopReconnecting();
    /** Advances the attempts; to be called several times a second and after a notice. */
    Return reconnect();
    /** Returns the name of another robot that answers instead; empty if none does. Untrusted. */
    std::string stranger() const;
    /** Connects to that robot as if it were the lost one. */
    void acceptStranger();
    ///@}

    /** Returns the notice that there is something to take from this link, or that it has ended. The
     *  threads that bring something give it; ViewerWidget receives it, and emits newsArrived(). */
    Notice& notice() { return fNotice; }

    /** Returns the controls of a replay; null once the link is closed, and while it connects to a
     *  lost robot again. Only for ViewerWidget: no header declares them. Other code uses
     *  ViewerWidget::replayState(). */
    ReplayClient* replay() const { return fReplay.get(); }

  protected:
    /** Null once the link is closed. */
    const boost::shared_ptr<KVBroker>& broker() const { return fBroker; }
    /** Null once the link is closed; another one when the robot has returned. */
    const std::shared_ptr<KVConnection>& connection() const { return fConnection; }

    /**
     * Ends everything that flows over the connection, and returns when no thread brings any more.
     * Called when the link is closed, and before that when the kit begins to connect to a lost
     * robot again; on the GUI thread or at the exit of the process.
     */
    virtual void stop() = 0;
    /** Starts over connection() what stop() has ended. Called on the GUI thread when the robot has
     *  returned; identifiers and settings at the robot may be others than before. */
    virtual void restart() = 0;

  private:
    void xListenForLoss();

    boost::shared_ptr<KVBroker> fBroker;
    std::string fHost;  ///< as it was given
    std::string fAddress;
    int fPort;
    std::string fRobotName;
    Notice fNotice;
    std::atomic<bool> fIsLost{false};
    std::shared_ptr<KVConnection> fConnection;
    std::unique_ptr<ReplayClient> fReplay;
    std::shared_ptr<const Announcement> fAnnouncement;
    std::unique_ptr<Reconnection> fReconnection;
};

}  // namespace obvista

#endif

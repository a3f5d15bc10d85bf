#ifndef OBVISTA_VIEWER_ROBOT_LINK_H
#define OBVISTA_VIEWER_ROBOT_LINK_H

#include <boost/shared_ptr.hpp>

#include <memory>
#include <string>

class KVBroker;
class KVConnection;
class KVError;

namespace viewer {

/**
 * One viewer's connection to one robot; what a viewer has flowing through it is added by its own
 * class.
 *
 * The widget that shows it holds it, and the plugin object can close it: either may be gone before
 * the other. Whatever is still open when the process exits is closed then, before the libraries
 * that it needs take themselves apart; no widget is told. Used on the GUI thread.
 */
class RobotLink {
  public:
    /** The class on top closes the link in its own destructor. */
    virtual ~RobotLink();
    RobotLink(const RobotLink&) = delete;
    RobotLink& operator=(const RobotLink&) = delete;

    /** The name that the robot reports itself; untrusted. */
    const std::string& robotName() const { return fRobotName; }
    const std::string& address() const { return fAddress; }
    int port() const { return fPort; }

    /**
     * Ends the connection and lets the widget know; nothing but that arrives there afterwards. Does
     * nothing when it is closed already. Returns when no thread of the library uses the link.
     */
    void close();
    bool isClosed() const { return !fConnection; }

    /** Like close(), but without a word to anybody. */
    void closeSilently();

  protected:
    /**
     * Connects.
     *
     * @param timeOut seconds
     * @throws KVError when the robot cannot be reached within the time-out
     */
    RobotLink(const boost::shared_ptr<KVBroker>& broker, const std::string& ip, int port,
              double timeOut);

    const boost::shared_ptr<KVConnection>& connection() const { return fConnection; }

    /** Has a link closed when the process exits. To be called once a link is made. */
    static void closeAtExit(const std::shared_ptr<RobotLink>& link);

  private:
    /** Ends everything that flows, and returns when no thread of the library brings any more. */
    virtual void xStop() = 0;
    /** Lets the widget know that the link was closed from this side. */
    virtual void xTellClosed() = 0;
    /** Has the widget hear of nothing any more. */
    virtual void xSilence() = 0;

    std::string fAddress;
    int fPort;
    std::string fRobotName;
    boost::shared_ptr<KVConnection> fConnection;
};

}  // namespace viewer

#endif

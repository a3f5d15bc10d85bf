#ifndef ROBAXI_KV_CONNECTION_H
#define ROBAXI_KV_CONNECTION_H

#include <robaxi/kv_error.h>
#include <robaxi/kv_module.h>
#include <robaxi/robaxi_export.h>

#include <boost/shared_ptr.hpp>

#include <functional>
#include <memory>
#include <string>
#include <vector>

class KVBroker;

/**
 * A connection to one robot that reports its silence and its loss.
 *
 * Proxies and connections of one broker to the same address and port share one network link, which
 * lives as long as one of them. The link carries a heartbeat. The loss of a robot that is killed is
 * detected within one second. A robot that does not answer is silent within two seconds
 * (KVSettings::Limits::fLoss), and lost after ten (fSilence). During a silence calls wait, up to
 * their time-outs, and subscriptions and camera streams stay; when the robot is heard again, they
 * continue with the newest values and frames, if necessary on another network connection. A lost
 * connection stays lost; open another one to connect again. All operations may be called from any
 * thread.
 */
class ROBAXI_EXPORT KVConnection {
  public:
    using LostHandler = std::function<void(const KVError&)>;  ///< Receives the reason
    /** State of the connection; a lost one stays lost. */
    enum class State {
        Connected,
        Silent,  ///< the robot does not answer, and may return
        Lost
    };
    using StateHandler = std::function<void(State)>;  ///< Receives the new state

    /**
     * Connects to a robot.
     *
     * @param broker the broker to use; kept alive by the connection
     * @param ip address or host name
     * @param port 1 to 65535
     * @param timeOut seconds until the robot must have answered, above 0
     * @throws KVError InvalidArgument without a broker or for a number out of range; otherwise,
     *         within the time-out, the cause with a text that names address and port
     */
    static std::shared_ptr<KVConnection> open(boost::shared_ptr<KVBroker> broker,
                                              const std::string& ip, int port, double timeOut);

    /**
     * Connects to a robot whose addresses are known, for instance from its announcement. They are
     * tried one after the other, 250 ms apart, IPv4 and IPv6 in turn, eight at most; the first one
     * that answers is used. The same applies to the addresses of a name, without this list.
     *
     * @param ip address or host name, for which no lookup is made if there are addresses: settings
     *        and certificate are for it, wherever the robot is found, and errors name it
     * @param addresses numeric, IPv6 link-local ones with their interface: "fe80::1%eth0"
     * @throws KVError as above; the text also names the addresses that were tried
     */
    static std::shared_ptr<KVConnection> open(boost::shared_ptr<KVBroker> broker,
                                              const std::string& ip, int port, double timeOut,
                                              const std::vector<std::string>& addresses);

    /**
     * Closes the connection without calling a handler. Returns when none of its handlers is
     * running, except one from which it is called.
     */
    ~KVConnection();
    KVConnection(const KVConnection&) = delete;
    KVConnection& operator=(const KVConnection&) = delete;

    const std::string& getIP() const;  ///< Returns the address as it was given.
    std::string getAddress() const;    ///< Returns the numeric address at which the robot is.
    int getPort() const;               ///< Returns the port of the peer.
    /** Returns the name that the broker at the other end reports. */
    std::string getPeerName() const;
    /** Returns false if the connection is lost; true also while the robot is silent. */
    bool isConnected() const;
    State getState() const;  ///< Returns the present state, on any thread.
    /** Returns the seconds since the robot was last heard; it is heard at each heartbeat. */
    double getSilence() const;

    /** Returns the last heartbeat's round trip in seconds; negative before the first one. */
    double getRoundTrip() const;

    /**
     * Returns the modules that the robot hosts, with their methods. Waits for the answer.
     *
     * @param timeOut seconds, above 0
     * @throws KVError TimedOut, ConnectionLost
     */
    std::vector<KVModuleInfo> getModules(double timeOut) const;

    /**
     * Sets the function that is called, once, when the connection is lost: on a thread of the
     * library, or immediately on the calling thread if it is already lost. It must not throw. An
     * empty function removes the handler. Returns when the previous handler is not running, unless
     * called from it.
     */
    void setLostHandler(LostHandler handler);

    /**
     * Sets the function that is called when the state changes: on a thread of the library, or
     * immediately on the calling thread if the robot is already silent or lost. A short silence may
     * be over when its call runs; its end is then reported at once. It must not throw. An empty
     * function removes the handler. Returns when the previous handler is not running, unless called
     * from it.
     */
    void setStateHandler(StateHandler handler);

  private:
    friend class KVFrameStream;
    friend class KVProxy;
    friend class KVSubscription;
    struct Private;
    explicit KVConnection(std::shared_ptr<Private> implementation);
    std::shared_ptr<Private> fPrivate;
};

#endif

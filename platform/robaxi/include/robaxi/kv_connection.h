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
 * A connection to one robot that reports its loss.
 *
 * Proxies and connections of one broker to the same address and port share one network link, which
 * lives as long as one of them. The link carries a heartbeat: the loss of a robot that is killed is
 * detected within one second, that of a silent one within two unless KVSettings::Limits::fLoss says
 * otherwise. A lost connection stays lost; open another one to connect again. All operations may be
 * called from any thread.
 */
class ROBAXI_EXPORT KVConnection {
  public:
    using LostHandler = std::function<void(const KVError&)>;

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
    static boost::shared_ptr<KVConnection> open(boost::shared_ptr<KVBroker> broker,
                                                const std::string& ip, int port, double timeOut);

    /**
     * Closes the connection without calling the lost handler. Returns when none of its callbacks is
     * running, except one from which it is called.
     */
    ~KVConnection();
    KVConnection(const KVConnection&) = delete;
    KVConnection& operator=(const KVConnection&) = delete;

    const std::string& getIP() const;
    int getPort() const;
    /** Returns the name that the broker at the other end reports. */
    std::string getPeerName() const;
    bool isConnected() const;

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

  private:
    friend class KVFrameStream;
    friend class KVProxy;
    friend class KVSubscription;
    struct Private;
    explicit KVConnection(std::shared_ptr<Private> implementation);
    std::shared_ptr<Private> fPrivate;
};

#endif

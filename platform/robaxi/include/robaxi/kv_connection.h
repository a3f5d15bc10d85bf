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
 * A connection to one robot, with a notice when it is lost.
 *
 * Proxies and connections of one broker to the same address and port share one link on the network,
 * which lives as long as one of them. The link carries a heartbeat: a robot that is killed is
 * noticed within one second, one that falls silent within two unless KVSettings::Limits::fLoss says
 * otherwise. A lost connection stays lost; open another one to connect again. All operations may be
 * called from any thread.
 */
class ROBAXI_EXPORT KVConnection {
  public:
    using LostHandler = std::function<void(const KVError&)>;

    /**
     * Connects.
     *
     * @param broker the broker to go through; kept alive by the connection
     * @param ip address or host name
     * @param port 1 to 65535
     * @param timeOut seconds within which the robot must have answered, above 0
     * @throws KVError InvalidArgument without a broker or for a number out of its range; else,
     *         within the time-out, the cause with a text that names address and port
     */
    static boost::shared_ptr<KVConnection> open(boost::shared_ptr<KVBroker> broker,
                                                const std::string& ip, int port, double timeOut);

    /** Ends the connection without a notice; returns when no callback of it runs any more, unless
     *  it is called from such a callback. */
    ~KVConnection();
    KVConnection(const KVConnection&) = delete;
    KVConnection& operator=(const KVConnection&) = delete;

    const std::string& getIP() const;
    int getPort() const;
    /** The name of the broker at the other end, as it reports it itself. */
    std::string getPeerName() const;
    bool isConnected() const;

    /** Time between the last heartbeat and its answer, in seconds; negative before the first. */
    double getRoundTrip() const;

    /**
     * The modules that the robot hosts, with their methods.
     *
     * @param timeOut seconds, above 0
     * @throws KVError TimedOut, ConnectionLost
     */
    std::vector<KVModuleInfo> getModules(double timeOut) const;

    /**
     * Sets what is called, once, when the connection is lost: on a thread of the library, or at
     * once on the calling thread when it is already lost. It must not throw. An empty function
     * takes it away. Returns when the handler before does not run any more, unless called from it.
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

#ifndef ROBAXI_KV_BROKER_H
#define ROBAXI_KV_BROKER_H

#include <robaxi/robaxi_export.h>

#include <boost/shared_ptr.hpp>

#include <memory>
#include <string>

class KVModule;
struct KVSettings;

/**
 * A program's access point to the middleware: its proxies and connections reach robots through it
 * and, if it listens, it is the server that hosts the program's modules.
 *
 * One process may have several brokers; there is no global state. A broker, its proxies,
 * connections and subscriptions may be destroyed in any order and from any thread, with calls in
 * flight: those end with KVError (Cancelled). The destructor returns when no callback and no method
 * of the broker is running, except one from which it is called. All operations may be called from
 * any thread.
 */
class ROBAXI_EXPORT KVBroker {
  public:
    /** Default port of a robot. */
    static constexpr int a_defaultPort = 9559;

    /**
     * Creates a broker.
     *
     * @param name the broker's name, shown to its peers and in error texts
     * @param ip address to listen on; empty with a port means all addresses of the machine; empty
     *           with port 0 means that the broker does not listen
     * @param port port to listen on, 1 to 65535; 0 only with an empty `ip`
     * @param parentIP address of the broker to which this one belongs, or empty. The parent is
     *                 connected before this returns.
     * @param parentPort the parent's port, 1 to 65535; 0 only with an empty `parentIP`
     * @param flags has no effect
     * @param path has no effect
     * @param keepAlive has no effect
     * @throws KVError InvalidArgument for a port out of range or an empty name; AddressInUse or
     *         CannotListen if it cannot listen; the causes of a failed connection if the parent
     *         cannot be reached within two seconds
     */
    static boost::shared_ptr<KVBroker> createBroker(const std::string& name, const std::string& ip,
                                                    int port, const std::string& parentIP,
                                                    int parentPort, int flags, std::string path,
                                                    bool keepAlive);

    /**
     * Creates a broker with explicit settings. The overload above uses the user's settings
     * (KVSettings::load(), and throws the errors of that function, too).
     *
     * @throws KVError also InvalidArgument if the settings cannot be used
     */
    static boost::shared_ptr<KVBroker> createBroker(const std::string& name, const std::string& ip,
                                                    int port, const std::string& parentIP,
                                                    int parentPort, int flags, std::string path,
                                                    bool keepAlive, const KVSettings& settings);

    ~KVBroker();
    KVBroker(const KVBroker&) = delete;
    KVBroker& operator=(const KVBroker&) = delete;

    const std::string& getName() const;
    /** Returns the address given to createBroker(). */
    const std::string& getIP() const;
    /** Returns the port on which the broker listens, or 0. */
    int getPort() const;
    bool isListening() const;

    /**
     * Hosts a module under its name. Calls may arrive before this returns.
     *
     * @throws KVError InvalidArgument for a null module or a name that is already hosted; TooMany
     *         at the limit of the settings
     */
    void addModule(boost::shared_ptr<KVModule> module);

    /**
     * Stops hosting the module of that name, if there is one, and ends the subscriptions to its
     * values and cameras. Returns when none of its methods is running, except one from which it is
     * called.
     */
    void removeModule(const std::string& name);

  private:
    friend class KVConnection;
    friend class KVProxy;
    struct Private;
    explicit KVBroker(std::shared_ptr<Private> implementation);
    std::shared_ptr<Private> fPrivate;
};

#endif

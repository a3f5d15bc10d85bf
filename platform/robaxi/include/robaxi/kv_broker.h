#ifndef ROBAXI_KV_BROKER_H
#define ROBAXI_KV_BROKER_H

#include <robaxi/kv_broker_options.h>
#include <robaxi/robaxi_export.h>

#include <boost/shared_ptr.hpp>

#include <memory>
#include <string>

class KVModule;

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
     * @throws KVError InvalidArgument for a port out of range, an empty name, or settings that
     *         cannot be used; AddressInUse or CannotListen if it cannot listen; the causes of a
     *         failed connection if the parent cannot be reached within two seconds; without
     *         settings in the options, what KVSettings::load() throws
     */
    static boost::shared_ptr<KVBroker> createBroker(const KVBrokerOptions& options);

    /**
     * Creates a broker as from KVBrokerOptions, with the user's settings.
     *
     * @param name,ip,port,parentIP,parentPort the options of that meaning
     * @param flags has no effect
     * @param path has no effect
     * @param keepAlive has no effect
     */
    static boost::shared_ptr<KVBroker> createBroker(const std::string& name, const std::string& ip,
                                                    int port, const std::string& parentIP,
                                                    int parentPort, int flags, std::string path,
                                                    bool keepAlive);

    ~KVBroker();
    KVBroker(const KVBroker&) = delete;
    KVBroker& operator=(const KVBroker&) = delete;

    const std::string& getName() const;  ///< Returns the name that peers see.
    /** Returns the address given to createBroker(). */
    const std::string& getIP() const;
    /** Returns the port on which the broker listens; 0 if it does not listen. */
    int getPort() const;
    bool isListening() const;  ///< Returns true while peers can connect.

    /**
     * Hosts a module under its name. Calls may arrive before this returns.
     *
     * @throws KVError InvalidArgument for a null module or a name that is already hosted; TooMany
     *         at the limit of the settings
     */
    void addModule(std::shared_ptr<KVModule> module);

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

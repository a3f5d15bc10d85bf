#ifndef BONJOUR_AVAHI_CONNECTION_H
#define BONJOUR_AVAHI_CONNECTION_H

#include "sighting_registry.h"

#include <base/free_with.h>

#include <avahi-client/client.h>
#include <avahi-client/lookup.h>
#include <avahi-common/watch.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace KV::bonjour {

/** Receives the results of a connection to the Avahi daemon. Called on the poll thread. */
class AvahiConnectionListener {
  public:
    virtual ~AvahiConnectionListener() = default;

    /** A service was announced. Returns true if it is to be resolved. */
    virtual bool onSeen(const Sighting& sighting) = 0;
    /** Host name and port of a service are known, or have changed. */
    virtual void onResolved(const Sighting& sighting, const char* hostName, int port) = 0;
    /** A service is still announced, but its host no longer answers. */
    virtual void onUnresolved(const Sighting& sighting) = 0;
    /** A service is no longer announced. */
    virtual void onLost(const Sighting& sighting) = 0;
    /** A watched host gained or lost an IPv4 address, as seen through one interface. */
    virtual void onAddressSeen(const std::string& key, const std::string& address) = 0;
    virtual void onAddressLost(const std::string& key, const std::string& address) = 0;
    /** The daemon is running and has been queried. */
    virtual void onConnected() = 0;
    /**
     * The daemon or the bus is gone; this connection makes no further calls. Do not destroy it
     * inside this call.
     */
    virtual void onDisconnected() = 0;
};

/**
 * A connection to the Avahi daemon that browses services of some types and resolves each of them
 * for as long as it is announced. It ends with the daemon; a new daemon needs a new connection.
 */
class AvahiConnection {
  public:
    /**
     * Connects. Browses at once if the daemon is running, otherwise waits for it.
     *
     * @throws std::runtime_error with the reason if the system bus refuses the connection
     */
    AvahiConnection(const AvahiPoll* poll, const std::vector<std::string>& types,
                    AvahiConnectionListener& listener);
    AvahiConnection(const AvahiConnection&) = delete;
    AvahiConnection& operator=(const AvahiConnection&) = delete;
    ~AvahiConnection();

    bool isWaitingForDaemon() const;

    /** Watches the addresses of a host; the listener receives them with the key. */
    void watchAddresses(const std::string& key, const char* hostName);
    void unwatchAddresses(const std::string& key);

  private:
    using ClientPointer = std::unique_ptr<AvahiClient, base::FreeWith<avahi_client_free>>;

    /** One D-Bus connection: the daemon limits the objects of each to about a thousand. */
    struct Lane {
        ClientPointer fClient;
        bool fFull = false;
    };
    struct Browser {
        AvahiConnection* fConnection = nullptr;
        std::string fType;
    };
    struct Resolver {
        AvahiConnection* fConnection = nullptr;
        AvahiServiceResolver* fResolver = nullptr;
        std::size_t fLane = 0;
    };
    using Resolvers = std::map<Sighting, Resolver>;
    struct Watch {
        AvahiConnection* fConnection = nullptr;
        AvahiRecordBrowser* fBrowser = nullptr;
        std::size_t fLane = 0;
    };
    using Watches = std::map<std::string, Watch>;

    static void xOnState(AvahiClient* client, AvahiClientState state, void* connection) noexcept;
    static void xOnBrowsed(AvahiServiceBrowser* browser, AvahiIfIndex interface,
                           AvahiProtocol protocol, AvahiBrowserEvent event, const char* instance,
                           const char* type, const char* domain, AvahiLookupResultFlags flags,
                           void* userData) noexcept;
    static void xOnResolved(AvahiServiceResolver* resolver, AvahiIfIndex interface,
                            AvahiProtocol protocol, AvahiResolverEvent event, const char* instance,
                            const char* type, const char* domain, const char* hostName,
                            const AvahiAddress* address, std::uint16_t port, AvahiStringList* text,
                            AvahiLookupResultFlags flags, void* userData) noexcept;
    static void xOnAddress(AvahiRecordBrowser* browser, AvahiIfIndex interface,
                           AvahiProtocol protocol, AvahiBrowserEvent event, const char* name,
                           std::uint16_t recordClass, std::uint16_t type, const void* data,
                           std::size_t size, AvahiLookupResultFlags flags, void* userData) noexcept;

    int xAddLane(AvahiClientFlags flags);
    bool xBrowse();
    void xFail();
    void xSee(const Sighting& sighting);
    void xLose(const Sighting& sighting);
    bool xResolve(Resolvers::value_type& entry);
    template <typename Object, typename Create>
    Object* xCreateInLane(std::size_t& lane, Create create);

    const AvahiPoll* fPoll;
    AvahiConnectionListener& fListener;
    std::vector<Browser> fBrowsers;
    Resolvers fResolvers;
    Watches fWatches;
    std::vector<Lane> fLanes;
    bool fBrowsing = false;
    bool fFailed = false;
};

}  // namespace KV::bonjour

#endif

#ifndef BONJOUR_AVAHI_CONNECTION_H
#define BONJOUR_AVAHI_CONNECTION_H

#include "sighting_registry.h"

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

/** Who hears what a connection to the Avahi daemon finds; called on the thread of the poll. */
class AvahiConnectionListener {
  public:
    virtual ~AvahiConnectionListener() = default;

    /** A service is announced. Answers whether it is to be resolved. */
    virtual bool onSeen(const Sighting& sighting) = 0;
    /** Where a service leads to is known, or has changed. */
    virtual void onResolved(const Sighting& sighting, const char* hostName, int port) = 0;
    /** A service is still announced, but nobody answers any more where it leads to. */
    virtual void onUnresolved(const Sighting& sighting) = 0;
    /** A service is announced no more. */
    virtual void onLost(const Sighting& sighting) = 0;
    /** A watched host has an IPv4 address, as seen through one interface, or has it no more. */
    virtual void onAddressSeen(const std::string& key, const std::string& address) = 0;
    virtual void onAddressLost(const std::string& key, const std::string& address) = 0;
    /** The daemon runs and is being asked. */
    virtual void onConnected() = 0;
    /**
     * The daemon or the bus is gone; nothing else will be heard from this connection. It must not
     * be destroyed inside this call.
     */
    virtual void onDisconnected() = 0;
};

/**
 * One connection to the Avahi daemon that looks for services of some types and follows each of
 * them for as long as it is announced. Lasts as long as the daemon; a new daemon needs a new one.
 */
class AvahiConnection {
  public:
    /**
     * Connects, and asks at once when the daemon runs; else it waits for the daemon.
     *
     * @throws std::runtime_error with the reason when the system bus does not let us
     */
    AvahiConnection(const AvahiPoll* poll, const std::vector<std::string>& types,
                    AvahiConnectionListener& listener);
    AvahiConnection(const AvahiConnection&) = delete;
    AvahiConnection& operator=(const AvahiConnection&) = delete;
    ~AvahiConnection();

    bool isWaitingForDaemon() const;

    /** Follows the addresses of a host; the listener is told under the key. */
    void watchAddresses(const std::string& key, const char* hostName);
    void unwatchAddresses(const std::string& key);

  private:
    struct ClientDeleter {
        void operator()(AvahiClient* client) const { avahi_client_free(client); }
    };
    using ClientPointer = std::unique_ptr<AvahiClient, ClientDeleter>;

    /** One D-Bus connection: the daemon allows each of them some thousand objects and no more. */
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

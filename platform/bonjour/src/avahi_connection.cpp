#include "avahi_connection.h"

#include <avahi-common/defs.h>
#include <avahi-common/error.h>

#include <arpa/inet.h>
#include <cstdint>
#include <netinet/in.h>
#include <stdexcept>
#include <strings.h>

namespace KV::bonjour {

namespace {

/** Requests only host name and port of a service: neither TXT records nor the host's addresses. */
constexpr auto a_resolverFlags =
    static_cast<AvahiLookupFlags>(AVAHI_LOOKUP_NO_TXT | AVAHI_LOOKUP_NO_ADDRESS);

}  // namespace

AvahiConnection::AvahiConnection(const AvahiPoll* poll, const std::vector<std::string>& types,
                                 AvahiConnectionListener& listener)
    : fPoll(poll), fListener(listener) {
    for (const std::string& type : types) {
        fBrowsers.push_back({this, type});
    }
    const int error = xAddLane(AVAHI_CLIENT_NO_FAIL);
    if (error != AVAHI_OK) {
        // The client waits for a missing daemon, so "no daemon" can only refer to the bus.
        throw std::runtime_error(error == AVAHI_ERR_NO_DAEMON ? "no connection"
                                                              : avahi_strerror(error));
    }
    AvahiClient* const client = fLanes.front().fClient.get();
    if (!isWaitingForDaemon() && !xBrowse()) {
        throw std::runtime_error(avahi_strerror(avahi_client_errno(client)));
    }
}

AvahiConnection::~AvahiConnection() = default;

bool AvahiConnection::isWaitingForDaemon() const {
    return avahi_client_get_state(fLanes.front().fClient.get()) == AVAHI_CLIENT_CONNECTING;
}

void AvahiConnection::watchAddresses(const std::string& key, const char* hostName) {
    const auto [entry, added] = fWatches.try_emplace(key, Watch{this, nullptr, 0});
    if (!added) {
        return;
    }
    Watches::value_type* const watch = &*entry;
    watch->second.fBrowser = xCreateInLane<AvahiRecordBrowser>(
        watch->second.fLane, [hostName, watch](AvahiClient* client) {
            return avahi_record_browser_new(
                client, AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC, hostName, AVAHI_DNS_CLASS_IN,
                AVAHI_DNS_TYPE_A, AVAHI_LOOKUP_USE_MULTICAST, &AvahiConnection::xOnAddress, watch);
        });
}

void AvahiConnection::unwatchAddresses(const std::string& key) {
    const auto watch = fWatches.find(key);
    if (watch == fWatches.end()) {
        return;
    }
    if (watch->second.fBrowser != nullptr) {
        avahi_record_browser_free(watch->second.fBrowser);
        fLanes[watch->second.fLane].fFull = false;
    }
    fWatches.erase(watch);
}

void AvahiConnection::xOnState(AvahiClient* /*client*/, AvahiClientState state,
                               void* userData) noexcept {
    auto* const self = static_cast<AvahiConnection*>(userData);
    // Avahi's first call comes before fClient is set; the constructor checks the state itself.
    if (self->fLanes.empty() || state == AVAHI_CLIENT_CONNECTING) {
        return;
    }
    if (state == AVAHI_CLIENT_FAILURE || !self->xBrowse()) {
        self->xFail();
    }
}

void AvahiConnection::xOnBrowsed(AvahiServiceBrowser* /*browser*/, AvahiIfIndex interface,
                                 AvahiProtocol protocol, AvahiBrowserEvent event,
                                 const char* instance, const char* type, const char* domain,
                                 AvahiLookupResultFlags /*flags*/, void* userData) noexcept {
    const auto* const browser = static_cast<const Browser*>(userData);
    AvahiConnection* const self = browser->fConnection;
    if (event == AVAHI_BROWSER_FAILURE) {
        self->xFail();
        return;
    }
    // The other events report the progress of the search. An announcement under our type may name
    // an instance of any other type.
    if ((event != AVAHI_BROWSER_NEW && event != AVAHI_BROWSER_REMOVE) ||
        strcasecmp(type, browser->fType.c_str()) != 0) {
        return;
    }
    const Sighting sighting = {interface, protocol, browser->fType, instance, domain};
    if (event == AVAHI_BROWSER_NEW) {
        self->xSee(sighting);
    } else {
        self->xLose(sighting);
    }
}

void AvahiConnection::xOnResolved(AvahiServiceResolver* /*resolver*/, AvahiIfIndex /*interface*/,
                                  AvahiProtocol /*protocol*/, AvahiResolverEvent event,
                                  const char* /*instance*/, const char* /*type*/,
                                  const char* /*domain*/, const char* hostName,
                                  const AvahiAddress* /*address*/, std::uint16_t port,
                                  AvahiStringList* /*text*/, AvahiLookupResultFlags /*flags*/,
                                  void* userData) noexcept {
    const auto* const entry = static_cast<const Resolvers::value_type*>(userData);
    AvahiConnectionListener& listener = entry->second.fConnection->fListener;
    if (event == AVAHI_RESOLVER_FOUND) {
        listener.onResolved(entry->first, hostName, port);
    } else {
        // Keep the resolver: it continues to ask and reports when the host is back.
        listener.onUnresolved(entry->first);
    }
}

void AvahiConnection::xOnAddress(AvahiRecordBrowser* /*browser*/, AvahiIfIndex /*interface*/,
                                 AvahiProtocol /*protocol*/, AvahiBrowserEvent event,
                                 const char* /*name*/, std::uint16_t /*recordClass*/,
                                 std::uint16_t /*type*/, const void* data, std::size_t size,
                                 AvahiLookupResultFlags /*flags*/, void* userData) noexcept {
    const auto* const entry = static_cast<const Watches::value_type*>(userData);
    AvahiConnectionListener& listener = entry->second.fConnection->fListener;
    char text[INET_ADDRSTRLEN] = "";
    if ((event != AVAHI_BROWSER_NEW && event != AVAHI_BROWSER_REMOVE) || size != sizeof(in_addr) ||
        inet_ntop(AF_INET, data, text, sizeof text) == nullptr) {
        return;
    }
    if (event == AVAHI_BROWSER_NEW) {
        listener.onAddressSeen(entry->first, text);
    } else {
        listener.onAddressLost(entry->first, text);
    }
}

int AvahiConnection::xAddLane(AvahiClientFlags flags) {
    int error = AVAHI_OK;
    ClientPointer client(avahi_client_new(fPoll, flags, &AvahiConnection::xOnState, this, &error));
    if (client != nullptr) {
        fLanes.push_back({std::move(client), false});
        return AVAHI_OK;
    }
    return error;
}

bool AvahiConnection::xBrowse() {
    if (fBrowsing) {
        return true;
    }
    fBrowsing = true;
    for (Browser& browser : fBrowsers) {
        if (avahi_service_browser_new(fLanes.front().fClient.get(), AVAHI_IF_UNSPEC,
                                      AVAHI_PROTO_UNSPEC, browser.fType.c_str(), nullptr,
                                      AvahiLookupFlags{}, &AvahiConnection::xOnBrowsed,
                                      &browser) == nullptr) {
            return false;
        }
    }
    fListener.onConnected();
    return true;
}

void AvahiConnection::xFail() {
    if (!fFailed) {
        fFailed = true;
        fListener.onDisconnected();
    }
}

void AvahiConnection::xSee(const Sighting& sighting) {
    if (!fListener.onSeen(sighting)) {
        return;
    }
    const auto entry = fResolvers.try_emplace(sighting, Resolver{this, nullptr, 0}).first;
    if (!xResolve(*entry)) {
        // The daemon refuses an invalid name.
        xLose(sighting);
    }
}

void AvahiConnection::xLose(const Sighting& sighting) {
    const auto entry = fResolvers.find(sighting);
    if (entry == fResolvers.end()) {
        return;
    }
    // Before freeing the resolver, which waits for the daemon.
    fListener.onLost(sighting);
    if (entry->second.fResolver != nullptr) {
        avahi_service_resolver_free(entry->second.fResolver);
        fLanes[entry->second.fLane].fFull = false;
    }
    fResolvers.erase(entry);
}

bool AvahiConnection::xResolve(Resolvers::value_type& entry) {
    const Sighting& sighting = entry.first;
    entry.second.fResolver = xCreateInLane<AvahiServiceResolver>(
        entry.second.fLane, [&sighting, &entry](AvahiClient* client) {
            return avahi_service_resolver_new(
                client, sighting.fInterface, sighting.fProtocol, sighting.fInstance.c_str(),
                sighting.fType.c_str(), sighting.fDomain.c_str(), AVAHI_PROTO_UNSPEC,
                a_resolverFlags, &AvahiConnection::xOnResolved, &entry);
        });
    return entry.second.fResolver != nullptr;
}

template <typename Object, typename Create>
Object* AvahiConnection::xCreateInLane(std::size_t& lane, Create create) {
    for (lane = 0; lane < fLanes.size() || xAddLane({}) == AVAHI_OK; ++lane) {
        if (fLanes[lane].fFull) {
            continue;
        }
        AvahiClient* const client = fLanes[lane].fClient.get();
        Object* const object = create(client);
        if (object != nullptr || avahi_client_errno(client) != AVAHI_ERR_TOO_MANY_OBJECTS) {
            return object;
        }
        fLanes[lane].fFull = true;
    }
    return nullptr;
}

}  // namespace KV::bonjour

#include "network/avahi_client.h"

#include <avahi-common/address.h>
#include <avahi-common/error.h>

#include <array>
#include <utility>

namespace robaxi_tool {

namespace {

using SimplePoll = std::unique_ptr<AvahiSimplePoll, FreeWith<avahi_simple_poll_free>>;
using Client = std::unique_ptr<AvahiClient, FreeWith<avahi_client_free>>;

/** Avahi requires a callback for the client's state. */
void ignoreState(AvahiClient* /*client*/, AvahiClientState /*state*/, void* /*userData*/) {
}

std::string textOf(const char* text) {
    return text == nullptr ? std::string() : text;
}

}  // namespace

AvahiState askAvahi() {
    AvahiState state;
    const SimplePoll poll(avahi_simple_poll_new());
    int error = AVAHI_OK;
    const Client client(avahi_client_new(avahi_simple_poll_get(poll.get()), AVAHI_CLIENT_NO_FAIL,
                                         ignoreState, nullptr, &error));
    if (client == nullptr) {
        // The client would wait for a missing daemon, so "no daemon" can only refer to the bus.
        state.fBusError = error == AVAHI_ERR_NO_DAEMON ? "no connection" : avahi_strerror(error);
        return state;
    }
    const AvahiClientState daemon = avahi_client_get_state(client.get());
    state.fIsRunning = daemon != AVAHI_CLIENT_CONNECTING && daemon != AVAHI_CLIENT_FAILURE;
    state.fHasItsName = daemon == AVAHI_CLIENT_S_RUNNING;
    if (state.fIsRunning) {
        state.fVersion = textOf(avahi_client_get_version_string(client.get()));
        state.fHostName = textOf(avahi_client_get_host_name_fqdn(client.get()));
    }
    return state;
}

ServiceQuery::ServiceQuery(const std::string& instance, const std::string& type, Bell& bell)
    : fBell(bell), fPoll(avahi_threaded_poll_new()) {
    fClient.reset(
        avahi_client_new(avahi_threaded_poll_get(fPoll.get()), {}, ignoreState, nullptr, nullptr));
    if (fClient == nullptr) {
        return;
    }
    constexpr auto flags =
        static_cast<AvahiLookupFlags>(AVAHI_LOOKUP_NO_TXT | AVAHI_LOOKUP_NO_ADDRESS);
    // The client owns the resolver. It is null for an invalid instance name.
    if (avahi_service_resolver_new(fClient.get(), AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC,
                                   instance.c_str(), type.c_str(), "local", AVAHI_PROTO_UNSPEC,
                                   flags, &ServiceQuery::xOnResolved, this) != nullptr) {
        avahi_threaded_poll_start(fPoll.get());
    }
}

ServiceQuery::~ServiceQuery() {
    avahi_threaded_poll_stop(fPoll.get());
}

std::optional<ServiceLocation> ServiceQuery::location() const {
    const std::lock_guard lock(fMutex);
    return fLocation;
}

void ServiceQuery::xOnResolved(AvahiServiceResolver* /*resolver*/, AvahiIfIndex /*interface*/,
                               AvahiProtocol /*protocol*/, AvahiResolverEvent event,
                               const char* /*instance*/, const char* /*type*/,
                               const char* /*domain*/, const char* hostName,
                               const AvahiAddress* /*address*/, std::uint16_t port,
                               AvahiStringList* /*text*/, AvahiLookupResultFlags /*flags*/,
                               void* userData) noexcept {
    auto* const self = static_cast<ServiceQuery*>(userData);
    if (event != AVAHI_RESOLVER_FOUND || port == 0) {
        return;
    }
    {
        const std::lock_guard lock(self->fMutex);
        self->fLocation = {hostName, port};
    }
    self->fBell.ring();
}

AddressQueries::AddressQueries() : fPoll(avahi_threaded_poll_new()) {
    fClient.reset(
        avahi_client_new(avahi_threaded_poll_get(fPoll.get()), {}, ignoreState, nullptr, nullptr));
    if (fClient != nullptr) {
        avahi_threaded_poll_start(fPoll.get());
    }
}

AddressQueries::~AddressQueries() {
    avahi_threaded_poll_stop(fPoll.get());
}

void AddressQueries::start(const std::string& hostName, const Answer& answer) {
    if (fClient != nullptr) {
        avahi_threaded_poll_lock(fPoll.get());
        const auto place = fQueries.insert(fQueries.end(), {this, answer, {}});
        place->fPlace = place;
        // The client owns the resolver. It is null for an invalid host name, and at the daemon's
        // limit for this client.
        const bool isAsked = avahi_host_name_resolver_new(
                                 fClient.get(), AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC,
                                 hostName.c_str(), AVAHI_PROTO_INET, AVAHI_LOOKUP_USE_MULTICAST,
                                 &AddressQueries::xOnResolved, &*place) != nullptr;
        if (!isAsked) {
            fQueries.erase(place);
        }
        avahi_threaded_poll_unlock(fPoll.get());
        if (isAsked) {
            return;
        }
    }
    answer({});
}

void AddressQueries::xOnResolved(AvahiHostNameResolver* resolver, AvahiIfIndex /*interface*/,
                                 AvahiProtocol /*protocol*/, AvahiResolverEvent event,
                                 const char* /*name*/, const AvahiAddress* address,
                                 AvahiLookupResultFlags /*flags*/, void* userData) noexcept {
    auto* const query = static_cast<Query*>(userData);
    std::array<char, AVAHI_ADDRESS_STR_MAX> text{};
    if (event == AVAHI_RESOLVER_FOUND) {
        avahi_address_snprint(text.data(), text.size(), address);
    }
    query->fAnswer(text.data());
    // One answer is enough, and the daemon limits the number of a client's resolvers.
    avahi_host_name_resolver_free(resolver);
    query->fOwner->fQueries.erase(query->fPlace);
}

}  // namespace robaxi_tool

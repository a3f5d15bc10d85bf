#include "network/avahi_client.h"

#include <base/free_with.h>

#include <avahi-client/client.h>
#include <avahi-client/lookup.h>
#include <avahi-common/error.h>
#include <avahi-common/simple-watch.h>

#include <cstdint>
#include <memory>

namespace robaxi_tool {

namespace {

using SimplePoll = std::unique_ptr<AvahiSimplePoll, base::FreeWith<avahi_simple_poll_free>>;
using Client = std::unique_ptr<AvahiClient, base::FreeWith<avahi_client_free>>;

using Clock = std::chrono::steady_clock;

/** Milliseconds between two looks at the clock. */
constexpr int a_turn = 100;

std::string textOf(const char* text) {
    return text == nullptr ? std::string() : text;
}

struct ServiceSearch {
    AvahiSimplePoll* fPoll;
    std::optional<ServiceLocation> fLocation;
};

void onServiceResolved(AvahiServiceResolver* /*resolver*/, AvahiIfIndex /*interface*/,
                       AvahiProtocol /*protocol*/, AvahiResolverEvent event,
                       const char* /*instance*/, const char* /*type*/, const char* /*domain*/,
                       const char* hostName, const AvahiAddress* /*address*/, std::uint16_t port,
                       AvahiStringList* /*text*/, AvahiLookupResultFlags /*flags*/,
                       void* userData) noexcept {
    auto* const search = static_cast<ServiceSearch*>(userData);
    if (event == AVAHI_RESOLVER_FOUND && port != 0) {
        search->fLocation = {hostName, port};
        avahi_simple_poll_quit(search->fPoll);
    }
}

}  // namespace

AvahiState askAvahi() {
    AvahiState state;
    const SimplePoll poll(avahi_simple_poll_new());
    int error = AVAHI_OK;
    const Client client(avahi_client_new(avahi_simple_poll_get(poll.get()), AVAHI_CLIENT_NO_FAIL,
                                         nullptr, nullptr, &error));
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

std::optional<ServiceLocation> locateService(const std::string& instance, const std::string& type) {
    const SimplePoll poll(avahi_simple_poll_new());
    ServiceSearch search{poll.get(), {}};
    const Client client(
        avahi_client_new(avahi_simple_poll_get(poll.get()), {}, nullptr, nullptr, nullptr));
    if (client == nullptr) {
        return {};
    }
    constexpr auto flags =
        static_cast<AvahiLookupFlags>(AVAHI_LOOKUP_NO_TXT | AVAHI_LOOKUP_NO_ADDRESS);
    // The client owns the resolver. It is null for an invalid instance name.
    if (avahi_service_resolver_new(client.get(), AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC,
                                   instance.c_str(), type.c_str(), "local", AVAHI_PROTO_UNSPEC,
                                   flags, onServiceResolved, &search) == nullptr) {
        return {};
    }
    const Clock::time_point end = Clock::now() + a_daemonPatience;
    while (Clock::now() < end && avahi_simple_poll_iterate(poll.get(), a_turn) == 0) {
    }
    return search.fLocation;
}

}  // namespace robaxi_tool

#include "avahi_session.h"

#include <avahi-common/timeval.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace KV::bonjour {

namespace {

constexpr std::chrono::milliseconds a_firstDelay(100);
constexpr std::chrono::milliseconds a_longestDelay(5000);

}  // namespace

AvahiSession::AvahiSession(const std::vector<std::string>& types, ChangeHandler handler)
    : fTypes(types),
      fHandler(std::move(handler)),
      fDelay(a_firstDelay),
      fPoll(avahi_threaded_poll_new()) {
    if (fPoll == nullptr) {
        throw std::runtime_error("Robots cannot be looked for: Avahi's event loop did not start.");
    }
    const AvahiPoll* const poll = avahi_threaded_poll_get(fPoll.get());
    fTimer = poll->timeout_new(poll, nullptr, &AvahiSession::xOnTimer, this);
    try {
        xConnect();
    } catch (const std::exception& error) {
        throw std::runtime_error(std::string("Robots cannot be looked for: the system message bus "
                                             "(D-Bus) is not there or refuses us (") +
                                 error.what() + "). Start the service \"dbus\".");
    }
    if (fConnection->isWaitingForDaemon()) {
        throw std::runtime_error(
            "Robots cannot be looked for: the Avahi daemon is not running. Start the service "
            "\"avahi-daemon\".");
    }
    if (avahi_threaded_poll_start(fPoll.get()) < 0) {
        throw std::runtime_error("Robots cannot be looked for: Avahi's thread did not start.");
    }
}

AvahiSession::~AvahiSession() {
    avahi_threaded_poll_stop(fPoll.get());
}

bool AvahiSession::onSeen(const Sighting& sighting) {
    return fRegistry.see(sighting);
}

void AvahiSession::onResolved(const Sighting& sighting, const char* hostName, int port) {
    const std::vector<HostChange> changes = fRegistry.resolve(sighting, hostName, port);
    xApply(changes);
    for (const HostChange& change : changes) {
        if (change.fKind == HostChange::Kind::Added) {
            fConnection->watchAddresses(change.fKey, hostName);
        }
    }
}

void AvahiSession::onUnresolved(const Sighting& sighting) {
    xApply(fRegistry.unresolve(sighting));
}

void AvahiSession::onLost(const Sighting& sighting) {
    xApply(fRegistry.lose(sighting));
}

void AvahiSession::onAddressSeen(const std::string& key, const std::string& address) {
    xTell(fRegistry.seeAddress(key, address));
}

void AvahiSession::onAddressLost(const std::string& key, const std::string& address) {
    xTell(fRegistry.loseAddress(key, address));
}

void AvahiSession::onConnected() {
    fDelay = a_firstDelay;
}

void AvahiSession::onDisconnected() {
    xTell(fRegistry.clear());
    xConnectLater();
}

void AvahiSession::xOnTimer(AvahiTimeout* /*timer*/, void* session) noexcept {
    auto* const self = static_cast<AvahiSession*>(session);
    self->fConnection.reset();
    try {
        self->xConnect();
    } catch (const std::exception&) {
        // The bus is not running yet.
        self->xConnectLater();
    }
}

void AvahiSession::xConnect() {
    fConnection =
        std::make_unique<AvahiConnection>(avahi_threaded_poll_get(fPoll.get()), fTypes, *this);
}

void AvahiSession::xConnectLater() {
    timeval due = {};
    avahi_elapse_time(&due, static_cast<unsigned>(fDelay.count()), 0);
    avahi_threaded_poll_get(fPoll.get())->timeout_update(fTimer, &due);
    fDelay = std::min(fDelay * 2, a_longestDelay);
}

void AvahiSession::xTell(const std::vector<HostChange>& changes) {
    if (!changes.empty()) {
        fHandler(changes);
    }
}

void AvahiSession::xApply(const std::vector<HostChange>& changes) {
    xTell(changes);
    for (const HostChange& change : changes) {
        if (change.fKind == HostChange::Kind::Removed) {
            fConnection->unwatchAddresses(change.fKey);
        }
    }
}

}  // namespace KV::bonjour

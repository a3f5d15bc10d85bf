#ifndef BONJOUR_AVAHI_SESSION_H
#define BONJOUR_AVAHI_SESSION_H

#include "avahi_connection.h"

#include <base/free_with.h>

#include <avahi-common/thread-watch.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace KV::bonjour {

/**
 * A search for services on a dedicated thread, from construction to destruction. It outlives the
 * daemon: when the daemon or the bus is gone, it reconnects until it succeeds.
 */
class AvahiSession final : public AvahiConnectionListener {
  public:
    /** Called on the session's thread for each change of the hosts. */
    using ChangeHandler = std::function<void(const std::vector<HostChange>& changes)>;

    /** @throws std::runtime_error if there is no system bus or no daemon; the text says which */
    AvahiSession(const std::vector<std::string>& types, ChangeHandler handler);
    AvahiSession(const AvahiSession&) = delete;
    AvahiSession& operator=(const AvahiSession&) = delete;
    /** Returns when the handler is no longer called. */
    ~AvahiSession() override;

  private:
    bool onSeen(const Sighting& sighting) override;
    void onResolved(const Sighting& sighting, const char* hostName, int port) override;
    void onUnresolved(const Sighting& sighting) override;
    void onLost(const Sighting& sighting) override;
    void onAddressSeen(const std::string& key, const std::string& address) override;
    void onAddressLost(const std::string& key, const std::string& address) override;
    void onConnected() override;
    void onDisconnected() override;

    static void xOnTimer(AvahiTimeout* timer, void* session) noexcept;
    void xConnect();
    void xConnectLater();
    void xTell(const std::vector<HostChange>& changes);
    /** Reports changes of services, and stops watching removed hosts. */
    void xApply(const std::vector<HostChange>& changes);

    std::vector<std::string> fTypes;
    ChangeHandler fHandler;
    SightingRegistry fRegistry;
    std::chrono::milliseconds fDelay;
    std::unique_ptr<AvahiThreadedPoll, base::FreeWith<avahi_threaded_poll_free>> fPoll;
    AvahiTimeout* fTimer = nullptr;
    std::unique_ptr<AvahiConnection> fConnection;
};

}  // namespace KV::bonjour

#endif

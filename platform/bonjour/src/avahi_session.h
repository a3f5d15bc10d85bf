#ifndef BONJOUR_AVAHI_SESSION_H
#define BONJOUR_AVAHI_SESSION_H

#include "avahi_connection.h"

#include <avahi-common/thread-watch.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace KV::bonjour {

/**
 * Looks for services on a thread of its own, from construction to destruction, and outlives the
 * daemon: when that or the bus is gone it connects anew until it succeeds.
 */
class AvahiSession final : public AvahiConnectionListener {
  public:
    /** Told on the session's thread, for each change in the hosts. */
    using ChangeHandler = std::function<void(const std::vector<HostChange>& changes)>;

    /** @throws std::runtime_error when there is no system bus or no daemon; the text says which */
    AvahiSession(const std::vector<std::string>& types, ChangeHandler handler);
    AvahiSession(const AvahiSession&) = delete;
    AvahiSession& operator=(const AvahiSession&) = delete;
    /** Returns when the handler is called no more. */
    ~AvahiSession() override;

  private:
    struct PollDeleter {
        void operator()(AvahiThreadedPoll* poll) const { avahi_threaded_poll_free(poll); }
    };

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
    /** Tells the changes of services, and watches removed hosts no more. */
    void xApply(const std::vector<HostChange>& changes);

    std::vector<std::string> fTypes;
    ChangeHandler fHandler;
    SightingRegistry fRegistry;
    std::chrono::milliseconds fDelay;
    std::unique_ptr<AvahiThreadedPoll, PollDeleter> fPoll;
    AvahiTimeout* fTimer = nullptr;
    std::unique_ptr<AvahiConnection> fConnection;
};

}  // namespace KV::bonjour

#endif

#include "host_name.h"

#include <base/safe_text.h>
#include <bonjour/bonjour_announcer.h>

#include <avahi-client/client.h>
#include <avahi-client/publish.h>
#include <avahi-common/address.h>
#include <avahi-common/alternative.h>
#include <avahi-common/error.h>
#include <avahi-common/malloc.h>
#include <avahi-common/thread-watch.h>
#include <avahi-common/timeval.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace KV {

namespace {

// A restarted daemon is back soon; without a bus there may never be one.
constexpr unsigned a_reconnectMilliseconds = 50;
constexpr unsigned a_retryMilliseconds = 1000;

struct FreeGroup {
    void operator()(AvahiEntryGroup* group) const { avahi_entry_group_free(group); }
};
using Group = std::unique_ptr<AvahiEntryGroup, FreeGroup>;

struct FreeClient {
    void operator()(AvahiClient* client) const { avahi_client_free(client); }
};

struct FreePoll {
    void operator()(AvahiThreadedPoll* poll) const { avahi_threaded_poll_free(poll); }
};

/** Locks Avahi's thread while shared members are used. */
class PollLock {
  public:
    explicit PollLock(AvahiThreadedPoll* poll) : fPoll(poll) { avahi_threaded_poll_lock(fPoll); }
    ~PollLock() { avahi_threaded_poll_unlock(fPoll); }
    PollLock(const PollLock&) = delete;
    PollLock& operator=(const PollLock&) = delete;

  private:
    AvahiThreadedPoll* fPoll;
};

std::string alternativeTo(const std::string& name) {
    char* other = avahi_alternative_service_name(name.c_str());
    if (other == nullptr) {
        throw std::bad_alloc();
    }
    std::string result = other;
    avahi_free(other);
    return result;
}

}  // namespace

// All members below are used on Avahi's thread or with its lock held.
struct BonjourAnnouncer::Private {
    Private(std::string name, std::function<void(const std::string&)> say);
    ~Private();

    void connect();
    void disconnect();
    void connectIn(unsigned milliseconds);
    void setTimer(unsigned milliseconds);
    void publishAll();
    void publish(const BonjourService& service);
    int addEntries(AvahiEntryGroup* group, const BonjourService& service);
    void publishHost();
    void withdrawAll();
    void withdrawUnwanted();
    bool isPublished(const BonjourService& service) const;
    void takeAnotherName();
    void complainOnce(const std::string& trouble);

    static void onClient(AvahiClient* client, AvahiClientState state, void* self);
    static void onGroup(AvahiEntryGroup* group, AvahiEntryGroupState state, void* self);
    static void onTimer(AvahiTimeout* timeout, void* self);

    struct Published {
        BonjourService fService;
        Group fGroup;
    };

    std::string fName;
    std::function<void(const std::string&)> fSay;
    std::string fAddress;
    std::vector<BonjourService> fWanted;
    std::string fLastTrouble;
    std::unique_ptr<AvahiThreadedPoll, FreePoll> fPoll;
    AvahiTimeout* fTimer = nullptr;
    bool fConnectPending = true;
    bool fRenamePending = false;
    std::unique_ptr<AvahiClient, FreeClient> fClient;
    Group fHost;  // the address record of the robot's separate host name
    std::vector<Published> fPublished;
};

BonjourAnnouncer::Private::Private(std::string name, std::function<void(const std::string&)> say)
    : fName(std::move(name)), fSay(std::move(say)), fPoll(avahi_threaded_poll_new()) {
    if (!fPoll) {
        throw std::bad_alloc();
    }
    const AvahiPoll* poll = avahi_threaded_poll_get(fPoll.get());
    // Connecting and renaming are left to this timer, since neither a client nor a group may be
    // freed in its own callback.
    const timeval now{};
    fTimer = poll->timeout_new(poll, &now, onTimer, this);
    if (fTimer == nullptr || avahi_threaded_poll_start(fPoll.get()) != 0) {
        throw std::runtime_error("cannot start the thread that announces the robot");
    }
}

BonjourAnnouncer::Private::~Private() {
    avahi_threaded_poll_stop(fPoll.get());
    withdrawAll();
    disconnect();
    avahi_threaded_poll_get(fPoll.get())->timeout_free(fTimer);
}

void BonjourAnnouncer::Private::connect() {
    disconnect();
    int error = 0;
    // NO_FAIL waits for a daemon that is not running yet; without a bus there is no client.
    AvahiClient* client = avahi_client_new(avahi_threaded_poll_get(fPoll.get()),
                                           AVAHI_CLIENT_NO_FAIL, onClient, this, &error);
    if (client == nullptr) {
        complainOnce(std::string("not announced: ") + avahi_strerror(error));
        connectIn(a_retryMilliseconds);
        return;
    }
    // The callback has already run, before fClient was set.
    fClient.reset(client);
    onClient(client, avahi_client_get_state(client), this);
}

void BonjourAnnouncer::Private::disconnect() {
    // Groups are freed with their client: free them first, while their pointers are valid.
    withdrawAll();
    fClient.reset();
}

void BonjourAnnouncer::Private::connectIn(unsigned milliseconds) {
    fConnectPending = true;
    setTimer(milliseconds);
}

void BonjourAnnouncer::Private::setTimer(unsigned milliseconds) {
    timeval when{};
    avahi_elapse_time(&when, milliseconds, 0);
    avahi_threaded_poll_get(fPoll.get())->timeout_update(fTimer, &when);
}

void BonjourAnnouncer::Private::publishAll() {
    if (!fClient || avahi_client_get_state(fClient.get()) != AVAHI_CLIENT_S_RUNNING) {
        return;
    }
    if (!fAddress.empty() && !fHost) {
        publishHost();
    }
    for (const BonjourService& service : fWanted) {
        if (!isPublished(service)) {
            publish(service);
        }
    }
}

void BonjourAnnouncer::Private::publish(const BonjourService& service) {
    Group group(avahi_entry_group_new(fClient.get(), onGroup, this));
    const int error = group ? addEntries(group.get(), service) : avahi_client_errno(fClient.get());
    if (error != AVAHI_OK) {
        complainOnce("cannot announce " + service.fType + ": " + avahi_strerror(error));
        return;
    }
    fPublished.push_back({service, std::move(group)});
}

int BonjourAnnouncer::Private::addEntries(AvahiEntryGroup* group, const BonjourService& service) {
    const std::string host = fAddress.empty() ? std::string() : bonjour::hostNameFor(fName);
    for (;;) {
        const int error = avahi_entry_group_add_service(
            group, AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC, AvahiPublishFlags(0), fName.c_str(),
            service.fType.c_str(), nullptr, host.empty() ? nullptr : host.c_str(),
            static_cast<std::uint16_t>(service.fPort), nullptr);
        if (error != AVAHI_ERR_COLLISION) {
            return error == AVAHI_OK ? avahi_entry_group_commit(group) : error;
        }
        // Another program of this machine uses the name; the daemon reports that at once.
        fName = alternativeTo(fName);
        fSay("the name is taken; announced as " + base::oneLine(fName));
    }
}

void BonjourAnnouncer::Private::publishHost() {
    AvahiAddress address{};
    avahi_address_parse(fAddress.c_str(), AVAHI_PROTO_INET, &address);
    fHost.reset(avahi_entry_group_new(fClient.get(), onGroup, this));
    const int error =
        fHost ? avahi_entry_group_add_address(fHost.get(), AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC,
                                              AVAHI_PUBLISH_NO_REVERSE,
                                              bonjour::hostNameFor(fName).c_str(), &address)
              : avahi_client_errno(fClient.get());
    const int committed = error == AVAHI_OK ? avahi_entry_group_commit(fHost.get()) : error;
    if (committed != AVAHI_OK) {
        complainOnce("cannot announce the address " + fAddress + ": " + avahi_strerror(committed));
    }
}

void BonjourAnnouncer::Private::withdrawAll() {
    fPublished.clear();
    fHost.reset();
}

void BonjourAnnouncer::Private::withdrawUnwanted() {
    const auto isUnwanted = [this](const Published& published) {
        return std::find(fWanted.begin(), fWanted.end(), published.fService) == fWanted.end();
    };
    fPublished.erase(std::remove_if(fPublished.begin(), fPublished.end(), isUnwanted),
                     fPublished.end());
}

bool BonjourAnnouncer::Private::isPublished(const BonjourService& service) const {
    return std::any_of(
        fPublished.begin(), fPublished.end(),
        [&service](const Published& published) { return published.fService == service; });
}

void BonjourAnnouncer::Private::takeAnotherName() {
    fName = alternativeTo(fName);
    fSay("the name is taken; announced as " + base::oneLine(fName));
    // All services have the same name, so those that did not collide are renamed, too.
    withdrawAll();
    publishAll();
}

void BonjourAnnouncer::Private::complainOnce(const std::string& trouble) {
    if (trouble != fLastTrouble) {
        fLastTrouble = trouble;
        fSay(trouble);
    }
}

void BonjourAnnouncer::Private::onClient(AvahiClient* client, AvahiClientState state, void* self) {
    Private& announcer = *static_cast<Private*>(self);
    if (announcer.fClient.get() != client) {
        return;  // still within avahi_client_new(); connect() calls again
    }
    switch (state) {
        case AVAHI_CLIENT_S_RUNNING:
            announcer.fLastTrouble.clear();
            announcer.publishAll();
            break;
        case AVAHI_CLIENT_S_REGISTERING:
        case AVAHI_CLIENT_S_COLLISION:
            // The machine's host name changes: announce again when it is established.
            announcer.withdrawAll();
            break;
        case AVAHI_CLIENT_CONNECTING:
            announcer.complainOnce("not announced: there is no Avahi daemon");
            break;
        case AVAHI_CLIENT_FAILURE:
            announcer.connectIn(a_reconnectMilliseconds);
            break;
    }
}

void BonjourAnnouncer::Private::onGroup(AvahiEntryGroup* group, AvahiEntryGroupState state,
                                        void* self) {
    Private& announcer = *static_cast<Private*>(self);
    if (state == AVAHI_ENTRY_GROUP_COLLISION) {
        announcer.fRenamePending = true;
        announcer.setTimer(0);
    } else if (state == AVAHI_ENTRY_GROUP_FAILURE) {
        AvahiClient* client = avahi_entry_group_get_client(group);
        announcer.complainOnce(std::string("the announcement failed: ") +
                               avahi_strerror(avahi_client_errno(client)));
    }
}

void BonjourAnnouncer::Private::onTimer(AvahiTimeout* timeout, void* self) {
    Private& announcer = *static_cast<Private*>(self);
    avahi_threaded_poll_get(announcer.fPoll.get())->timeout_update(timeout, nullptr);
    const bool connects = std::exchange(announcer.fConnectPending, false);
    const bool renames = std::exchange(announcer.fRenamePending, false);
    if (renames) {
        announcer.takeAnotherName();
    }
    if (connects) {
        announcer.connect();
    }
}

BonjourAnnouncer::BonjourAnnouncer(const std::string& name,
                                   std::function<void(const std::string&)> say)
    : fPrivate(std::make_unique<Private>(name, std::move(say))) {
}

BonjourAnnouncer::~BonjourAnnouncer() = default;

void BonjourAnnouncer::announce(const std::vector<BonjourService>& services) {
    const PollLock lock(fPrivate->fPoll.get());
    fPrivate->fWanted = services;
    fPrivate->withdrawUnwanted();
    fPrivate->publishAll();
}

void BonjourAnnouncer::setAddress(const std::string& address) {
    const PollLock lock(fPrivate->fPoll.get());
    fPrivate->fAddress = address;
    fPrivate->withdrawAll();
    fPrivate->publishAll();
}

}  // namespace KV

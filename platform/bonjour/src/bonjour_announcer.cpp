#include "host_name.h"

#include <base/file_descriptor.h>
#include <base/free_with.h>
#include <base/gate.h>
#include <base/lookups.h>
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
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <stdexcept>
#include <sys/eventfd.h>
#include <utility>

namespace KV {

namespace {

// A restarted daemon is back soon; without a bus there may never be one.
constexpr unsigned a_reconnectMilliseconds = 50;
constexpr unsigned a_retryMilliseconds = 1000;

using Group = std::unique_ptr<AvahiEntryGroup, base::FreeWith<avahi_entry_group_free>>;

/** The announcements that the owner wants. */
struct Wanted {
    std::string fAddress;
    std::vector<BonjourService> fServices;
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

/**
 * The announcements, made on Avahi's thread. A call to a daemon that hangs takes 25 s, so other
 * threads leave their changes here and do not wait for long, and the end is left to a thread.
 */
struct BonjourAnnouncer::Private {
    Private(std::string name, std::function<void(const std::string&)> say);
    ~Private();

    /** Any thread: changes what is wanted. Returns when it is announced, or after a while. */
    void want(const std::function<void(Wanted&)>& change);

    // The others run on Avahi's thread, or after its end.
    void applyWanted();
    void connect();
    void disconnect();
    void connectIn(unsigned milliseconds);
    void setTimer(unsigned milliseconds);
    void publishAll();
    bool publishMissing();
    int publish(const BonjourService& service);
    int addService(AvahiEntryGroup* group, const BonjourService& service);
    int publishHost();
    int addHost(AvahiEntryGroup* group);
    void withdrawAll();
    void withdrawUnwanted();
    bool isPublished(const BonjourService& service) const;
    void takeAnotherName();
    void say(const std::string& line);
    void complainOnce(const std::string& trouble);

    static void onClient(AvahiClient* client, AvahiClientState state, void* self);
    static void onGroup(AvahiEntryGroup* group, AvahiEntryGroupState state, void* self);
    static void onTimer(AvahiTimeout* timeout, void* self);
    static void onWanted(AvahiWatch* watch, int descriptor, AvahiWatchEvent event, void* self);

    struct Published {
        BonjourService fService;
        Group fGroup;
    };

    base::Gate fGate;                                                    ///< to fSay
    base::FileDescriptor fWake{eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)};  ///< wakes Avahi's thread

    std::mutex fMutex;  ///< guards the following four
    std::condition_variable fAppliedChanged;
    Wanted fNextWanted;
    std::uint64_t fChanges = 0;  ///< of fNextWanted so far
    std::uint64_t fApplied = 0;  ///< changes of which Avahi's thread has made the announcements

    // Used on Avahi's thread, or after its end.
    std::string fName;
    std::function<void(const std::string&)> fSay;
    Wanted fWanted;
    std::string fLastTrouble;
    std::unique_ptr<AvahiThreadedPoll, base::FreeWith<avahi_threaded_poll_free>> fPoll;
    AvahiTimeout* fTimer = nullptr;
    AvahiWatch* fWatch = nullptr;
    bool fConnectPending = true;
    bool fRenamePending = false;
    std::unique_ptr<AvahiClient, base::FreeWith<avahi_client_free>> fClient;
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
    if (fWake.get() >= 0) {
        fWatch = poll->watch_new(poll, fWake.get(), AVAHI_WATCH_IN, onWanted, this);
    }
    if (fTimer == nullptr || fWatch == nullptr || avahi_threaded_poll_start(fPoll.get()) != 0) {
        throw std::runtime_error("cannot start the thread that announces the robot");
    }
}

BonjourAnnouncer::Private::~Private() {
    avahi_threaded_poll_stop(fPoll.get());
    withdrawAll();
    disconnect();
    const AvahiPoll* poll = avahi_threaded_poll_get(fPoll.get());
    poll->timeout_free(fTimer);
    poll->watch_free(fWatch);
}

void BonjourAnnouncer::Private::want(const std::function<void(Wanted&)>& change) {
    std::unique_lock lock(fMutex);
    change(fNextWanted);
    const std::uint64_t number = ++fChanges;
    eventfd_write(fWake.get(), 1);
    fAppliedChanged.wait_for(lock, base::a_endPatience,
                             [this, number] { return fApplied >= number; });
}

void BonjourAnnouncer::Private::applyWanted() {
    std::unique_lock lock(fMutex);
    const std::uint64_t number = fChanges;
    const bool hasOtherAddress = fNextWanted.fAddress != fWanted.fAddress;
    fWanted = fNextWanted;
    lock.unlock();
    if (hasOtherAddress) {
        withdrawAll();
    }
    withdrawUnwanted();
    publishAll();
    lock.lock();
    fApplied = number;
    fAppliedChanged.notify_all();
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
    // The daemon reports at once that another program of this machine uses a name; onGroup() hears
    // of other machines later.
    while (!publishMissing()) {
        takeAnotherName();
    }
}

/** Returns false if the name is taken on this machine. */
bool BonjourAnnouncer::Private::publishMissing() {
    if (!fWanted.fAddress.empty() && !fHost && publishHost() == AVAHI_ERR_COLLISION) {
        return false;
    }
    const auto& wanted = fWanted.fServices;
    return std::all_of(wanted.begin(), wanted.end(), [this](const BonjourService& service) {
        return isPublished(service) || publish(service) != AVAHI_ERR_COLLISION;
    });
}

int BonjourAnnouncer::Private::publish(const BonjourService& service) {
    Group group(avahi_entry_group_new(fClient.get(), onGroup, this));
    const int error = group ? addService(group.get(), service) : avahi_client_errno(fClient.get());
    if (error == AVAHI_OK) {
        fPublished.push_back({service, std::move(group)});
    } else if (error != AVAHI_ERR_COLLISION) {
        complainOnce("cannot announce " + service.fType + ": " + avahi_strerror(error));
    }
    return error;
}

int BonjourAnnouncer::Private::addService(AvahiEntryGroup* group, const BonjourService& service) {
    const std::string host = fWanted.fAddress.empty() ? std::string() : bonjour::hostNameFor(fName);
    const int error = avahi_entry_group_add_service(
        group, AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC, AvahiPublishFlags(0), fName.c_str(),
        service.fType.c_str(), nullptr, host.empty() ? nullptr : host.c_str(),
        static_cast<std::uint16_t>(service.fPort), nullptr);
    return error == AVAHI_OK ? avahi_entry_group_commit(group) : error;
}

int BonjourAnnouncer::Private::publishHost() {
    Group group(avahi_entry_group_new(fClient.get(), onGroup, this));
    const int error = group ? addHost(group.get()) : avahi_client_errno(fClient.get());
    if (error == AVAHI_OK) {
        fHost = std::move(group);
    } else if (error != AVAHI_ERR_COLLISION) {
        complainOnce("cannot announce the address " + fWanted.fAddress + ": " +
                     avahi_strerror(error));
    }
    return error;
}

int BonjourAnnouncer::Private::addHost(AvahiEntryGroup* group) {
    AvahiAddress address{};
    avahi_address_parse(fWanted.fAddress.c_str(), AVAHI_PROTO_INET, &address);
    const int error = avahi_entry_group_add_address(group, AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC,
                                                    AVAHI_PUBLISH_NO_REVERSE,
                                                    bonjour::hostNameFor(fName).c_str(), &address);
    return error == AVAHI_OK ? avahi_entry_group_commit(group) : error;
}

void BonjourAnnouncer::Private::withdrawAll() {
    fPublished.clear();
    fHost.reset();
}

void BonjourAnnouncer::Private::withdrawUnwanted() {
    const auto isUnwanted = [this](const Published& published) {
        const auto& wanted = fWanted.fServices;
        return std::find(wanted.begin(), wanted.end(), published.fService) == wanted.end();
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
    say("the name is taken; announced as " + base::oneLine(fName));
    // All services have the same name, and the host one made of it, so those that did not collide
    // are renamed, too.
    withdrawAll();
    fRenamePending = false;
}

void BonjourAnnouncer::Private::say(const std::string& line) {
    fGate.pass([this, &line] { fSay(line); });
}

void BonjourAnnouncer::Private::complainOnce(const std::string& trouble) {
    if (trouble != fLastTrouble) {
        fLastTrouble = trouble;
        say(trouble);
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
        announcer.publishAll();
    }
    if (connects) {
        announcer.connect();
    }
}

void BonjourAnnouncer::Private::onWanted(AvahiWatch* /*watch*/, int descriptor,
                                         AvahiWatchEvent /*event*/, void* self) {
    eventfd_t wakes = 0;
    eventfd_read(descriptor, &wakes);
    static_cast<Private*>(self)->applyWanted();
}

BonjourAnnouncer::BonjourAnnouncer(const std::string& name,
                                   std::function<void(const std::string&)> say)
    : fPrivate(std::make_unique<Private>(name, std::move(say))) {
}

BonjourAnnouncer::~BonjourAnnouncer() {
    fPrivate->fGate.close();
    base::releaseInTime(std::move(fPrivate));
}

void BonjourAnnouncer::announce(const std::vector<BonjourService>& services) {
    fPrivate->want([&services](Wanted& wanted) { wanted.fServices = services; });
}

void BonjourAnnouncer::setAddress(const std::string& address) {
    fPrivate->want([&address](Wanted& wanted) { wanted.fAddress = address; });
}

}  // namespace KV

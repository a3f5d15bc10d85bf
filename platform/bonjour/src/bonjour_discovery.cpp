#include "avahi_session.h"

#include <base/gate.h>
#include <base/lookups.h>
#include <bonjour/bonjour_discovery.h>

#include <boost/make_shared.hpp>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <exception>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

namespace KV {

// The objects are never destroyed: a thread may still use them when the program ends.
const std::string& BonjourDiscovery::fRobaxServiceType = *new std::string("_robax._tcp");
const std::string& BonjourDiscovery::fRobaxiServiceType = *new std::string("_robaxi._tcp");
const int BonjourDiscovery::fDefaultRobaxiPort = 9559;
boost::shared_ptr<KVMutexRW>& BonjourDiscovery::fRobaxsMapMutex =
    *new boost::shared_ptr<KVMutexRW>(KVMutexRW::createKVMutexRW());
BonjourDiscovery::ProfileSignal& BonjourDiscovery::fAddProfile = *new ProfileSignal;
BonjourDiscovery::ProfileSignal& BonjourDiscovery::fRemoveProfile = *new ProfileSignal;

namespace {

using bonjour::HostChange;

/** A session that is being started on a separate thread; Discovery::fMutex guards it. */
struct Start {
    std::unique_ptr<bonjour::AvahiSession> fSession;
    std::exception_ptr fError;
    bool fDone = false;
    bool fAbandoned = false;
};

struct Discovery {
    std::mutex fMutex;  ///< guards all but the map; taken before a gate's and the map lock
    std::condition_variable fStartChanged;
    std::shared_ptr<Start> fStart;  ///< null unless a session is being started
    std::unique_ptr<bonjour::AvahiSession> fSession;
    /** From the current session, or the one being started, to the map and the signals. */
    std::shared_ptr<base::Gate> fGate;
    bool fEnded = false;
    BonjourDiscovery::Map fMap;
};

// A call to the daemon may take as long as D-Bus's time-out, 25 s, and cannot be interrupted.
constexpr std::chrono::seconds a_startPatience(5);

/** Never destroyed, so that a thread that outlives main() can use it. */
Discovery& discovery() {
    static auto* const instance = new Discovery;
    return *instance;
}

/** True while this thread runs a handler. */
thread_local bool handling = false;

void fire(const BonjourDiscovery::ProfileSignal& signal,
          const boost::shared_ptr<BonjourProfile>& profile) {
    handling = true;
    try {
        signal(profile);
    } catch (const std::exception& error) {
        // The caller is Avahi, a C library.
        std::fprintf(stderr, "bonjour: a handler failed: %s\n", error.what());
    }
    handling = false;
}

void applyChange(const HostChange& change) {
    BonjourDiscovery::Map& map = discovery().fMap;
    boost::shared_ptr<BonjourProfile>& profile = map[change.fKey];
    if (change.fKind == HostChange::Kind::Removed) {
        const boost::shared_ptr<BonjourProfile> removed = profile;
        map.erase(change.fKey);
        fire(BonjourDiscovery::fRemoveProfile, removed);
        return;
    }
    if (profile == nullptr) {
        profile = boost::make_shared<BonjourProfile>();
        profile->fKey = change.fKey;
    }
    profile->fHostName = change.fHostName;
    profile->fServices = change.fServices;
    fire(BonjourDiscovery::fAddProfile, profile);
}

/** Applies changes to the map and fires the signals. */
void apply(const std::vector<HostChange>& changes) {
    const KVCriticalSectionWrite lock(BonjourDiscovery::fRobaxsMapMutex);
    for (const HostChange& change : changes) {
        applyChange(change);
    }
}

void stop(bool forGood) {
    Discovery& self = discovery();
    std::unique_lock<std::mutex> guard(self.fMutex);
    self.fEnded = self.fEnded || forGood;
    if (self.fGate == nullptr) {
        return;
    }
    std::exchange(self.fGate, nullptr)->close();
    std::unique_ptr<bonjour::AvahiSession> session = std::move(self.fSession);
    BonjourDiscovery::Map dropped;
    {
        const KVCriticalSectionWrite lock(BonjourDiscovery::fRobaxsMapMutex);
        dropped.swap(self.fMap);
    }
    if (const std::shared_ptr<Start> start = std::exchange(self.fStart, nullptr)) {
        start->fAbandoned = true;
        self.fStartChanged.notify_all();
        self.fStartChanged.wait_for(guard, base::a_endPatience, [&start] { return start->fDone; });
    }
    guard.unlock();
    if (session != nullptr) {
        base::releaseInTime(std::move(session));
    }
}

/** Starts a session that calls into the gate, on a separate thread since it may take long. */
void startSession(const std::shared_ptr<Start>& start, const std::shared_ptr<base::Gate>& gate) {
    std::unique_ptr<bonjour::AvahiSession> session;
    std::exception_ptr error;
    try {
        session = std::make_unique<bonjour::AvahiSession>(
            std::vector<std::string>{BonjourDiscovery::fRobaxServiceType,
                                     BonjourDiscovery::fRobaxiServiceType},
            [gate](const std::vector<HostChange>& changes) {
                gate->pass([&changes] { apply(changes); });
            });
    } catch (const std::exception&) {
        error = std::current_exception();
    }
    Discovery& self = discovery();
    std::unique_lock<std::mutex> guard(self.fMutex);
    if (start->fAbandoned) {
        guard.unlock();
        session.reset();
        guard.lock();
    }
    start->fSession = std::move(session);
    start->fError = error;
    start->fDone = true;
    self.fStartChanged.notify_all();
}

/**
 * Stops listening in a program that did not, before the objects that Avahi and D-Bus use are
 * destroyed.
 */
struct StopAtExit {
    StopAtExit() = default;
    StopAtExit(const StopAtExit&) = delete;
    StopAtExit& operator=(const StopAtExit&) = delete;
    ~StopAtExit() {
        // A handler that calls exit() cannot wait for itself, and never returns.
        if (!handling) {
            stop(true);
        }
    }
};
const StopAtExit a_stopAtExit;

}  // namespace

void BonjourDiscovery::startListening() {
    Discovery& self = discovery();
    std::unique_lock<std::mutex> guard(self.fMutex);
    if (self.fGate != nullptr || self.fEnded) {
        return;
    }
    const auto start = std::make_shared<Start>();
    const auto gate = std::make_shared<base::Gate>();
    self.fStart = start;
    self.fGate = gate;
    std::thread worker(startSession, start, gate);
    self.fStartChanged.wait_for(guard, a_startPatience,
                                [&start] { return start->fDone || start->fAbandoned; });
    if (start->fDone && !start->fAbandoned) {
        worker.join();  // it has released the lock and has nothing to destroy
    } else {
        worker.detach();
    }
    if (start->fAbandoned) {
        return;  // by stopListening()
    }
    self.fStart = nullptr;
    self.fSession = std::move(start->fSession);
    if (self.fSession != nullptr) {
        return;
    }
    start->fAbandoned = true;
    self.fGate = nullptr;
    gate->close();
    if (start->fError != nullptr) {
        std::rethrow_exception(start->fError);
    }
    throw std::runtime_error(
        "Robots cannot be looked for: the Avahi daemon does not answer. Restart the service "
        "\"avahi-daemon\".");
}

void BonjourDiscovery::stopListening() {
    if (handling) {
        throw std::logic_error("stopListening() was called from a handler of a discovery signal");
    }
    stop(false);
}

const BonjourDiscovery::Map& BonjourDiscovery::getMap() {
    return discovery().fMap;
}

}  // namespace KV

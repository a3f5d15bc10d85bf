#include "avahi_session.h"

#include <bonjour/bonjour_discovery.h>

#include <boost/make_shared.hpp>

#include <cstdio>
#include <exception>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <vector>

namespace KV {

const std::string BonjourDiscovery::fRobaxServiceType = "_robax._tcp";
const std::string BonjourDiscovery::fRobaxiServiceType = "_robaxi._tcp";
const int BonjourDiscovery::fDefaultRobaxiPort = 9559;
boost::shared_ptr<KVMutexRW> BonjourDiscovery::fRobaxsMapMutex = KVMutexRW::createKVMutexRW();
BonjourDiscovery::ProfileSignal BonjourDiscovery::fAddProfile;
BonjourDiscovery::ProfileSignal BonjourDiscovery::fRemoveProfile;

namespace {

using bonjour::HostChange;

struct Discovery {
    std::mutex fMutex;  ///< guards the two that follow; taken before the map lock
    std::unique_ptr<bonjour::AvahiSession> fSession;
    bool fEnded = false;
    BonjourDiscovery::Map fMap;
};

/** Never destroyed, so that a thread that outlives main() finds it. */
Discovery& discovery() {
    static auto* const instance = new Discovery;
    return *instance;
}

/** Whether this thread is inside a handler. */
thread_local bool handling = false;

void fire(const BonjourDiscovery::ProfileSignal& signal,
          const boost::shared_ptr<BonjourProfile>& profile) {
    handling = true;
    try {
        signal(profile);
    } catch (const std::exception& error) {
        // There is nobody above but Avahi, which knows no exceptions.
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

void applyChanges(const std::vector<HostChange>& changes) {
    const KVCriticalSectionWrite lock(BonjourDiscovery::fRobaxsMapMutex);
    for (const HostChange& change : changes) {
        applyChange(change);
    }
}

void stop(bool forGood) {
    Discovery& self = discovery();
    const std::lock_guard<std::mutex> guard(self.fMutex);
    self.fEnded = self.fEnded || forGood;
    if (self.fSession == nullptr) {
        return;
    }
    self.fSession.reset();
    BonjourDiscovery::Map dropped;
    const KVCriticalSectionWrite lock(BonjourDiscovery::fRobaxsMapMutex);
    dropped.swap(self.fMap);
}

/**
 * Ends the session of a program that forgot to, before the objects that the session uses are
 * destroyed: it stands last in this file, so it is destroyed first.
 */
struct StopAtExit {
    StopAtExit() = default;
    StopAtExit(const StopAtExit&) = delete;
    StopAtExit& operator=(const StopAtExit&) = delete;
    ~StopAtExit() {
        // A handler that calls exit() cannot wait for itself; nor does it return any more.
        if (!handling) {
            stop(true);
        }
    }
};
const StopAtExit a_stopAtExit;

}  // namespace

void BonjourDiscovery::startListening() {
    Discovery& self = discovery();
    const std::lock_guard<std::mutex> guard(self.fMutex);
    if (self.fSession != nullptr || self.fEnded) {
        return;
    }
    self.fSession = std::make_unique<bonjour::AvahiSession>(
        std::vector<std::string>{fRobaxServiceType, fRobaxiServiceType}, applyChanges);
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

#include "announced.h"

#include <bonjour/bonjour_discovery.h>

#include <boost/make_shared.hpp>

namespace obvista_test {

namespace {

KV::BonjourDiscovery::Map& writableMap() {
    // The library returns a const reference to its map; the object itself is not const.
    return const_cast<KV::BonjourDiscovery::Map&>(KV::BonjourDiscovery::getMap());
}

}  // namespace

Announced::~Announced() {
    const KVCriticalSectionWrite lock(KV::BonjourDiscovery::fRobaxsMapMutex);
    writableMap().clear();
}

boost::shared_ptr<KV::BonjourProfile> Announced::set(
    const std::string& hostName, const std::vector<KV::BonjourService>& services,
    const std::string& ip) {
    const KVCriticalSectionWrite lock(KV::BonjourDiscovery::fRobaxsMapMutex);
    boost::shared_ptr<KV::BonjourProfile>& profile = writableMap()[hostName];
    if (!profile) {
        profile = boost::make_shared<KV::BonjourProfile>();
        profile->fKey = hostName;
        profile->fHostName = hostName;
    }
    profile->fServices = services;
    profile->fIP = ip;
    return profile;
}

boost::shared_ptr<KV::BonjourProfile> Announced::robot(const std::string& hostName, int port,
                                                       const std::string& ip) {
    return set(hostName,
               {{KV::BonjourDiscovery::fRobaxServiceType, 80},
                {KV::BonjourDiscovery::fRobaxiServiceType, port}},
               ip);
}

boost::shared_ptr<KV::BonjourProfile> Announced::computer(const std::string& hostName, int port,
                                                          const std::string& ip) {
    return set(hostName, {{KV::BonjourDiscovery::fRobaxiServiceType, port}}, ip);
}

boost::shared_ptr<KV::BonjourProfile> Announced::robotWithoutMiddleware(const std::string& hostName,
                                                                        const std::string& ip) {
    return set(hostName, {{KV::BonjourDiscovery::fRobaxServiceType, 80}}, ip);
}

void Announced::withdraw(const std::string& hostName) {
    const KVCriticalSectionWrite lock(KV::BonjourDiscovery::fRobaxsMapMutex);
    writableMap().erase(hostName);
}

}  // namespace obvista_test

#ifndef OBVISTA_TESTS_DESKTOP_DISCOVERY_PROFILES_H
#define OBVISTA_TESTS_DESKTOP_DISCOVERY_PROFILES_H

#include <bonjour/bonjour_discovery.h>

#include <QByteArray>

#include <boost/make_shared.hpp>

#include <string>
#include <vector>

namespace obvista_test {

using ProfilePointer = boost::shared_ptr<KV::BonjourProfile>;

/** Returns a profile like the discovery library's; by default that of a robot with middleware. */
inline ProfilePointer makeProfile(const std::string& hostName,
                                  const std::string& ip = std::string(),
                                  const std::vector<std::string>& types = {
                                      KV::BonjourDiscovery::fRobaxServiceType,
                                      KV::BonjourDiscovery::fRobaxiServiceType}) {
    auto profile = boost::make_shared<KV::BonjourProfile>();
    profile->fKey = hostName;
    profile->fHostName = hostName;
    profile->fIP = ip;
    for (const std::string& type : types) {
        profile->fServices.push_back({type, KV::BonjourDiscovery::fDefaultRobaxiPort});
    }
    return profile;
}

inline std::string addressOf(const ProfilePointer& profile) {
    const KVCriticalSectionRead lock(KV::BonjourDiscovery::fRobaxsMapMutex);
    return profile->fIP;
}

inline QByteArray iconOf(const ProfilePointer& profile) {
    const KVValue icon = profile->getBitmapBinary();
    return QByteArray(static_cast<const char*>(icon.GetBinary()), icon.getSize());
}

}  // namespace obvista_test

#endif

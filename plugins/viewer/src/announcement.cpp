#include "announcement.h"

#include <bonjour/bonjour_discovery.h>

namespace obvista {

namespace {

bool isMiddleware(const KV::BonjourService& service) {
    return service.fType == KV::BonjourDiscovery::fRobaxiServiceType;
}

}  // namespace

std::optional<Announcement> announcedAt(const RobotPlace& place) {
    const KVCriticalSectionRead lock(KV::BonjourDiscovery::fRobaxsMapMutex);
    for (const auto& [key, profile] : KV::BonjourDiscovery::getMap()) {
        if (profile->fIP != place.fAddress && profile->fHostName != place.fAddress) {
            continue;
        }
        for (const KV::BonjourService& service : profile->fServices) {
            if (isMiddleware(service) && service.fPort == place.fPort) {
                return Announcement{profile->fHostName, service.fName};
            }
        }
    }
    return std::nullopt;
}

std::optional<RobotPlace> placeOf(const Announcement& robot) {
    const KVCriticalSectionRead lock(KV::BonjourDiscovery::fRobaxsMapMutex);
    for (const auto& [key, profile] : KV::BonjourDiscovery::getMap()) {
        if (profile->fHostName != robot.fHostName) {
            continue;
        }
        for (const KV::BonjourService& service : profile->fServices) {
            if (isMiddleware(service) && service.fName == robot.fService) {
                return RobotPlace{profile->fIP, service.fPort};
            }
        }
    }
    return std::nullopt;
}

}  // namespace obvista

// A program that only uses discovery.

#include <bonjour/bonjour_discovery.h>

#include <iostream>

int main() {
    const KVCriticalSectionRead lock(KV::BonjourDiscovery::fRobaxsMapMutex);
    std::cout << KV::BonjourDiscovery::fRobaxServiceType << ' '
              << KV::BonjourDiscovery::fRobaxiServiceType << ' '
              << KV::BonjourDiscovery::fDefaultRobaxiPort << ' '
              << KV::BonjourDiscovery::getMap().size() << '\n';
}

#include "sighting_registry.h"

#include "host_name.h"

#include <algorithm>
#include <cstdio>
#include <tuple>
#include <utility>

namespace KV::bonjour {

namespace {

constexpr int a_maximumPort = 65535;

void sayOnce(bool& said, std::size_t limit, const char* what) {
    if (!said) {
        std::fprintf(stderr, "bonjour: more than %zu %s are announced; the others are left out\n",
                     limit, what);
        said = true;
    }
}

/** Appends the change between two descriptions of a host, if there is one. */
void addDifference(const HostChange& before, HostChange after, std::vector<HostChange>& changes) {
    if (before.fServices == after.fServices && before.fHostName == after.fHostName) {
        return;
    }
    if (after.fServices.empty()) {
        after.fKind = HostChange::Kind::Removed;
        after.fHostName = before.fHostName;
    } else if (!before.fServices.empty()) {
        after.fKind = HostChange::Kind::Updated;
    }
    changes.push_back(std::move(after));
}

}  // namespace

bool Sighting::operator<(const Sighting& other) const {
    const auto tie = [](const Sighting& sighting) {
        return std::tie(sighting.fInterface, sighting.fProtocol, sighting.fType, sighting.fInstance,
                        sighting.fDomain);
    };
    return tie(*this) < tie(other);
}

bool SightingRegistry::see(const Sighting& sighting) {
    if (fSightings.count(sighting) == 0 && fSightings.size() >= a_maximumSightings) {
        sayOnce(fSaidSightings, a_maximumSightings, "services");
        return false;
    }
    return fSightings.try_emplace(sighting).second;
}

std::vector<HostChange> SightingRegistry::resolve(const Sighting& sighting,
                                                  const std::string& hostName, int port) {
    const std::string name = unescapeDomainName(hostName);
    if (name.empty() || isAddressLiteral(name) || port < 1 || port > a_maximumPort) {
        return unresolve(sighting);
    }
    const auto found = fSightings.find(sighting);
    if (found == fSightings.end()) {
        return {};
    }
    Place& place = found->second;
    const std::string safeName = makeSafeHostName(name);
    const std::string key = foldHostName(safeName);
    const BonjourService service = {sighting.fType, port, makeSafeHostName(sighting.fInstance)};
    if (place.fKey == key && place.fService == service) {
        return {};
    }

    // A service that moves is one change of its host, not a removal and an addition.
    const HostChange oldHost = xDescribe(place.fKey);
    const HostChange newHost = xDescribe(key);
    xLeave(place);
    if (key != oldHost.fKey) {
        xForgetIfEmpty(oldHost.fKey);
    }
    xEnter(place, safeName, service);
    std::vector<HostChange> changes;
    addDifference(oldHost, xDescribe(oldHost.fKey), changes);
    if (key != oldHost.fKey) {
        addDifference(newHost, xDescribe(key), changes);
    }
    return changes;
}

std::vector<HostChange> SightingRegistry::unresolve(const Sighting& sighting) {
    const auto found = fSightings.find(sighting);
    if (found == fSightings.end()) {
        return {};
    }
    const HostChange before = xDescribe(found->second.fKey);
    xLeave(found->second);
    xForgetIfEmpty(before.fKey);
    std::vector<HostChange> changes;
    addDifference(before, xDescribe(before.fKey), changes);
    return changes;
}

std::vector<HostChange> SightingRegistry::lose(const Sighting& sighting) {
    std::vector<HostChange> changes = unresolve(sighting);
    fSightings.erase(sighting);
    return changes;
}

std::vector<HostChange> SightingRegistry::seeAddress(const std::string& key,
                                                     const std::string& address) {
    const auto found = fHosts.find(key);
    if (found == fHosts.end()) {
        return {};
    }
    Host& host = found->second;
    const bool wasWithout = host.fAddresses.empty();
    if (host.fAddresses.size() >= a_maximumAddressesPerHost &&
        host.fAddresses.count(address) == 0) {
        return {};
    }
    ++host.fAddresses[address];
    const bool moved = wasWithout && !host.fLastAddress.empty() && host.fLastAddress != address;
    return moved ? xRenew(key) : std::vector<HostChange>();
}

std::vector<HostChange> SightingRegistry::loseAddress(const std::string& key,
                                                      const std::string& address) {
    const auto found = fHosts.find(key);
    if (found == fHosts.end()) {
        return {};
    }
    Host& host = found->second;
    const auto entry = host.fAddresses.find(address);
    if (entry == host.fAddresses.end() || --entry->second > 0) {
        return {};
    }
    host.fAddresses.erase(entry);
    // A host without addresses may only have been slow to answer, and get the same one again.
    host.fLastAddress = address;
    return host.fAddresses.empty() ? std::vector<HostChange>() : xRenew(key);
}

std::vector<HostChange> SightingRegistry::clear() {
    std::vector<HostChange> changes;
    for (const auto& [key, host] : fHosts) {
        changes.push_back({HostChange::Kind::Removed, key, host.fName, {}});
    }
    fHosts.clear();
    fSightings.clear();
    return changes;
}

void SightingRegistry::xLeave(Place& place) {
    const auto host = fHosts.find(place.fKey);
    if (host == fHosts.end()) {
        return;
    }
    std::vector<Service>& services = host->second.fServices;
    const auto service = std::find_if(
        services.begin(), services.end(),
        [&place](const Service& candidate) { return candidate.fService == place.fService; });
    if (--service->fSightings == 0) {
        services.erase(service);
    }
    place = {};
}

void SightingRegistry::xForgetIfEmpty(const std::string& key) {
    const auto host = fHosts.find(key);
    if (host != fHosts.end() && host->second.fServices.empty()) {
        fHosts.erase(host);
    }
}

void SightingRegistry::xEnter(Place& place, const std::string& hostName,
                              const BonjourService& service) {
    const std::string key = foldHostName(hostName);
    Host* const host = xFindOrAddHost(key, hostName);
    Service* const entry = host == nullptr ? nullptr : xFindOrAddService(*host, service);
    if (entry == nullptr) {
        return;
    }
    ++entry->fSightings;
    place = {key, service};
}

SightingRegistry::Host* SightingRegistry::xFindOrAddHost(const std::string& key,
                                                         const std::string& hostName) {
    const auto found = fHosts.find(key);
    if (found != fHosts.end()) {
        return &found->second;
    }
    if (fHosts.size() >= a_maximumHosts) {
        sayOnce(fSaidHosts, a_maximumHosts, "hosts");
        return nullptr;
    }
    Host host;
    host.fName = hostName;
    return &fHosts.insert({key, host}).first->second;
}

SightingRegistry::Service* SightingRegistry::xFindOrAddService(Host& host,
                                                               const BonjourService& service) {
    for (Service& candidate : host.fServices) {
        if (candidate.fService == service) {
            return &candidate;
        }
    }
    if (host.fServices.size() >= a_maximumServicesPerHost) {
        sayOnce(fSaidServices, a_maximumServicesPerHost, "services of one host");
        return nullptr;
    }
    return &host.fServices.emplace_back(Service{service, 0});
}

HostChange SightingRegistry::xDescribe(const std::string& key) const {
    HostChange description;
    description.fKey = key;
    const auto found = fHosts.find(key);
    if (found == fHosts.end()) {
        return description;
    }
    description.fHostName = found->second.fName;
    for (const Service& service : found->second.fServices) {
        description.fServices.push_back(service.fService);
    }
    return description;
}

std::vector<HostChange> SightingRegistry::xRenew(const std::string& key) const {
    HostChange added = xDescribe(key);
    HostChange removed = added;
    removed.fKind = HostChange::Kind::Removed;
    removed.fServices.clear();
    return {std::move(removed), std::move(added)};
}

}  // namespace KV::bonjour

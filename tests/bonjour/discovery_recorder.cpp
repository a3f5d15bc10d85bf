#include "discovery_recorder.h"

#include <algorithm>
#include <chrono>
#include <iterator>

using KV::BonjourDiscovery;
using KV::BonjourProfile;
using KV::BonjourService;

std::string describeServices(const BonjourProfile& profile) {
    std::string description;
    for (const BonjourService& service : profile.fServices) {
        description +=
            (description.empty() ? "" : " ") + service.fType + ":" + std::to_string(service.fPort);
    }
    return description;
}

MapView viewMap() {
    MapView view;
    const KVCriticalSectionRead lock(BonjourDiscovery::fRobaxsMapMutex);
    for (const auto& [key, profile] : BonjourDiscovery::getMap()) {
        view[key] = {profile, profile->fHostName, describeServices(*profile), profile->fIP};
    }
    return view;
}

std::size_t mapSize() {
    const KVCriticalSectionRead lock(BonjourDiscovery::fRobaxsMapMutex);
    return BonjourDiscovery::getMap().size();
}

boost::signals2::scoped_connection connectToAdd(
    const std::function<void(const boost::shared_ptr<BonjourProfile>&)>& handler) {
    return BonjourDiscovery::fAddProfile.connect(handler);
}

DiscoveryRecorder::DiscoveryRecorder()
    : fAddConnection(connectToAdd([this](const auto& profile) { xRecord(true, profile); })),
      fRemoveConnection(BonjourDiscovery::fRemoveProfile.connect(
          [this](const auto& profile) { xRecord(false, profile); })) {
}

std::vector<DiscoveryRecorder::Event> DiscoveryRecorder::eventsOf(
    const std::string& hostName) const {
    const std::lock_guard<std::mutex> lock(fMutex);
    std::vector<Event> found;
    std::copy_if(fEvents.begin(), fEvents.end(), std::back_inserter(found),
                 [&hostName](const Event& event) { return event.fHostName == hostName; });
    return found;
}

std::vector<std::string> DiscoveryRecorder::wordsOf(const std::string& hostName) const {
    std::vector<std::string> words;
    for (const Event& event : eventsOf(hostName)) {
        words.push_back(event.fAdded ? "+ " + event.fServices : "-");
    }
    return words;
}

bool DiscoveryRecorder::waitForMap(const std::function<bool(const MapView&)>& wanted) const {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    std::unique_lock<std::mutex> lock(fMutex);
    for (;;) {
        const std::size_t seen = fEvents.size();
        lock.unlock();
        // The handlers run under the map lock, so it must not be awaited while holding ours.
        if (wanted(viewMap())) {
            return true;
        }
        lock.lock();
        if (!fChanged.wait_until(lock, deadline, [this, seen] { return fEvents.size() != seen; })) {
            return false;
        }
    }
}

bool DiscoveryRecorder::waitForHost(const std::string& hostName,
                                    const std::string& services) const {
    return waitForMap([&](const MapView& map) {
        const auto found = map.find(hostName);
        return found != map.end() && found->second.fServices == services;
    });
}

bool DiscoveryRecorder::waitForNoHost(const std::string& hostName) const {
    return waitForMap([&](const MapView& map) { return map.count(hostName) == 0; });
}

void DiscoveryRecorder::xRecord(bool added, const boost::shared_ptr<BonjourProfile>& profile) {
    const std::lock_guard<std::mutex> lock(fMutex);
    fEvents.push_back({added, profile, profile->fHostName, describeServices(*profile)});
    fChanged.notify_all();
}

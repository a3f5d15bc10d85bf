#include "session/key_identifiers.h"

#include <utility>

namespace memoryviewer {

void KeyIdentifiers::restart(IdentifiersByName known) {
    fHasRestarted = true;
    fKnown = std::move(known);
    fOurs.clear();
    fRobots.clear();
    fUsed.clear();
    fNext = 1;
    for (const auto& [name, id] : fKnown) {
        fUsed.insert(id);
    }
}

std::uint32_t KeyIdentifiers::add(std::uint32_t robots, const std::string& name) {
    if (!fHasRestarted) {
        return robots;
    }
    if (const auto ours = fOurs.find(robots); ours != fOurs.end()) {
        return ours->second;
    }
    const auto known = fKnown.find(name);
    const std::uint32_t id = known != fKnown.end() ? known->second : xNewIdentifier();
    if (known != fKnown.end()) {
        fKnown.erase(known);
    }
    fOurs[robots] = id;
    fRobots[id] = robots;
    return id;
}

std::uint32_t KeyIdentifiers::xNewIdentifier() {
    while (!fUsed.insert(fNext).second) {
        ++fNext;
    }
    return fNext;
}

std::optional<std::uint32_t> KeyIdentifiers::remove(std::uint32_t robots) {
    const std::optional<std::uint32_t> id = find(robots);
    if (fHasRestarted && id) {
        fOurs.erase(robots);
        fRobots.erase(*id);
    }
    return id;
}

std::optional<std::uint32_t> KeyIdentifiers::find(std::uint32_t robots) const {
    if (!fHasRestarted) {
        return robots;
    }
    const auto ours = fOurs.find(robots);
    return ours != fOurs.end() ? std::optional(ours->second) : std::nullopt;
}

std::vector<std::uint32_t> KeyIdentifiers::robots(const std::vector<std::uint32_t>& ids) const {
    if (!fHasRestarted) {
        return ids;
    }
    std::vector<std::uint32_t> robots;
    robots.reserve(ids.size());
    for (const std::uint32_t id : ids) {
        if (const auto found = fRobots.find(id); found != fRobots.end()) {
            robots.push_back(found->second);
        }
    }
    return robots;
}

std::vector<std::uint32_t> KeyIdentifiers::takeMissing() {
    std::vector<std::uint32_t> missing;
    for (const auto& [name, id] : std::exchange(fKnown, {})) {
        missing.push_back(id);
    }
    return missing;
}

}  // namespace memoryviewer

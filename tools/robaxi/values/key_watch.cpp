#include "values/key_watch.h"

#include "values/key_pattern.h"

#include <iterator>
#include <set>
#include <utility>

namespace robaxi_tool {

KeyWatch::KeyWatch(std::vector<std::string> patterns, Output output, Bell& bell)
    : fOutput(std::move(output)), fBell(bell), fGiven(std::move(patterns)) {
    for (const std::string& pattern : fGiven) {
        fPatterns.emplace(pattern, false);
    }
}

KVSubscription::Callbacks KeyWatch::callbacks() {
    return {[this](const auto& keys) { keysAdded(keys); },
            [this](const auto& ids) { keysRemoved(ids); },
            [this](const auto& changes) { valuesChanged(changes); },
            [this](const KVError& error) { ended(error); }};
}

void KeyWatch::keysAdded(const std::vector<KVKeyInfo>& keys) {
    {
        const std::lock_guard lock(fMutex);
        for (const KVKeyInfo& key : keys) {
            if (xMatches(key.fName)) {
                fKeys[key.fId] = {key.fName, key.fUnit};
                fSelectionChanged = fNamesChanged = true;
            }
        }
    }
    fBell.ring();
}

void KeyWatch::keysRemoved(const std::vector<std::uint32_t>& ids) {
    const std::lock_guard lock(fMutex);
    for (const std::uint32_t id : ids) {
        fNamesChanged |= fKeys.erase(id) > 0;
    }
}

void KeyWatch::valuesChanged(const std::vector<KVChange>& changes) {
    std::vector<ChangeRow> rows;
    {
        const std::lock_guard lock(fMutex);
        if (fEnd) {
            return;
        }
        for (const KVChange& change : changes) {
            const auto key = fKeys.find(change.fId);
            if (key != fKeys.end()) {
                rows.push_back({change.fTime, key->second.fName, key->second.fUnit, change.fValue});
            }
        }
    }
    try {
        fOutput(rows);
    } catch (...) {
        xEnd(std::current_exception());
    }
}

void KeyWatch::ended(const KVError& error) {
    xEnd(std::make_exception_ptr(error));
}

std::optional<std::vector<std::uint32_t>> KeyWatch::takeNewSelection() {
    const std::lock_guard lock(fMutex);
    if (!std::exchange(fSelectionChanged, false)) {
        return std::nullopt;
    }
    std::vector<std::uint32_t> ids;
    for (const auto& [id, key] : fKeys) {
        ids.push_back(id);
    }
    return ids;
}

std::optional<std::vector<std::string>> KeyWatch::takeNewNames() {
    const std::lock_guard lock(fMutex);
    if (!std::exchange(fNamesChanged, false)) {
        return std::nullopt;
    }
    std::set<std::string> rest;
    for (const auto& [id, key] : fKeys) {
        rest.insert(key.fName);
    }
    std::vector<std::string> names;
    for (const std::string& pattern : fGiven) {
        for (auto name = rest.begin(); name != rest.end();) {
            const bool isNext = matchesKey(pattern, *name);
            if (isNext) {
                names.push_back(*name);
            }
            name = isNext ? rest.erase(name) : std::next(name);
        }
    }
    return names;
}

std::vector<std::string> KeyWatch::unmatched() const {
    const std::lock_guard lock(fMutex);
    std::vector<std::string> patterns;
    for (const auto& [pattern, matched] : fPatterns) {
        if (!matched) {
            patterns.push_back(pattern);
        }
    }
    return patterns;
}

bool KeyWatch::hasKeys() const {
    const std::lock_guard lock(fMutex);
    return !fKeys.empty();
}

bool KeyWatch::isOver() const {
    const std::lock_guard lock(fMutex);
    return fEnd != nullptr;
}

void KeyWatch::rethrow() const {
    std::exception_ptr reason;
    {
        const std::lock_guard lock(fMutex);
        reason = fEnd;
    }
    if (reason) {
        std::rethrow_exception(reason);
    }
}

bool KeyWatch::xMatches(const std::string& name) {
    bool matches = false;
    for (auto& [pattern, matched] : fPatterns) {
        if (matchesKey(pattern, name)) {
            matched = matches = true;
        }
    }
    return matches;
}

void KeyWatch::xEnd(std::exception_ptr reason) {
    {
        const std::lock_guard lock(fMutex);
        if (!fEnd) {
            fEnd = std::move(reason);
        }
    }
    fBell.ring();
}

}  // namespace robaxi_tool

#include "values/value_snapshot.h"

#include <utility>

namespace robaxi_tool {

KVSubscription::Callbacks ValueSnapshot::callbacks() {
    return {[this](const auto& keys) { keysAdded(keys); },
            [this](const auto& ids) { keysRemoved(ids); },
            [this](const auto& changes) { valuesChanged(changes); },
            [this](const KVError& error) { ended(error); }};
}

void ValueSnapshot::keysAdded(const std::vector<KVKeyInfo>& keys) {
    {
        const std::lock_guard lock(fMutex);
        fHasTable = true;
        for (const KVKeyInfo& key : keys) {
            fWaiting.insert(key.fId);
            fKeys[key.fId] = key;
        }
    }
    fBell.ring();
}

void ValueSnapshot::keysRemoved(const std::vector<std::uint32_t>& ids) {
    {
        const std::lock_guard lock(fMutex);
        for (const std::uint32_t id : ids) {
            fWaiting.erase(id);
            const auto removed = fKeys.extract(id);
            if (removed) {
                fValues.erase(removed.mapped().fName);
            }
        }
    }
    fBell.ring();
}

void ValueSnapshot::valuesChanged(const std::vector<KVChange>& changes) {
    {
        const std::lock_guard lock(fMutex);
        for (const KVChange& change : changes) {
            fWaiting.erase(change.fId);
            const KVKeyInfo& key = fKeys[change.fId];
            fValues[key.fName] = {key, change.fValue, change.fTime};
        }
    }
    fBell.ring();
}

void ValueSnapshot::ended(const KVError& error) {
    {
        const std::lock_guard lock(fMutex);
        fEnd = error;
    }
    fBell.ring();
}

std::optional<Values> ValueSnapshot::wait(Clock::time_point deadline) {
    const bool isOver = fBell.waitUntil(deadline, [this] { return xIsOver(); });
    const std::lock_guard lock(fMutex);
    if (fEnd) {
        throw KVError(*fEnd);
    }
    return isOver ? std::make_optional(std::move(fValues)) : std::nullopt;
}

bool ValueSnapshot::xIsOver() const {
    const std::lock_guard lock(fMutex);
    return fEnd || (fHasTable && fWaiting.empty());
}

}  // namespace robaxi_tool

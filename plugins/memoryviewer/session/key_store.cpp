#include "session/key_store.h"

#include <base/time.h>

#include <algorithm>
#include <iterator>
#include <unordered_set>
#include <utility>

namespace memoryviewer {

namespace {

/** Milliseconds for which a changed value is highlighted. */
constexpr std::int64_t a_markTime = 600;

}  // namespace

KeyStore::KeyStore(QObject* parent) : QObject(parent) {
    fSinceStart.start();
}

KeyStore::~KeyStore() = default;

void KeyStore::add(const std::vector<KVKeyInfo>& keys) {
    std::vector<const MemoryKey*> fresh;
    for (const KVKeyInfo& info : keys) {
        auto& slot = fKeys[info.fId];
        if (slot) {
            if (slot->fInfo.fName == info.fName) {
                slot->fInfo = info;
            }
            continue;
        }
        slot = std::make_unique<MemoryKey>();
        slot->fInfo = info;
        slot->fPath = splitPath(info.fName);
        xEnterName(*slot);
        fresh.push_back(slot.get());
    }
    if (!fresh.empty()) {
        std::sort(fresh.begin(), fresh.end(), &KeyStore::isBefore);
        xSortIn(fresh);
        Q_EMIT added(fresh);
    }
}

/** Takes sorted keys into the sorted ones; a few among many cost few comparisons. */
void KeyStore::xSortIn(const std::vector<const MemoryKey*>& fresh) {
    std::vector<const MemoryKey*> all;
    all.reserve(fSorted.size() + fresh.size());
    auto from = fSorted.begin();
    for (const MemoryKey* key : fresh) {
        const auto to = std::upper_bound(from, fSorted.end(), key, &KeyStore::isBefore);
        all.insert(all.end(), from, to);
        all.push_back(key);
        from = to;
    }
    all.insert(all.end(), from, fSorted.end());
    fSorted = std::move(all);
}

void KeyStore::remove(const std::vector<std::uint32_t>& ids) {
    std::vector<std::unique_ptr<MemoryKey>> kept;  // until the signals have been delivered
    std::vector<const MemoryKey*> gone;
    for (const std::uint32_t id : ids) {
        const auto found = fKeys.find(id);
        if (found == fKeys.end()) {
            continue;
        }
        xForgetName(*found->second);
        gone.push_back(found->second.get());
        kept.push_back(std::move(found->second));
        fKeys.erase(found);
    }
    if (gone.empty()) {
        return;
    }
    const std::unordered_set<const MemoryKey*> isGone(gone.begin(), gone.end());
    fSorted.erase(std::remove_if(fSorted.begin(), fSorted.end(),
                                 [&](const MemoryKey* key) { return isGone.count(key) != 0; }),
                  fSorted.end());
    Q_EMIT aboutToRemove(gone);
}

void KeyStore::xEnterName(MemoryKey& key) {
    MemoryKey*& newest = fByName[key.fInfo.fName];
    key.fOlder = newest;
    if (newest != nullptr) {
        newest->fNewer = &key;
    }
    newest = &key;
}

/** The key still refers to its neighbours, so that others see whether it was the newest. */
void KeyStore::xForgetName(MemoryKey& key) {
    if (key.fOlder != nullptr) {
        key.fOlder->fNewer = key.fNewer;
    }
    if (key.fNewer != nullptr) {
        key.fNewer->fOlder = key.fOlder;
    } else if (key.fOlder != nullptr) {
        fByName[key.fInfo.fName] = key.fOlder;
    } else {
        fByName.erase(key.fInfo.fName);
    }
}

void KeyStore::change(std::vector<MergedChange> changes, std::int64_t arrival) {
    std::vector<ChangedKey> changedKeys;
    changedKeys.reserve(changes.size());
    for (MergedChange& change : changes) {
        const auto found = fKeys.find(change.fNewest.fId);
        if (found == fKeys.end()) {
            continue;
        }
        MemoryKey& key = *found->second;
        const KVValue::Type oldType = key.type();
        if (arrival != 0 && key.hasValue()) {
            fClock.see(change.fNewest.fTime, arrival);
        }
        if (xTakeOver(key, change)) {
            changedKeys.push_back({&key, key.type() != oldType});
        }
    }
    xSeeNewest(changes);
    if (!changedKeys.empty()) {
        Q_EMIT changed(changedKeys);
    }
}

/** A time stamp in the future would permanently hide the age of all other values. */
void KeyStore::xSeeNewest(const std::vector<MergedChange>& changes) {
    const std::int64_t now = fClock.now();
    for (const MergedChange& change : changes) {
        if (change.fNewest.fTime <= now) {
            fNewestTime = std::max(fNewestTime, change.fNewest.fTime);
        }
    }
}

std::int64_t KeyStore::newestTime() const {
    if (!fClock.isReplay()) {
        return fNewestTime;
    }
    std::int64_t newest = 0;
    for (const auto& [id, key] : fKeys) {
        if (key->fTime <= fClock.now()) {
            newest = std::max(newest, key->fTime);
        }
    }
    return newest;
}

bool KeyStore::xTakeOver(MemoryKey& key, MergedChange& change) {
    KVChange& newest = change.fNewest;
    const bool isFirst = !key.hasValue();
    const bool isSame = !isFirst && key.fValue == newest.fValue;
    key.fRate.add(change.fTimes, xSteadyNow());
    key.fTime = newest.fTime;
    if (isSame) {
        return false;
    }
    key.fValue = std::move(newest.fValue);
    if (!isFirst) {
        key.fHasChanged = true;
        key.fMarkedUntil = fSinceStart.elapsed() + a_markTime;
    }
    return true;
}

void KeyStore::endTurn() {
    const std::int64_t now = xSteadyNow();
    for (const auto& [id, key] : fKeys) {
        key->fRate.endTurn(now);
    }
}

void KeyStore::setUpdateRates(const SubscriptionPlan& plan, double fastRate, double slowRate) {
    if (plan == fPlan && fastRate == fFastRate) {
        return;
    }
    const auto forget = [&](const std::vector<std::uint32_t>& before) {
        std::vector<std::uint32_t> ended;
        std::copy_if(before.begin(), before.end(), std::back_inserter(ended),
                     [&plan](std::uint32_t id) { return !plan.contains(id); });
        xSetUpdateRate(ended, 0);
    };
    forget(fPlan.fFast);
    forget(fPlan.fSlow);
    xSetUpdateRate(plan.fFast, fastRate);
    xSetUpdateRate(plan.fSlow, slowRate);
    fPlan = plan;
    fFastRate = fastRate;
}

void KeyStore::xSetUpdateRate(const std::vector<std::uint32_t>& ids, double updatesPerSecond) {
    for (const std::uint32_t id : ids) {
        const auto found = fKeys.find(id);
        if (found != fKeys.end()) {
            found->second->fRate.setUpdateRate(updatesPerSecond);
        }
    }
}

std::int64_t KeyStore::xSteadyNow() const {
    return fSinceStart.nsecsElapsed() / base::a_nanosecondsPerMicrosecond;
}

const MemoryKey* KeyStore::find(std::uint32_t id) const {
    const auto found = fKeys.find(id);
    return found == fKeys.end() ? nullptr : found->second.get();
}

const MemoryKey* KeyStore::find(const std::string& name) const {
    const auto found = fByName.find(name);
    return found == fByName.end() ? nullptr : found->second;
}

std::vector<std::uint32_t> KeyStore::ids(const QStringList& names) const {
    std::vector<std::uint32_t> ids;
    for (const QString& name : names) {
        if (const MemoryKey* key = find(name.toStdString())) {
            ids.push_back(key->fInfo.fId);
        }
    }
    return ids;
}

std::vector<std::uint32_t> KeyStore::ids() const {
    std::vector<std::uint32_t> ids;
    ids.reserve(fSorted.size());
    for (const MemoryKey* key : fSorted) {
        ids.push_back(key->fInfo.fId);
    }
    return ids;
}

IdentifiersByName KeyStore::idsByName() const {
    IdentifiersByName ids;
    ids.reserve(fSorted.size());
    for (const MemoryKey* key : fSorted) {
        ids.emplace(key->fInfo.fName, key->fInfo.fId);
    }
    return ids;
}

bool KeyStore::isBefore(const MemoryKey* left, const MemoryKey* right) {
    return left->fPath != right->fPath ? pathLess(left->fPath, right->fPath)
                                       : left->fInfo.fId < right->fInfo.fId;
}

}  // namespace memoryviewer

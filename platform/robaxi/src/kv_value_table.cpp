#include "value_table_private.h"

#include <base/time.h>
#include <robaxi/kv_error.h>

#include <algorithm>
#include <atomic>

namespace {

/** Returns the value converted for the key: an Int becomes a Float for a key of that type. */
KVValue fitToKey(const KVKeyInfo& key, const KVValue& value) {
    if (key.fType == KVValue::Type::Nothing || key.fType == value.type()) {
        return value;
    }
    if (key.fType == KVValue::Type::Float && value.type() == KVValue::Type::Int) {
        return KVValue(value.toFloat());
    }
    throw KVError(KVError::Cause::WrongType, "The key " + key.fName + " is of type " +
                                                 KVValue::typeName(key.fType) +
                                                 "; it cannot be set to a value of type " +
                                                 KVValue::typeName(value.type()) + ".");
}

}  // namespace

void robaxi::throwNoSuchKey(const std::string& name) {
    throw KVError(KVError::Cause::InvalidArgument, "There is no key named " + name + ".");
}

std::uint64_t KVValueTable::Private::xNextId() {
    static std::atomic<std::uint64_t> last{0};
    return ++last;
}

void KVValueTable::Private::addObserver(Observer* observer) {
    const std::lock_guard lock(fMutex);
    fObservers.push_back(observer);
}

void KVValueTable::Private::removeObserver(Observer* observer) {
    const std::lock_guard lock(fMutex);
    fObservers.erase(std::remove(fObservers.begin(), fObservers.end(), observer), fObservers.end());
}

std::size_t KVValueTable::Private::indexAbove(std::uint32_t id) const {
    // Identifiers ascend, so if no earlier key was removed, which is usual, the key is at this
    // index.
    const std::size_t likely = fIds.empty() ? 0 : id - fIds.front();
    if (likely < fIds.size() && fIds[likely] == id) {
        return likely + 1;
    }
    return static_cast<std::size_t>(std::upper_bound(fIds.begin(), fIds.end(), id) - fIds.begin());
}

KVValueTable::Private::Entries::iterator* KVValueTable::Private::xPosition(std::uint32_t id) {
    const std::size_t above = indexAbove(id);
    return above > 0 && fIds[above - 1] == id ? &fPositions[above - 1] : nullptr;
}

const KVValueTable::Private::Entry* KVValueTable::Private::find(std::uint32_t id) const {
    const std::size_t above = indexAbove(id);
    return above > 0 && fIds[above - 1] == id ? &*fPositions[above - 1] : nullptr;
}

KVValueTable::Private::Entries::const_iterator KVValueTable::Private::firstAfter(
    std::uint64_t version) const {
    auto first = fEntries.end();
    while (first != fEntries.begin() && std::prev(first)->fVersion > version) {
        --first;
    }
    return first;
}

void KVValueTable::Private::xTouch(Entries::iterator entry) {
    entry->fVersion = ++fLastVersion;
    ++entry->fChanges;
    fEntries.splice(fEntries.end(), fEntries, entry);
}

bool KVValueTable::Private::xSet(std::uint32_t id, const KVValue& value, std::int64_t time,
                                 Equal equal) {
    const Entries::iterator* position = xPosition(id);
    if (position == nullptr || ((*position)->fValue == value &&
                                (equal == Equal::IsNoChange || (*position)->fTime == time))) {
        return false;
    }
    Entry& entry = **position;
    entry.fValue = value;
    entry.fInfo.fType = value.type();
    entry.fTime = time;
    xTouch(*position);
    return true;
}

void KVValueTable::Private::xTellOfValues() {
    for (Observer* observer : fObservers) {
        observer->valuesChanged();
    }
}

KVValueTable::KVValueTable() : fPrivate(std::make_shared<Private>()) {
}

KVValueTable::~KVValueTable() = default;

std::uint32_t KVValueTable::addKey(const KVKeyInfo& info, const KVValue& value, std::int64_t time) {
    const std::lock_guard lock(fPrivate->fMutex);
    if (info.fName.empty() || fPrivate->fIdOf.count(info.fName) != 0) {
        throw KVError(KVError::Cause::InvalidArgument,
                      info.fName.empty() ? std::string("A key needs a name.")
                                         : "There is already a key named " + info.fName + ".");
    }
    if (info.fRange && !info.fRange->isValid()) {
        throw KVError(KVError::Cause::InvalidArgument,
                      "The range of the key " + info.fName + " is empty.");
    }
    Private::Entry entry{info, value, time != 0 ? time : base::microsecondsNow(),
                         ++fPrivate->fLastVersion};
    entry.fInfo.fId = ++fPrivate->fLastId;
    entry.fInfo.fType = value.type();
    const auto position = fPrivate->fEntries.insert(fPrivate->fEntries.end(), std::move(entry));
    fPrivate->fIds.push_back(fPrivate->fLastId);
    fPrivate->fPositions.push_back(position);
    fPrivate->fIdOf.emplace(info.fName, fPrivate->fLastId);
    for (Private::Observer* observer : fPrivate->fObservers) {
        observer->keyAdded();
    }
    return fPrivate->fLastId;
}

void KVValueTable::removeKey(std::uint32_t id) {
    removeKeys({id});
}

void KVValueTable::removeKeys(const std::vector<std::uint32_t>& ids) {
    const std::lock_guard lock(fPrivate->fMutex);
    const auto none = fPrivate->fEntries.end();
    std::size_t kept = fPrivate->fIds.size();  // the keys before this index keep their places
    for (const std::uint32_t id : ids) {
        Private::Entries::iterator* const position = fPrivate->xPosition(id);
        if (position == nullptr || *position == none) {
            continue;
        }
        fPrivate->fIdOf.erase((*position)->fInfo.fName);
        fPrivate->fEntries.erase(*position);
        *position = none;
        kept = std::min(kept, static_cast<std::size_t>(position - fPrivate->fPositions.data()));
        for (Private::Observer* observer : fPrivate->fObservers) {
            observer->keyRemoved(id);
        }
    }
    for (std::size_t i = kept; i < fPrivate->fIds.size(); ++i) {
        if (fPrivate->fPositions[i] != none) {
            fPrivate->fIds[kept] = fPrivate->fIds[i];
            fPrivate->fPositions[kept] = fPrivate->fPositions[i];
            ++kept;
        }
    }
    fPrivate->fIds.resize(kept);
    fPrivate->fPositions.resize(kept);
}

void KVValueTable::setValues(const std::vector<std::pair<std::uint32_t, KVValue>>& values,
                             std::int64_t time) {
    const std::int64_t instant = time != 0 ? time : base::microsecondsNow();
    const std::lock_guard lock(fPrivate->fMutex);
    bool changed = false;
    for (const auto& [id, value] : values) {
        changed = fPrivate->xSet(id, value, instant) || changed;
    }
    if (changed) {
        fPrivate->xTellOfValues();
    }
}

void KVValueTable::setValue(std::uint32_t id, const KVValue& value, std::int64_t time) {
    const std::int64_t instant = time != 0 ? time : base::microsecondsNow();
    const std::lock_guard lock(fPrivate->fMutex);
    if (fPrivate->xSet(id, value, instant)) {
        fPrivate->xTellOfValues();
    }
}

void KVValueTable::restore(const std::vector<KVChange>& values) {
    const std::lock_guard lock(fPrivate->fMutex);
    bool changed = false;
    for (const KVChange& value : values) {
        changed =
            fPrivate->xSet(value.fId, value.fValue, value.fTime, Private::Equal::WithItsTime) ||
            changed;
    }
    if (changed) {
        fPrivate->xTellOfValues();
    }
}

std::vector<KVKeyInfo> KVValueTable::getKeys() const {
    const std::lock_guard lock(fPrivate->fMutex);
    std::vector<KVKeyInfo> keys;
    keys.reserve(fPrivate->fPositions.size());
    for (const auto& position : fPrivate->fPositions) {
        keys.push_back(position->fInfo);
    }
    return keys;
}

KVChange KVValueTable::getValue(const std::string& name) const {
    const std::lock_guard lock(fPrivate->fMutex);
    const auto found = fPrivate->fIdOf.find(name);
    if (found == fPrivate->fIdOf.end()) {
        robaxi::throwNoSuchKey(name);
    }
    const Private::Entry* entry = fPrivate->find(found->second);
    return {entry->fInfo.fId, entry->fValue, entry->fTime};
}

void KVValueTable::setWriteHandler(WriteHandler handler) {
    {
        const std::lock_guard lock(fPrivate->fMutex);
        fPrivate->fWriteHandler.swap(handler);
    }
    handler = nullptr;  // its captures are released without the lock
}

void KVValueTable::write(const std::string& name, const KVValue& value) {
    WriteHandler handler;
    KVKeyInfo key;
    {
        const std::lock_guard lock(fPrivate->fMutex);
        const auto found = fPrivate->fIdOf.find(name);
        if (found == fPrivate->fIdOf.end()) {
            robaxi::throwNoSuchKey(name);
        }
        key = fPrivate->find(found->second)->fInfo;
        handler = fPrivate->fWriteHandler;
    }
    if (!key.fWritable || !handler) {
        throw KVError(KVError::Cause::RaisedByModule, "The key " + name + " is only for reading.");
    }
    const KVValue fitted = fitToKey(key, value);
    if (key.fRange) {
        key.fRange->check(name, fitted, key.fUnit);
    }
    try {
        handler(name, fitted);
    } catch (const KVError&) {
        throw;
    } catch (const std::exception& failure) {
        throw KVError(KVError::Cause::RaisedByModule, failure.what());
    }
    setValue(key.fId, fitted);
}

const std::shared_ptr<KVValueTable::Private>& KVValueTable::getPrivate() const {
    return fPrivate;
}

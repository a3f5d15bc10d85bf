#include "key_store.h"

#include <robaxi/kv_error.h>

#include <memory>
#include <string_view>
#include <unordered_set>
#include <utility>

namespace bridge {

KeyStore::KeyStore(std::shared_ptr<KVMemoryModule> memory) : fMemory(std::move(memory)) {
}

bool KeyStore::set(const std::string& group, const std::vector<SourceValue>& values) {
    Ids& ids = fGroups[group].fIds;
    bool isComplete = true;
    // Values with one time stamp are set together.
    Changes changes;
    std::int64_t time = 0;
    for (const SourceValue& value : values) {
        const auto known = ids.find(value.fName);
        if (known == ids.end()) {
            isComplete = xAdd(ids, value) && isComplete;
            continue;
        }
        if (value.fTime != time) {
            xFlush(changes, time);
            time = value.fTime;
        }
        changes.emplace_back(known->second, value.fValue);
    }
    xFlush(changes, time);
    return isComplete;
}

void KeyStore::addWritable(const std::string& group, const SourceValue& value,
                           std::function<void(const KVValue& value)> write) {
    auto& [ids, writable] = fGroups[group];
    if (ids.count(value.fName) != 0 || !xHasRoom(ids, value.fName)) {
        return;
    }
    try {
        ids[value.fName] =
            fMemory->addKey({value.fName, std::string(value.fUnit), std::string(value.fDescription),
                             value.fValue, std::move(write)});
        writable.push_back(value.fName);
        ++fSize;
    } catch (const KVError&) {
        ids.erase(value.fName);
    }
}

bool KeyStore::replace(const std::string& group, const std::vector<SourceValue>& values) {
    std::unordered_set<std::string_view> names;
    for (const SourceValue& value : values) {
        names.insert(value.fName);
    }
    Ids& ids = fGroups[group].fIds;
    std::vector<std::uint32_t> removed;
    for (auto known = ids.begin(); known != ids.end();) {
        if (names.count(known->first) == 0) {
            removed.push_back(known->second);
            known = ids.erase(known);
        } else {
            ++known;
        }
    }
    xRemove(removed);
    return set(group, values);
}

void KeyStore::remove(const std::string& group) {
    const auto known = fGroups.find(group);
    if (known == fGroups.end()) {
        return;
    }
    // The module knows the writable keys only, and removes their handlers.
    for (const std::string& name : known->second.fWritable) {
        fMemory->removeKey(name);
    }
    std::vector<std::uint32_t> removed;
    for (const auto& [name, id] : known->second.fIds) {
        removed.push_back(id);
    }
    xRemove(removed);
    fGroups.erase(known);
}

void KeyStore::xRemove(const std::vector<std::uint32_t>& ids) {
    if (!ids.empty()) {
        fMemory->getValues()->removeKeys(ids);
        fSize -= ids.size();
    }
}

bool KeyStore::xHasRoom(const Ids& ids, const std::string& name) const {
    return fSize < a_mostKeys && ids.size() < a_mostKeysOfGroup && name.size() <= a_longestKey;
}

bool KeyStore::xAdd(Ids& ids, const SourceValue& value) {
    if (!xHasRoom(ids, value.fName)) {
        return false;
    }
    try {
        KVKeyInfo info;
        info.fName = value.fName;
        info.fUnit = value.fUnit;
        info.fDescription = value.fDescription;
        ids[value.fName] = fMemory->getValues()->addKey(info, value.fValue, value.fTime);
        ++fSize;
        return true;
    } catch (const KVError&) {
        ids.erase(value.fName);
        return false;
    }
}

void KeyStore::xFlush(Changes& changes, std::int64_t time) {
    if (!changes.empty()) {
        fMemory->getValues()->setValues(changes, time);
        changes.clear();
    }
}

}  // namespace bridge

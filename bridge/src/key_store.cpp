#include "key_store.h"

#include <robaxi/kv_error.h>

#include <memory>
#include <utility>

namespace bridge {

KeyStore::KeyStore(std::shared_ptr<KVMemoryModule> memory) : fMemory(std::move(memory)) {
}

bool KeyStore::set(const std::string& group, const std::vector<SourceValue>& values) {
    Ids& ids = fGroups[group];
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
    Ids& ids = fGroups[group];
    if (ids.count(value.fName) != 0 || !xHasRoom(ids, value.fName)) {
        return;
    }
    try {
        ids[value.fName] =
            fMemory->addKey({value.fName, std::string(value.fUnit), std::string(value.fDescription),
                             value.fValue, std::move(write)});
        ++fSize;
    } catch (const KVError&) {
        ids.erase(value.fName);
    }
}

void KeyStore::remove(const std::string& group) {
    const auto known = fGroups.find(group);
    if (known == fGroups.end()) {
        return;
    }
    for (const auto& [name, id] : known->second) {
        // The module knows the writable keys only, and removes their handlers.
        fMemory->removeKey(name);
        fMemory->getValues()->removeKey(id);
    }
    fSize -= known->second.size();
    fGroups.erase(known);
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

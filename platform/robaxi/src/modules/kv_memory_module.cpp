#include "value_table_private.h"

#include <robaxi/kv_memory_module.h>

#include <memory>
#include <mutex>
#include <unordered_map>

namespace {

KVValue::List namesThatStartWith(const KVValueTable& table, const std::string& prefix) {
    KVValue::List names;
    for (const KVKeyInfo& key : table.getKeys()) {
        if (key.fName.compare(0, prefix.size(), prefix) == 0) {
            names.emplace_back(key.fName);
        }
    }
    return names;
}

}  // namespace

/** The keys as they were added. The table's write handler shares it, so it has no pointer to it. */
struct KVMemoryModule::Private {
    struct Key {
        std::uint32_t fId = 0;
        KVMemoryKey fKey;  // without its value, which is in the table
    };

    /** @throws KVError InvalidArgument if there is no such key */
    std::shared_ptr<const Key> find(const std::string& name);
    void write(const std::string& name, const KVValue& value);

    std::mutex fMutex;  // guards fKeys, and that they are those of the table
    std::unordered_map<std::string, std::shared_ptr<const Key>> fKeys;
};

std::shared_ptr<const KVMemoryModule::Private::Key> KVMemoryModule::Private::find(
    const std::string& name) {
    const std::lock_guard lock(fMutex);
    const auto found = fKeys.find(name);
    if (found == fKeys.end()) {
        robaxi::throwNoSuchKey(name);
    }
    return found->second;
}

void KVMemoryModule::Private::write(const std::string& name, const KVValue& value) {
    const std::shared_ptr<const Key> key = find(name);  // lives until the write ends
    key->fKey.fWrite(value);
}

KVMemoryModule::KVMemoryModule(const std::string& description)
    : KVModule("KVMemory", description), fPrivate(std::make_shared<Private>()) {
    const auto table = std::make_shared<KVValueTable>();
    table->setWriteHandler([keys = fPrivate](const std::string& name, const KVValue& value) {
        keys->write(name, value);
    });
    setValues(table);
    bindMethod(
        "getData", [table](const std::string& key) { return table->getValue(key).fValue; },
        "Returns the newest value of a key.");
    // The value may have any type: the key, not the method, determines the accepted one.
    bindMethod(
        "setData",
        [table](const std::string& key, const KVValue& value) { table->write(key, value); },
        "Sets a key that can be written; a refusal contains the reason.");
    bindMethod(
        "getDataList",
        [table](const std::string& prefix) { return namesThatStartWith(*table, prefix); },
        "Returns the names of the keys that start with a text; all for an empty one.");
}

KVMemoryModule::~KVMemoryModule() = default;

std::uint32_t KVMemoryModule::addKey(const KVMemoryKey& key) {
    const std::lock_guard lock(fPrivate->fMutex);
    const std::uint32_t id =
        getValues()->addKey({0, key.fName, key.fUnit, key.fDescription, key.fValue.type(),
                             static_cast<bool>(key.fWrite), key.fRange},
                            key.fValue);
    const auto kept = std::make_shared<Private::Key>(Private::Key{id, key});
    kept->fKey.fValue = KVValue();
    fPrivate->fKeys[key.fName] = kept;
    return id;
}

void KVMemoryModule::removeKey(const std::string& name) {
    std::shared_ptr<const Private::Key> removed;  // its handler is released without the lock
    const std::lock_guard lock(fPrivate->fMutex);
    const auto found = fPrivate->fKeys.find(name);
    if (found == fPrivate->fKeys.end()) {
        return;
    }
    removed = found->second;
    fPrivate->fKeys.erase(found);
    getValues()->removeKey(removed->fId);
}

void KVMemoryModule::setValue(const std::string& name, const KVValue& value) {
    getValues()->setValue(fPrivate->find(name)->fId, value);
}

#ifndef OBVISTA_BRIDGE_KEY_STORE_H
#define OBVISTA_BRIDGE_KEY_STORE_H

#include "source/source.h"

#include <robaxi/kv_memory_module.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace bridge {

/** Keys of all groups together, and of one. */
constexpr std::size_t a_mostKeys = 200'000;
constexpr std::size_t a_mostKeysOfGroup = 10'000;
/** Bytes of the name of a key. */
constexpr std::size_t a_longestKey = 512;

/**
 * The keys of a KVMemoryModule that a source's values make: added when a value first arrives, and
 * removed together with their group. Their number is limited, since a source's names are not
 * trusted. For one thread at a time.
 */
class KeyStore {
  public:
    explicit KeyStore(std::shared_ptr<KVMemoryModule> memory);

    /** Returns false if values are left out: at a limit, or since another group has their key. */
    bool set(const std::string& group, const std::vector<SourceValue>& values);

    /** Adds a key with a write handler; does nothing if there is the key. */
    void addWritable(const std::string& group, const SourceValue& value,
                     std::function<void(const KVValue& value)> write);

    /** Sets values as set() does, and removes the other keys of the group. */
    bool replace(const std::string& group, const std::vector<SourceValue>& values);

    void remove(const std::string& group);

    std::size_t size() const { return fSize; }

  private:
    using Ids = std::unordered_map<std::string, std::uint32_t>;
    struct Group {
        Ids fIds;
        std::vector<std::string> fWritable;
    };
    using Changes = std::vector<std::pair<std::uint32_t, KVValue>>;

    bool xHasRoom(const Ids& ids, const std::string& name) const;
    bool xAdd(Ids& ids, const SourceValue& value);
    void xRemove(const std::vector<std::uint32_t>& ids);
    void xFlush(Changes& changes, std::int64_t time);

    const std::shared_ptr<KVMemoryModule> fMemory;
    std::map<std::string, Group> fGroups;
    std::size_t fSize = 0;
};

}  // namespace bridge

#endif

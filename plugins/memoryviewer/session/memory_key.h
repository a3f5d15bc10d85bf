#ifndef OBVISTA_MEMORYVIEWER_MEMORY_KEY_H
#define OBVISTA_MEMORYVIEWER_MEMORY_KEY_H

#include "session/change_rate.h"

#include <robaxi/kv_value_table.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace memoryviewer {

/** A key and its newest value, as displayed. */
struct MemoryKey {
    KVKeyInfo fInfo;
    KVValue fValue;
    std::int64_t fTime = 0;  ///< of the value, by the robot's clock; 0 before the first value
    std::vector<std::string> fPath;  ///< the name split at its slashes, see splitPath()
    ChangeRate fRate;
    bool fHasChanged = false;       ///< since it was added: the first value is not a change
    std::int64_t fMarkedUntil = 0;  ///< end of the highlighting of its last change, see KeyStore
    MemoryKey* fOlder = nullptr;    ///< of the same name: announced before, and after, it
    MemoryKey* fNewer = nullptr;

    bool hasValue() const { return fTime != 0; }
    /** Returns the value's type, or the announced type of the key before its first value. */
    KVValue::Type type() const { return hasValue() ? fValue.type() : fInfo.fType; }
};

/** The newest change of a key, and the times of the changes merged into it. */
struct MergedChange {
    MergedChange(KVChange newest) : fNewest(std::move(newest)), fTimes(fNewest.fTime) {}

    KVChange fNewest;
    ChangeTimes fTimes;  ///< including previous changes that are merged into it
};

/**
 * Maximum number of levels of the tree; the rest of a longer path stays in the name of the last
 * level, so that a robot cannot make the tree too deep for recursion.
 */
constexpr int a_maxDepth = 32;

std::vector<std::string> splitPath(const std::string& name);

/**
 * Returns true in natural order: "Joint2" before "Joint10"; the case of ASCII letters only counts
 * if the names are otherwise equal.
 */
bool naturalLess(const std::string& left, const std::string& right);

/** Compares whole paths in natural order, part by part. */
bool pathLess(const std::vector<std::string>& left, const std::vector<std::string>& right);

}  // namespace memoryviewer

#endif

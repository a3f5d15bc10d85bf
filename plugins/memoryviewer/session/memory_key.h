#ifndef OBVISTA_MEMORYVIEWER_MEMORY_KEY_H
#define OBVISTA_MEMORYVIEWER_MEMORY_KEY_H

#include "session/change_rate.h"

#include <robaxi/kv_value_table.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace memoryviewer {

/** A key and its newest value, as the viewer shows it. */
struct MemoryKey {
    KVKeyInfo fInfo;
    KVValue fValue;
    std::int64_t fTime = 0;  ///< of the value, by the robot's clock; 0 before the first value
    std::vector<std::string> fPath;  ///< the name taken apart at its slashes, see splitPath()
    ChangeRate fRate;
    bool fHasChanged = false;       ///< since it is known here: the first value is no change
    std::int64_t fMarkedUntil = 0;  ///< when the mark of its last change goes out, see KeyStore
    MemoryKey* fOlder = nullptr;    ///< of the same name: the one announced before, and after, it
    MemoryKey* fNewer = nullptr;

    bool hasValue() const { return fTime != 0; }
    /** The value's own type, or the one that the key was announced with before its first value. */
    KVValue::Type type() const { return hasValue() ? fValue.type() : fInfo.fType; }
};

/** The newest change of a key, and how many it stands for. */
struct MergedChange {
    MergedChange(KVChange newest) : fNewest(std::move(newest)), fTimes(fNewest.fTime) {}

    KVChange fNewest;
    ChangeTimes fTimes;  ///< with those before it that are merged into it
};

/** Levels of the tree; what follows in a longer path stays in the name of the last one, so that no
 *  robot can make the tree deeper than recursion can go. */
constexpr int a_maxDepth = 32;

std::vector<std::string> splitPath(const std::string& name);

/** Order of names as people read it: "Joint2" before "Joint10", without regard to the case of
 *  ASCII letters unless nothing else tells two names apart. */
bool naturalLess(const std::string& left, const std::string& right);

/** The same for whole paths, part by part. */
bool pathLess(const std::vector<std::string>& left, const std::vector<std::string>& right);

}  // namespace memoryviewer

#endif

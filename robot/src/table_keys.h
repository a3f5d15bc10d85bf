#ifndef OBVISTA_ROBOT_TABLE_KEYS_H
#define OBVISTA_ROBOT_TABLE_KEYS_H

#include <robaxi/kv_value_table.h>

#include <string>

namespace robot {

/** Adds a key without a unit that clients cannot write. @return its identifier */
inline std::uint32_t addReadOnlyKey(KVValueTable& table, const std::string& name,
                                    const std::string& description, const KVValue& value) {
    KVKeyInfo key;
    key.fName = name;
    key.fDescription = description;
    return table.addKey(key, value);
}

}  // namespace robot

#endif

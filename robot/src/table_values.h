#ifndef OBVISTA_ROBOT_TABLE_VALUES_H
#define OBVISTA_ROBOT_TABLE_VALUES_H

#include <robaxi/kv_value_table.h>

#include <cmath>
#include <cstdint>
#include <string>

namespace robot {

/** Adds a key without a unit that clients cannot write. @return its identifier */
std::uint32_t addReadOnlyKey(KVValueTable& table, const std::string& name,
                             const std::string& description, const KVValue& value);

/** Rounds a reading to a resolution, which is given in steps per unit: 10 for 0.1. */
inline double rounded(double value, double perUnit) {
    return std::round(value * perUnit) / perUnit;
}

/**
 * @name Limits of values set by clients
 * Each throws KVError (RaisedByModule) with a sentence that names the unchanged value and the
 * reason.
 */
///@{
double numberWithin(const std::string& what, double number, double lowest, double highest,
                    const std::string& unit);
std::int64_t numberWithin(const std::string& what, std::int64_t number, std::int64_t lowest,
                          std::int64_t highest, const std::string& unit);
/** @return the text as valid UTF-8 */
std::string textUpTo(const std::string& what, const std::string& text, std::size_t bytes);
///@}

}  // namespace robot

#endif

#ifndef ROBAXI_KV_RANGE_H
#define ROBAXI_KV_RANGE_H

#include <robaxi/kv_value.h>
#include <robaxi/robaxi_export.h>

#include <string>

/**
 * Values that are accepted: of a number, those from the lowest to the highest one; of a text or
 * bytes, those whose number of bytes is in the range; of a list or map, those whose number of
 * elements is. Any bool is accepted.
 * Both ends are in the range, and may be infinite.
 */
struct ROBAXI_EXPORT KVRange {
    double fLowest = 0;   ///< Lowest allowed value, or -infinity
    double fHighest = 0;  ///< Highest allowed value, or infinity

    /** Returns true if the lowest value is not above the highest one; false for NaN. */
    bool isValid() const { return fLowest <= fHighest; }

    /**
     * Returns the range as a text for users, for instance "0 to 100 %", "a text of at most 80
     * bytes"; an empty one for types that have no range.
     *
     * @param unit of a number; may be empty
     */
    std::string toString(KVValue::Type type, const std::string& unit = {}) const;

    /**
     * Checks that the value is in the range; NaN never is.
     *
     * @param what subject of the sentence for the user, for instance the name of a key
     * @param unit of a number; may be empty
     * @throws KVError RaisedByModule with a sentence that names the subject, the range and the
     * value
     */
    void check(const std::string& what, const KVValue& value, const std::string& unit = {}) const;
};

#endif

#ifndef ROBAXI_KV_NUMBER_H
#define ROBAXI_KV_NUMBER_H

#include <robaxi/kv_value.h>

#include <limits>

namespace KV {

/**
 * Returns a Float, an Int or a Bool (0 or 1) as a number for plots and comparisons; NaN for other
 * types.
 */
inline double numberOf(const KVValue& value) {
    switch (value.type()) {
        case KVValue::Type::Bool:
            return value.toBool() ? 1 : 0;
        case KVValue::Type::Int:
        case KVValue::Type::Float:
            return value.toFloat();
        default:
            return std::numeric_limits<double>::quiet_NaN();
    }
}

}  // namespace KV

#endif

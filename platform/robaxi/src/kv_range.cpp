#include <robaxi/kv_error.h>
#include <robaxi/kv_range.h>

#include <cmath>
#include <limits>
#include <sstream>

namespace {

using Type = KVValue::Type;

bool isNumber(Type type) {
    return type == Type::Int || type == Type::Float;
}

bool hasSize(Type type) {
    return type != Type::Nothing && type != Type::Bool && !isNumber(type);
}

std::string exactText(double number) {
    std::ostringstream text;
    text.precision(std::numeric_limits<double>::digits10);
    text << number;
    return text.str();
}

std::string intervalText(double lowest, double highest) {
    if (std::isinf(lowest)) {
        return std::isinf(highest) ? "any number" : "at most " + exactText(highest);
    }
    return std::isinf(highest) ? "at least " + exactText(lowest)
                               : exactText(lowest) + " to " + exactText(highest);
}

/** Returns for instance "a text of at most 256 bytes", "a list of 2 to 3 elements". */
std::string sizeText(const KVRange& range, Type type) {
    const double lowest =
        range.fLowest > 0 ? range.fLowest : -std::numeric_limits<double>::infinity();
    const std::string size = intervalText(lowest, range.fHighest) +
                             (type == Type::List || type == Type::Map ? " elements" : " bytes");
    const std::string kind = type == Type::String ? "text" : KVValue::typeName(type);
    return type == Type::Binary ? size : "a " + kind + " of " + size;
}

std::string textOf(const KVValue& number) {
    return number.type() == Type::Int ? std::to_string(number.toInt())
                                      : exactText(number.toFloat());
}

}  // namespace

std::string KVRange::toString(Type type, const std::string& unit) const {
    if (hasSize(type)) {
        return sizeText(*this, type);
    }
    if (!isNumber(type)) {
        return {};
    }
    return intervalText(fLowest, fHighest) + (unit.empty() ? "" : " ") + unit;
}

void KVRange::check(const std::string& what, const KVValue& value, const std::string& unit) const {
    const Type type = value.type();
    if (!isNumber(type) && !hasSize(type)) {
        return;
    }
    const double measure = isNumber(type) ? value.toFloat() : value.getSize();
    // Written so that NaN is refused.
    if (measure >= fLowest && measure <= fHighest) {
        return;
    }
    throw KVError(KVError::Cause::RaisedByModule,
                  what + " was not changed: it accepts " + toString(type, unit) + ", not " +
                      (isNumber(type) ? textOf(value) : std::to_string(value.getSize())) + '.');
}

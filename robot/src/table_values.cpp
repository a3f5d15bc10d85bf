#include "table_values.h"

#include <base/safe_text.h>
#include <robaxi/kv_error.h>

#include <sstream>

namespace robot {

namespace {

[[noreturn]] void refuse(const std::string& what, const std::string& reason) {
    throw KVError(KVError::Cause::RaisedByModule, what + " was not changed: " + reason);
}

template <class Number>
Number within(const std::string& what, Number number, Number lowest, Number highest,
              const std::string& unit) {
    // Written so that NaN is refused.
    if (number >= lowest && number <= highest) {
        return number;
    }
    std::ostringstream reason;
    reason << "it takes " << lowest << " to " << highest << unit << ", not " << number << '.';
    refuse(what, reason.str());
}

}  // namespace

std::uint32_t addReadOnlyKey(KVValueTable& table, const std::string& name,
                             const std::string& description, const KVValue& value) {
    KVKeyInfo key;
    key.fName = name;
    key.fDescription = description;
    return table.addKey(key, value);
}

double numberWithin(const std::string& what, double number, double lowest, double highest,
                    const std::string& unit) {
    return within(what, number, lowest, highest, unit);
}

std::int64_t numberWithin(const std::string& what, std::int64_t number, std::int64_t lowest,
                          std::int64_t highest, const std::string& unit) {
    return within(what, number, lowest, highest, unit);
}

std::string textUpTo(const std::string& what, const std::string& text, std::size_t bytes) {
    if (text.size() > bytes) {
        refuse(what, "it takes a text of at most " + std::to_string(bytes) + " bytes, not " +
                         std::to_string(text.size()) + '.');
    }
    return base::validUtf8(text);
}

}  // namespace robot

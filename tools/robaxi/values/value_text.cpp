#include "values/value_text.h"

#include <base/base64.h>
#include <base/safe_text.h>

#include <cmath>
#include <string_view>

namespace robaxi_tool {

namespace {

constexpr int a_notIndented = -1;

Json base64Json(const KVValue& value) {
    const std::string_view bytes(static_cast<const char*>(value.GetBinary()),
                                 static_cast<std::size_t>(value.getSize()));
    return {{"base64", base::base64(bytes)}};
}

std::string binaryText(const KVValue& value) {
    return "<" + std::to_string(value.getSize()) + " bytes>";
}

/**
 * Converts a value to JSON, in which NaN and the infinities are null; `binary` converts bytes.
 */
template <class BinaryToJson>
Json shaped(const KVValue& value, const BinaryToJson& binary) {
    switch (value.type()) {
        case KVValue::Type::Bool:
            return value.toBool();
        case KVValue::Type::Int:
            return value.toInt();
        case KVValue::Type::Float:
            return value.toFloat();
        case KVValue::Type::String:
            return value.toString();
        case KVValue::Type::Binary:
            return binary(value);
        case KVValue::Type::List: {
            Json list = Json::array();
            for (const KVValue& element : value.toList()) {
                list.push_back(shaped(element, binary));
            }
            return list;
        }
        case KVValue::Type::Map: {
            Json map = Json::object();
            for (const auto& [key, element] : value.toMap()) {
                map[key] = shaped(element, binary);
            }
            return map;
        }
        case KVValue::Type::Nothing:
            break;
    }
    return nullptr;
}

std::string dumped(const Json& json, bool ascii) {
    return json.dump(a_notIndented, ' ', ascii, Json::error_handler_t::replace);
}

std::string floatText(double number) {
    if (std::isnan(number)) {
        return "nan";
    }
    if (std::isinf(number)) {
        return number > 0 ? "inf" : "-inf";
    }
    return dumped(number, false);
}

}  // namespace

std::string valueText(const KVValue& value) {
    switch (value.type()) {
        case KVValue::Type::String:
            return base::oneLine(value.toString());
        case KVValue::Type::Binary:
            return binaryText(value);
        case KVValue::Type::Float:
            return floatText(value.toFloat());
        default:
            return base::oneLine(dumped(shaped(value, binaryText), false));
    }
}

Json valueJson(const KVValue& value) {
    return shaped(value, base64Json);
}

std::string jsonLine(const Json& json) {
    return dumped(json, true) + '\n';
}

}  // namespace robaxi_tool

#include "values/value_text.h"

#include <base/safe_text.h>

#include <boost/archive/iterators/base64_from_binary.hpp>
#include <boost/archive/iterators/transform_width.hpp>

#include <cmath>

namespace robaxi_tool {

namespace {

constexpr int a_notIndented = -1;

std::string base64(const KVValue& value) {
    namespace it = boost::archive::iterators;
    using Encoder = it::base64_from_binary<it::transform_width<const char*, 6, 8>>;
    const auto* const bytes = static_cast<const char*>(value.GetBinary());
    const auto size = static_cast<std::size_t>(value.getSize());
    std::string text(Encoder(bytes), Encoder(bytes + size));
    text.append((3 - size % 3) % 3, '=');
    return text;
}

Json base64Json(const KVValue& value) {
    return {{"base64", base64(value)}};
}

/** Json writes NaN and the infinities as null. */
Json plainFloat(double number) {
    return number;
}

std::string binaryText(const KVValue& value) {
    return "<" + std::to_string(value.getSize()) + " bytes>";
}

/** Converts a value to JSON; `binary` converts bytes and `number` a float. */
template <class BinaryToJson, class FloatToJson>
Json shaped(const KVValue& value, const BinaryToJson& binary, const FloatToJson& number) {
    switch (value.type()) {
        case KVValue::Type::Bool:
            return value.toBool();
        case KVValue::Type::Int:
            return value.toInt();
        case KVValue::Type::Float:
            return number(value.toFloat());
        case KVValue::Type::String:
            return value.toString();
        case KVValue::Type::Binary:
            return binary(value);
        case KVValue::Type::List: {
            Json list = Json::array();
            for (const KVValue& element : value.toList()) {
                list.push_back(shaped(element, binary, number));
            }
            return list;
        }
        case KVValue::Type::Map: {
            Json map = Json::object();
            for (const auto& [key, element] : value.toMap()) {
                map[key] = shaped(element, binary, number);
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
            return base::oneLine(dumped(shaped(value, binaryText, plainFloat), false));
    }
}

Json valueJson(const KVValue& value) {
    return shaped(value, base64Json, plainFloat);
}

std::string recordedJson(const KVValue& value) {
    const auto number = [](double finite) {
        if (std::isfinite(finite)) {
            return Json(finite);
        }
        return Json(std::isnan(finite) ? "NaN" : finite > 0 ? "Infinity" : "-Infinity");
    };
    return dumped(shaped(value, base64Json, number), false);
}

std::string jsonLine(const Json& json) {
    return dumped(json, true) + '\n';
}

}  // namespace robaxi_tool

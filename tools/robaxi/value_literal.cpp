#include "value_literal.h"

#include "failure.h"
#include "safe_text.h"

#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>

namespace robaxi_tool {

namespace {

using Json = nlohmann::json;

/** As deep as the protocol carries; the parser itself has no limit. */
constexpr int a_deepest = 64;

KVValue toValue(const Json& json, int depth);

KVValue toList(const Json& json, int depth) {
    KVValue::List list;
    for (const Json& element : json) {
        list.push_back(toValue(element, depth));
    }
    return list;
}

KVValue toMap(const Json& json, int depth) {
    KVValue::Map map;
    for (const auto& [key, element] : json.items()) {
        map.emplace(key, toValue(element, depth));
    }
    return map;
}

std::int64_t toInt(const Json& json) {
    if (json.is_number_unsigned() &&
        json.get<std::uint64_t>() >
            static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
        throw UsageError("the number " + json.dump() + " is larger than 64 bits hold");
    }
    return json.get<std::int64_t>();
}

KVValue toValue(const Json& json, int depth) {
    if (depth > a_deepest) {
        throw UsageError("lists and maps are nested more than 64 deep");
    }
    switch (json.type()) {
        case Json::value_t::boolean:
            return json.get<bool>();
        case Json::value_t::number_integer:
        case Json::value_t::number_unsigned:
            return toInt(json);
        case Json::value_t::number_float:
            return json.get<double>();
        case Json::value_t::string:
            return json.get<std::string>();
        case Json::value_t::array:
            return toList(json, depth + 1);
        case Json::value_t::object:
            return toMap(json, depth + 1);
        default:
            return {};
    }
}

bool startsLikeLiteral(const std::string& argument) {
    return !argument.empty() && std::string("\"[{").find(argument[0]) != std::string::npos;
}

/** The parser reads a whole number that is too large as a decimal one, and so loses digits. */
bool isWholeNumber(const std::string& argument) {
    return argument.find_first_not_of("-0123456789") == std::string::npos;
}

}  // namespace

KVValue parseLiteral(const std::string& argument) {
    if (!isUtf8(argument)) {
        throw UsageError("'" + argument + "' is not UTF-8");
    }
    const Json json = Json::parse(argument, nullptr, false);
    if (!json.is_discarded()) {
        if (json.is_number_float() && isWholeNumber(argument)) {
            throw UsageError("the number " + argument + " is larger than 64 bits hold");
        }
        return toValue(json, 0);
    }
    if (startsLikeLiteral(argument)) {
        throw UsageError("'" + argument +
                         "' is not a literal: texts stand in double quotes, also within lists and "
                         "maps");
    }
    return argument;
}

}  // namespace robaxi_tool

#include "values/value_literal.h"

#include "process/failure.h"

#include <base/safe_text.h>

#include <recorded_robot/json_value.h>

namespace robaxi_tool {

namespace {

bool startsLikeLiteral(const std::string& argument) {
    return !argument.empty() && std::string("\"[{").find(argument[0]) != std::string::npos;
}

}  // namespace

KVValue parseLiteral(const std::string& argument) {
    if (!base::isUtf8(argument)) {
        throw UsageError("'" + argument + "' is not UTF-8");
    }
    try {
        if (const auto value =
                recorded_robot::valueOfJson(argument, recorded_robot::LargeIntegers::Refused)) {
            return *value;
        }
    } catch (const recorded_robot::JsonLimit& limit) {
        throw UsageError(limit.what());
    }
    if (startsLikeLiteral(argument)) {
        throw UsageError("'" + argument +
                         "' is not a literal: texts are in double quotes, also within lists and "
                         "maps");
    }
    return argument;
}

}  // namespace robaxi_tool

#ifndef OBVISTA_TOOLS_ROBAXI_VALUES_VALUE_TEXT_H
#define OBVISTA_TOOLS_ROBAXI_VALUES_VALUE_TEXT_H

#include <robaxi/kv_value.h>

#include <nlohmann/json.hpp>
#include <string>

namespace robaxi_tool {

/** Objects keep the order in which they are filled. */
using Json = nlohmann::ordered_json;

/**
 * Returns the value for a user: in the syntax of parseLiteral(), but a text without quotes. One
 * line, safe for a terminal; numbers with a decimal point. Bytes are shown by their number.
 */
std::string valueText(const KVValue& value);

/**
 * Returns the value in JSON. Bytes are {"base64": "..."}; NaN and infinities, which JSON does not
 * have, are null.
 */
Json valueJson(const KVValue& value);

/** Returns one line of JSON with a line break, in ASCII, so that it is safe for a terminal. */
std::string jsonLine(const Json& json);

}  // namespace robaxi_tool

#endif

#ifndef OBVISTA_TOOLS_ROBAXI_VALUES_VALUE_TEXT_H
#define OBVISTA_TOOLS_ROBAXI_VALUES_VALUE_TEXT_H

#include <robaxi/kv_value.h>

#include <nlohmann/json.hpp>
#include <string>

namespace robaxi_tool {

/** Objects keep the order in which they are filled. */
using Json = nlohmann::ordered_json;

/**
 * The value for a person: as parseLiteral() takes it, but a text bare. One line, safe for a
 * terminal; numbers with a point. Bytes are shown by their number.
 */
std::string valueText(const KVValue& value);

/**
 * The value in JSON. Bytes are {"base64": "..."}; not-a-number and infinities, which JSON does not
 * have, are null.
 */
Json valueJson(const KVValue& value);

/** One line of JSON and its end, in ASCII, so that it is safe for a terminal. */
std::string jsonLine(const Json& json);

}  // namespace robaxi_tool

#endif

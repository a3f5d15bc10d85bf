#ifndef ROBOT_RECORDING_VALUE_JSON_H
#define ROBOT_RECORDING_VALUE_JSON_H

#include <robaxi/kv_value.h>

#include <string>
#include <string_view>

namespace robot_recording {

/** Appends a text as a JSON string. Bytes that are not UTF-8 are replaced. */
void appendJsonText(std::string& json, std::string_view text);

/**
 * Appends a value in JSON that can be read back. Bytes are {"base64": "..."}; NaN and the
 * infinities, which JSON does not have, are texts as in protobuf's JSON: "NaN", "Infinity",
 * "-Infinity".
 *
 * Written by hand, since a document in memory costs more than everything else that is done for a
 * value.
 */
void appendJson(std::string& json, const KVValue& value);

}  // namespace robot_recording

#endif

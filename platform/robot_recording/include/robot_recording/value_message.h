#ifndef ROBOT_RECORDING_VALUE_MESSAGE_H
#define ROBOT_RECORDING_VALUE_MESSAGE_H

#include <robaxi/kv_value.h>

#include <robot_recording/message_schema.h>
#include <string>

namespace robot_recording {

/**
 * The forms of values in a recording. Each has a schema, since viewers learn from it which fields
 * they can plot.
 */
enum class ValueForm { Nothing, Bool, Int, Float, Text, Bytes, Numbers, Texts, List, Map };

ValueForm formOf(const KVValue& value);

/** Returns the schema of messages such as {"value": 0.25}. */
const MessageSchema& valueSchema(ValueForm form);

/** Returns the message of a value, in JSON. */
std::string valueMessage(const KVValue& value);

/** The schema of messages with several keys, such as {"Battery/Charge": 0.25}. */
const MessageSchema& groupSchema();
std::string groupMessage(const std::string& key, const KVValue& value);

}  // namespace robot_recording

#endif

#include "value_json.h"

#include <algorithm>
#include <array>
#include <robot_recording/value_message.h>

namespace robot_recording {

namespace {

bool isNumber(const KVValue& value) {
    return value.type() == KVValue::Type::Int || value.type() == KVValue::Type::Float;
}

bool isText(const KVValue& value) {
    return value.type() == KVValue::Type::String;
}

ValueForm formOfList(const KVValue::List& list) {
    if (std::all_of(list.begin(), list.end(), isNumber)) {
        return ValueForm::Numbers;
    }
    return std::all_of(list.begin(), list.end(), isText) ? ValueForm::Texts : ValueForm::List;
}

/** @param type JSON Schema of the value */
MessageSchema schemaOf(const char* name, const std::string& type) {
    return {name, "jsonschema",
            R"({"type":"object","properties":{"value":)" + type + R"(},"required":["value"]})",
            "json"};
}

MessageSchema makeSchema(ValueForm form) {
    switch (form) {
        case ValueForm::Bool:
            return schemaOf("robaxi.Bool", R"({"type":"boolean"})");
        case ValueForm::Int:
            return schemaOf("robaxi.Int", R"({"type":"integer"})");
        case ValueForm::Float:
            return schemaOf("robaxi.Float",
                            R"({"type":"number","description":"NaN and infinities are texts"})");
        case ValueForm::Text:
            return schemaOf("robaxi.Text", R"({"type":"string"})");
        case ValueForm::Bytes:
            return schemaOf("robaxi.Bytes",
                            R"({"type":"object","properties":{"base64":{"type":"string"}}})");
        case ValueForm::Numbers:
            return schemaOf("robaxi.Numbers", R"({"type":"array","items":{"type":"number"}})");
        case ValueForm::Texts:
            return schemaOf("robaxi.Texts", R"({"type":"array","items":{"type":"string"}})");
        case ValueForm::List:
            return schemaOf("robaxi.List", R"({"type":"array","items":{"type":"object"}})");
        case ValueForm::Map:
            return schemaOf("robaxi.Map", R"({"type":"object","properties":{}})");
        case ValueForm::Nothing:
            break;
    }
    return schemaOf("robaxi.Nothing", R"({"type":"null"})");
}

}  // namespace

ValueForm formOf(const KVValue& value) {
    switch (value.type()) {
        case KVValue::Type::Bool:
            return ValueForm::Bool;
        case KVValue::Type::Int:
            return ValueForm::Int;
        case KVValue::Type::Float:
            return ValueForm::Float;
        case KVValue::Type::String:
            return ValueForm::Text;
        case KVValue::Type::Binary:
            return ValueForm::Bytes;
        case KVValue::Type::List:
            return formOfList(value.toList());
        case KVValue::Type::Map:
            return ValueForm::Map;
        case KVValue::Type::Nothing:
            break;
    }
    return ValueForm::Nothing;
}

const MessageSchema& valueSchema(ValueForm form) {
    constexpr std::size_t count = static_cast<std::size_t>(ValueForm::Map) + 1;
    static const auto schemas = [] {
        std::array<MessageSchema, count> all;
        for (std::size_t i = 0; i < count; ++i) {
            all[i] = makeSchema(static_cast<ValueForm>(i));
        }
        return all;
    }();
    return schemas[static_cast<std::size_t>(form)];
}

std::string valueMessage(const KVValue& value) {
    std::string message = "{\"value\":";
    appendJson(message, value);
    message += '}';
    return message;
}

const MessageSchema& groupSchema() {
    static const MessageSchema schema{"robaxi.Keys", "jsonschema",
                                      R"({"type":"object","properties":{}})", "json"};
    return schema;
}

std::string groupMessage(const std::string& key, const KVValue& value) {
    std::string message = "{";
    appendJsonText(message, key);
    message += ':';
    appendJson(message, value);
    message += '}';
    return message;
}

}  // namespace robot_recording

#include "wire/value_codec.h"

#include "failure.h"

#include <base/safe_text.h>

#include <algorithm>
#include <limits>

namespace robaxi {

namespace {

[[noreturn]] void throwMalformed(const char* detail) {
    throw Failure{KVError::Cause::Internal, detail};
}

/** @param depth remaining levels of nesting, including this one */
void encode(const KVValue& value, int depth, v1::Value* message);

/** Texts that are not UTF-8 are sent as bytes: as text they would make the message unreadable. */
void encodeText(const std::string& text, v1::Value* message) {
    if (base::isUtf8(text)) {
        message->set_string_value(text);
    } else {
        message->set_bytes_value(text);
    }
}

void encodeList(const KVValue::List& list, int depth, v1::Value* message) {
    message->mutable_elements()->Reserve(static_cast<int>(list.size()));
    for (const KVValue& element : list) {
        encode(element, depth, message->add_elements());
    }
}

void encodeMap(const KVValue::Map& map, int depth, v1::Value* message) {
    const bool isText = std::all_of(map.begin(), map.end(),
                                    [](const auto& entry) { return base::isUtf8(entry.first); });
    for (const auto& [key, element] : map) {
        *(isText ? message->add_keys() : message->add_bytes_keys()) = key;
        encode(element, depth, message->add_elements());
    }
}

void encode(const KVValue& value, int depth, v1::Value* message) {
    if (depth < 0) {
        throw Failure{KVError::Cause::InvalidArgument, "a value has lists or maps nested too deep"};
    }
    message->set_type(static_cast<v1::Value::Type>(value.type()));
    switch (value.type()) {
        case KVValue::Type::Nothing:
            break;
        case KVValue::Type::Bool:
            message->set_bool_value(value.toBool());
            break;
        case KVValue::Type::Int:
            message->set_int_value(value.toInt());
            break;
        case KVValue::Type::Float:
            message->set_float_value(value.toFloat());
            break;
        case KVValue::Type::String:
            encodeText(value.toString(), message);
            break;
        case KVValue::Type::Binary:
            message->set_bytes_value(value.GetBinary(), static_cast<std::size_t>(value.getSize()));
            break;
        case KVValue::Type::List:
            encodeList(value.toList(), depth - 1, message);
            break;
        case KVValue::Type::Map:
            encodeMap(value.toMap(), depth - 1, message);
            break;
    }
}

KVValue decode(const v1::Value& message, int depth);

KVValue decodeBinary(const std::string& bytes) {
    if (bytes.size() > std::numeric_limits<int>::max()) {
        throwMalformed("a value of bytes is too large");
    }
    KVValue value;
    value.SetBinary(bytes.data(), static_cast<int>(bytes.size()));
    return value;
}

KVValue decodeList(const v1::Value& message, int depth) {
    KVValue::List list;
    list.reserve(static_cast<std::size_t>(message.elements_size()));
    for (const v1::Value& element : message.elements()) {
        list.push_back(decode(element, depth));
    }
    return list;
}

KVValue decodeMap(const v1::Value& message, int depth) {
    const auto& keys = message.bytes_keys().empty() ? message.keys() : message.bytes_keys();
    if (keys.size() != message.elements_size()) {
        throwMalformed("a map has not as many keys as values");
    }
    KVValue::Map map;
    for (int i = 0; i < keys.size(); ++i) {
        if (!map.emplace(keys[i], decode(message.elements(i), depth)).second) {
            throwMalformed("a map has a key twice");
        }
    }
    return map;
}

KVValue decode(const v1::Value& message, int depth) {
    if (depth < 0) {
        throwMalformed("a value is nested too deep");
    }
    switch (message.type()) {
        case v1::Value::NOTHING:
            return {};
        case v1::Value::BOOL:
            return message.bool_value();
        case v1::Value::INT:
            return std::int64_t{message.int_value()};
        case v1::Value::FLOAT:
            return message.float_value();
        case v1::Value::STRING:
            return message.has_bytes_value() ? message.bytes_value() : message.string_value();
        case v1::Value::BINARY:
            return decodeBinary(message.bytes_value());
        case v1::Value::LIST:
            return decodeList(message, depth - 1);
        case v1::Value::MAP:
            return decodeMap(message, depth - 1);
        default:
            throwMalformed("a value is of an unknown type");
    }
}

}  // namespace

// encode() and decodeType() rely on the same order in both.
static_assert(static_cast<int>(KVValue::Type::Nothing) == v1::Value::NOTHING);
static_assert(static_cast<int>(KVValue::Type::Bool) == v1::Value::BOOL);
static_assert(static_cast<int>(KVValue::Type::Int) == v1::Value::INT);
static_assert(static_cast<int>(KVValue::Type::Float) == v1::Value::FLOAT);
static_assert(static_cast<int>(KVValue::Type::String) == v1::Value::STRING);
static_assert(static_cast<int>(KVValue::Type::Binary) == v1::Value::BINARY);
static_assert(static_cast<int>(KVValue::Type::List) == v1::Value::LIST);
static_assert(static_cast<int>(KVValue::Type::Map) == v1::Value::MAP);

void encodeValue(const KVValue& value, v1::Value* message, int deepest) {
    encode(value, deepest, message);
}

KVValue decodeValue(const v1::Value& message, int deepest) {
    return decode(message, deepest);
}

KVValue::Type decodeType(v1::Value::Type type) {
    if (!v1::Value::Type_IsValid(type)) {
        throwMalformed("a value is of an unknown type");
    }
    return static_cast<KVValue::Type>(type);
}

}  // namespace robaxi

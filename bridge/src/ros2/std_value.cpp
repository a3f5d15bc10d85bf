#include "ros2/std_value.h"

#include <robaxi/kv_error.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <string>

namespace bridge {

namespace {

using ros2_message::FieldKind;
using ros2_message::MessageType;
using ros2_message::Repetition;

constexpr std::size_t a_longestText = 64UL * 1024;

using Bytes = std::vector<unsigned char>;

/** Appends a number in the machine's byte order, which the encapsulation names. */
template <class Number>
void append(Bytes& bytes, Number number) {
    const std::size_t size = bytes.size();
    bytes.resize(size + sizeof(number));
    std::memcpy(bytes.data() + size, &number, sizeof(number));
}

template <class Number>
void appendWhole(Bytes& bytes, const KVValue& value) {
    const std::int64_t number = value.toInt();
    bool fits = number >= 0 || std::numeric_limits<Number>::is_signed;
    if constexpr (sizeof(Number) < sizeof(number)) {
        fits = number >= std::int64_t{std::numeric_limits<Number>::min()} &&
               number <= std::int64_t{std::numeric_limits<Number>::max()};
    }
    if (!fits) {
        throw KVError(KVError::Cause::RaisedByModule,
                      "The topic's type cannot hold " + std::to_string(number) + ".");
    }
    append(bytes, static_cast<Number>(number));
}

void appendText(Bytes& bytes, const std::string& text) {
    if (text.size() > a_longestText || text.find('\0') != std::string::npos) {
        throw KVError(KVError::Cause::RaisedByModule,
                      "A text for a topic has at most 64 KiB and no zero bytes.");
    }
    append(bytes, static_cast<std::uint32_t>(text.size() + 1));
    bytes.insert(bytes.end(), text.begin(), text.end());
    bytes.push_back(0);
}

}  // namespace

bool isStdValue(const MessageType& type) {
    return type.name().rfind("std_msgs/msg/", 0) == 0 && type.fields().size() == 1 &&
           type.fields()[0].fRepetition == Repetition::Once &&
           type.fields()[0].fKind != FieldKind::Message;
}

KVValue initialStdValue(const MessageType& type) {
    switch (type.fields().at(0).fKind) {
        case FieldKind::Bool:
            return false;
        case FieldKind::Float32:
        case FieldKind::Float64:
            return 0.0;
        case FieldKind::Text:
            return "";
        default:
            return 0;
    }
}

std::vector<unsigned char> stdMessage(const MessageType& type, const KVValue& value) {
    const std::uint16_t probe = 1;
    unsigned char isLittle = 0;
    std::memcpy(&isLittle, &probe, 1);
    Bytes bytes{0, isLittle, 0, 0};
    switch (type.fields().at(0).fKind) {
        case FieldKind::Bool:
            append(bytes, static_cast<std::uint8_t>(value.toBool() ? 1 : 0));
            break;
        case FieldKind::Int8:
            appendWhole<std::int8_t>(bytes, value);
            break;
        case FieldKind::UInt8:
            appendWhole<std::uint8_t>(bytes, value);
            break;
        case FieldKind::Int16:
            appendWhole<std::int16_t>(bytes, value);
            break;
        case FieldKind::UInt16:
            appendWhole<std::uint16_t>(bytes, value);
            break;
        case FieldKind::Int32:
            appendWhole<std::int32_t>(bytes, value);
            break;
        case FieldKind::UInt32:
            appendWhole<std::uint32_t>(bytes, value);
            break;
        case FieldKind::Int64:
            appendWhole<std::int64_t>(bytes, value);
            break;
        case FieldKind::UInt64:
            appendWhole<std::uint64_t>(bytes, value);
            break;
        case FieldKind::Float32:
            append(bytes, static_cast<float>(value.toFloat()));
            break;
        case FieldKind::Float64:
            append(bytes, value.toFloat());
            break;
        case FieldKind::Text:
            appendText(bytes, value.toString());
            break;
        case FieldKind::Message:
            throw KVError(KVError::Cause::WrongType, "The topic's type is not a single value.");
    }
    return bytes;
}

}  // namespace bridge

#include "protobuf_message.h"

namespace robot_recording {

namespace {

// The types of fields on the wire.
constexpr std::uint32_t a_varint = 0;
constexpr std::uint32_t a_sized = 2;
constexpr std::uint32_t a_fixed32 = 5;

constexpr std::uint32_t tagOf(std::uint32_t field, std::uint32_t type) {
    return field << 3U | type;
}

}  // namespace

void ProtobufMessage::addInteger(std::uint32_t field, std::uint64_t value) {
    xAddVarint(tagOf(field, a_varint));
    xAddVarint(value);
}

void ProtobufMessage::addFixed32(std::uint32_t field, std::uint32_t value) {
    xAddVarint(tagOf(field, a_fixed32));
    for (unsigned shift = 0; shift < 32; shift += 8) {
        fBytes += static_cast<char>(value >> shift);
    }
}

void ProtobufMessage::addBytes(std::uint32_t field, std::string_view bytes) {
    xAddVarint(tagOf(field, a_sized));
    xAddVarint(bytes.size());
    fBytes += bytes;
}

void ProtobufMessage::xAddVarint(std::uint64_t value) {
    constexpr std::uint64_t more = 0x80;
    while (value >= more) {
        fBytes += static_cast<char>(value | more);
        value >>= 7U;
    }
    fBytes += static_cast<char>(value);
}

}  // namespace robot_recording

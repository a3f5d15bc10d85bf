#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <recorded_robot/json_value.h>
#include <recorded_robot/recorded_value.h>

namespace recorded_robot {

namespace {

/** A longer message is not a robot's. */
constexpr std::size_t a_longestMessage = std::size_t{64} << 20U;

constexpr std::string_view a_valueStart = "{\"value\":";

/** JSON has no NaN and no infinities, so they are recorded as texts. */
KVValue floatOf(const KVValue& value) {
    if (value.type() == KVValue::Type::Int) {
        return value.toFloat();
    }
    if (value.type() == KVValue::Type::String) {
        const std::string& text = value.toString();
        if (text == "NaN") {
            return std::nan("");
        }
        if (text == "Infinity" || text == "-Infinity") {
            return text.front() == '-' ? -INFINITY : INFINITY;
        }
    }
    return value;
}

KVValue binaryOf(const std::string& bytes) {
    KVValue binary;
    binary.SetBinary(bytes.data(), static_cast<int>(bytes.size()));
    return binary;
}

/** Bytes are recorded as {"base64": "..."}. */
KVValue withBytes(const KVValue& value) {
    if (value.type() == KVValue::Type::List) {
        KVValue::List list;
        for (const KVValue& element : value.toList()) {
            list.push_back(withBytes(element));
        }
        return list;
    }
    if (value.type() != KVValue::Type::Map) {
        return value;
    }
    const KVValue::Map& map = value.toMap();
    if (map.size() == 1 && map.begin()->first == "base64" &&
        map.begin()->second.type() == KVValue::Type::String) {
        if (const auto bytes = bytesOfBase64(map.begin()->second.toString())) {
            return binaryOf(*bytes);
        }
    }
    KVValue::Map result;
    for (const auto& [key, element] : map) {
        result[key] = withBytes(element);
    }
    return result;
}

/** Nearly all messages are numbers, which need no parser of JSON. */
std::optional<double> plainFloat(std::string_view message) {
    if (message.substr(0, a_valueStart.size()) != a_valueStart || message.back() != '}') {
        return std::nullopt;
    }
    const char* const begin = message.data() + a_valueStart.size();
    const char* const end = message.data() + message.size() - 1;
    double number = 0;
    const auto [rest, error] = std::from_chars(begin, end, number);
    // JSON has no "nan" and "inf".
    if (error != std::errc() || rest != end || !std::isfinite(number)) {
        return std::nullopt;
    }
    return number;
}

void takeField(const KVValue& value, const std::string& path, const TakeValue& take) {
    if (value.type() != KVValue::Type::Map) {
        take(path, value);
        return;
    }
    for (const auto& [name, element] : value.toMap()) {
        std::string field = path;
        field += '/';
        field += name;
        takeField(element, field, take);
    }
}

}  // namespace

std::optional<KVValue> recordedValue(std::string_view message, std::string_view schema) {
    if (schema == "robaxi.Float") {
        if (const std::optional<double> number = plainFloat(message)) {
            return *number;
        }
    }
    const std::optional<KVValue::Map> map = mapOfMessage(message, a_longestMessage);
    if (!map) {
        return std::nullopt;
    }
    const auto found = map->find("value");
    if (found == map->end()) {
        return std::nullopt;
    }
    if (schema == "robaxi.Float") {
        return floatOf(found->second);
    }
    if (schema == "robaxi.Numbers" && found->second.type() == KVValue::Type::List) {
        KVValue::List numbers;
        for (const KVValue& number : found->second.toList()) {
            numbers.push_back(number.type() == KVValue::Type::Int ? number : floatOf(number));
        }
        return numbers;
    }
    const bool mayHaveBytes =
        schema == "robaxi.Bytes" || schema == "robaxi.List" || schema == "robaxi.Map";
    return mayHaveBytes ? withBytes(found->second) : found->second;
}

void takeGroup(std::string_view message, const TakeValue& take) {
    if (const std::optional<KVValue::Map> map = mapOfMessage(message, a_longestMessage)) {
        for (const auto& [key, value] : *map) {
            if (!key.empty()) {
                take(key, withBytes(value));
            }
        }
    }
}

void takeFields(std::string_view message, const std::string& path, const TakeValue& take) {
    if (const std::optional<KVValue> value = valueOfMessage(message, a_longestMessage)) {
        takeField(*value, path, take);
    }
}

std::optional<RecordedEvent> recordedEvent(std::string_view message) {
    const std::optional<KVValue::Map> map = mapOfMessage(message, a_longestMessage);
    if (!map) {
        return std::nullopt;
    }
    const auto messages = map->find("messages");
    const bool hasCount = messages != map->end() && messages->second.type() == KVValue::Type::Int &&
                          messages->second.toInt() > 0;
    return RecordedEvent{
        textOf(*map, "event"), textOf(*map, "text"),
        hasCount ? static_cast<std::uint64_t>(messages->second.toInt()) : std::uint64_t{0}};
}

std::optional<std::string> bytesOfBase64(std::string_view text) {
    static const auto values = [] {
        constexpr std::string_view alphabet =
            "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
        std::array<int, 256> all{};
        all.fill(-1);
        for (std::size_t i = 0; i < alphabet.size(); ++i) {
            all[static_cast<unsigned char>(alphabet[i])] = static_cast<int>(i);
        }
        return all;
    }();
    constexpr std::size_t group = 4;
    while (!text.empty() && text.back() == '=') {
        text.remove_suffix(1);
    }
    if (text.size() % group == 1) {
        return std::nullopt;
    }
    std::string bytes;
    bytes.reserve(text.size() / group * 3 + 2);
    std::uint32_t bits = 0;
    unsigned count = 0;
    for (const char c : text) {
        const int value = values[static_cast<unsigned char>(c)];
        if (value < 0) {
            return std::nullopt;
        }
        bits = bits << 6U | static_cast<std::uint32_t>(value);
        count += 6;
        if (count >= 8) {
            count -= 8;
            bytes += static_cast<char>(bits >> count);
        }
    }
    return bytes;
}

}  // namespace recorded_robot

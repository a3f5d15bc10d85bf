#include "value_json.h"

#include <base/base64.h>
#include <base/safe_text.h>

#include <array>
#include <charconv>
#include <cmath>

namespace robot_recording {

namespace {

constexpr char a_firstPrinting = ' ';

void appendEscaped(std::string& json, char letter) {
    switch (letter) {
        case '"':
            json += "\\\"";
            return;
        case '\\':
            json += "\\\\";
            return;
        case '\n':
            json += "\\n";
            return;
        case '\r':
            json += "\\r";
            return;
        case '\t':
            json += "\\t";
            return;
        default:
            break;
    }
    constexpr const char* digits = "0123456789abcdef";
    json += "\\u00";
    json += digits[static_cast<unsigned char>(letter) >> 4U];
    json += digits[static_cast<unsigned char>(letter) & 0xFU];
}

/** Appends a number that is read back as a float, with all its digits. */
void appendFloat(std::string& json, double number) {
    if (!std::isfinite(number)) {
        json += std::isnan(number) ? "\"NaN\"" : number > 0 ? "\"Infinity\"" : "\"-Infinity\"";
        return;
    }
    constexpr std::size_t longest = 32;
    std::array<char, longest> digits{};
    char* const end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    const std::string_view text(digits.data(), static_cast<std::size_t>(end - digits.data()));
    json += text;
    if (text.find_first_of(".e") == std::string_view::npos) {
        json += ".0";
    }
}

void appendList(std::string& json, const KVValue::List& list) {
    json += '[';
    const char* separator = "";
    for (const KVValue& element : list) {
        json += separator;
        appendJson(json, element);
        separator = ",";
    }
    json += ']';
}

void appendMap(std::string& json, const KVValue::Map& map) {
    json += '{';
    const char* separator = "";
    for (const auto& [key, element] : map) {
        json += separator;
        appendJsonText(json, key);
        json += ':';
        appendJson(json, element);
        separator = ",";
    }
    json += '}';
}

}  // namespace

void appendJsonText(std::string& json, std::string_view text) {
    json += '"';
    for (const char letter : base::validUtf8(text)) {
        const bool isControl = letter >= 0 && letter < a_firstPrinting;
        if (isControl || letter == '"' || letter == '\\') {
            appendEscaped(json, letter);
        } else {
            json += letter;
        }
    }
    json += '"';
}

void appendJson(std::string& json, const KVValue& value) {
    switch (value.type()) {
        case KVValue::Type::Bool:
            json += value.toBool() ? "true" : "false";
            return;
        case KVValue::Type::Int:
            json += std::to_string(value.toInt());
            return;
        case KVValue::Type::Float:
            appendFloat(json, value.toFloat());
            return;
        case KVValue::Type::String:
            appendJsonText(json, value.toString());
            return;
        case KVValue::Type::Binary:
            json += R"({"base64":")";
            json += base::base64({static_cast<const char*>(value.GetBinary()),
                                  static_cast<std::size_t>(value.getSize())});
            json += "\"}";
            return;
        case KVValue::Type::List:
            appendList(json, value.toList());
            return;
        case KVValue::Type::Map:
            appendMap(json, value.toMap());
            return;
        case KVValue::Type::Nothing:
            break;
    }
    json += "null";
}

}  // namespace robot_recording

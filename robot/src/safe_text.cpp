#include "safe_text.h"

#include <array>
#include <cstdint>
#include <cstdio>

namespace robot {

namespace {

constexpr std::uint32_t a_noCharacter = 0xffffffff;

struct Character {
    std::uint32_t fCode;  // a_noCharacter for a byte that is not UTF-8
    std::size_t fLength;  // bytes
};

std::uint32_t byteAt(const std::string& text, std::size_t position) {
    return static_cast<unsigned char>(text[position]);
}

std::size_t sequenceLength(std::uint32_t first) {
    if (first < 0x80) {
        return 1;
    }
    if (first >= 0xc2 && first <= 0xdf) {
        return 2;
    }
    if (first >= 0xe0 && first <= 0xef) {
        return 3;
    }
    return first >= 0xf0 && first <= 0xf4 ? 4 : 0;
}

Character characterAt(const std::string& text, std::size_t position) {
    constexpr std::array<std::uint32_t, 5> firstBits{0, 0x7f, 0x1f, 0x0f, 0x07};
    constexpr std::array<std::uint32_t, 5> lowestCode{0, 0, 0x80, 0x800, 0x10000};
    const std::uint32_t first = byteAt(text, position);
    const std::size_t length = sequenceLength(first);
    if (length == 0 || position + length > text.size()) {
        return {a_noCharacter, 1};
    }
    std::uint32_t code = first & firstBits[length];
    for (std::size_t i = 1; i < length; ++i) {
        const std::uint32_t next = byteAt(text, position + i);
        if ((next & 0xc0U) != 0x80) {
            return {a_noCharacter, 1};
        }
        code = (code << 6U) | (next & 0x3fU);
    }
    const bool surrogate = code >= 0xd800 && code <= 0xdfff;
    if (code < lowestCode[length] || code > 0x10ffff || surrogate) {
        return {a_noCharacter, 1};
    }
    return {code, length};
}

/**
 * Copies a text, with bad bytes replaced. `substitute` is asked for each character and gives what
 * to write in its place, or an empty text to keep it.
 */
template <class Substitute>
std::string rewritten(const std::string& text, Substitute substitute) {
    std::string result;
    result.reserve(text.size());
    for (std::size_t position = 0; position < text.size();) {
        const Character character = characterAt(text, position);
        const std::string other =
            character.fCode == a_noCharacter ? "\xef\xbf\xbd" : substitute(character.fCode);
        if (other.empty()) {
            result.append(text, position, character.fLength);
        } else {
            result += other;
        }
        position += character.fLength;
    }
    return result;
}

/** Control characters, and those that turn the direction or break the line of a text. */
bool isControl(std::uint32_t code) {
    return code < 0x20 || (code >= 0x7f && code < 0xa0) || code == 0x061c ||
           (code >= 0x200e && code <= 0x200f) || (code >= 0x2028 && code <= 0x202e) ||
           (code >= 0x2066 && code <= 0x2069);
}

std::string escapedCode(std::uint32_t code) {
    if (code == '\n') {
        return "\\n";
    }
    if (code == '\t') {
        return "\\t";
    }
    std::array<char, 12> buffer{};
    std::snprintf(buffer.data(), buffer.size(), "\\u%04x", code);
    return buffer.data();
}

}  // namespace

bool isUtf8(const std::string& text) {
    return validUtf8(text) == text;
}

std::string validUtf8(const std::string& text) {
    return rewritten(text, [](std::uint32_t) { return std::string(); });
}

std::string shortened(const std::string& text, std::size_t bytes) {
    const bool fits = text.size() <= bytes;
    return fits ? validUtf8(text) : validUtf8(text.substr(0, bytes)) + "…";
}

std::string oneLine(const std::string& text) {
    return rewritten(text, [](std::uint32_t code) {
        return isControl(code) ? escapedCode(code) : std::string();
    });
}

std::string htmlEscaped(const std::string& text) {
    return rewritten(text, [](std::uint32_t code) -> std::string {
        switch (code) {
            case '&':
                return "&amp;";
            case '<':
                return "&lt;";
            case '>':
                return "&gt;";
            case '"':
                return "&quot;";
            case '\'':
                return "&#39;";
            case 0:
                return "\xef\xbf\xbd";
            default:
                return {};
        }
    });
}

std::string jsonQuoted(const std::string& text) {
    const std::string body = rewritten(text, [](std::uint32_t code) -> std::string {
        if (code == '"' || code == '\\') {
            return {'\\', static_cast<char>(code)};
        }
        // "</script>" and "<!--" would end the element around it.
        return isControl(code) || code == '<' ? escapedCode(code) : std::string();
    });
    return '"' + body + '"';
}

}  // namespace robot

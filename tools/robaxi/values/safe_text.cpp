#include "values/safe_text.h"

#include <boost/locale/utf.hpp>

#include <array>
#include <cstdint>
#include <cstdio>

namespace robaxi_tool {

namespace {

namespace utf = boost::locale::utf;

constexpr const char* a_replacement = "\xef\xbf\xbd";

struct Range {
    std::uint32_t fFirst;
    std::uint32_t fLast;
};

/** C0 and C1 controls, line and paragraph separators, marks and overrides of direction. */
constexpr std::array<Range, 6> a_unsafe{{{0x00, 0x1f},
                                         {0x7f, 0x9f},
                                         {0x061c, 0x061c},
                                         {0x200e, 0x200f},
                                         {0x2028, 0x202e},
                                         {0x2066, 0x2069}}};

bool isUnsafe(utf::code_point character) {
    for (const Range& range : a_unsafe) {
        if (character >= range.fFirst && character <= range.fLast) {
            return true;
        }
    }
    return false;
}

std::string escaped(utf::code_point character) {
    if (character == '\n') {
        return "\\n";
    }
    if (character == '\t') {
        return "\\t";
    }
    std::array<char, 12> buffer{};
    std::snprintf(buffer.data(), buffer.size(), "\\u%04x", static_cast<unsigned>(character));
    return buffer.data();
}

bool isCharacter(utf::code_point decoded) {
    return decoded != utf::illegal && decoded != utf::incomplete;
}

}  // namespace

std::string oneLine(const std::string& text) {
    std::string line;
    line.reserve(text.size());
    for (auto position = text.begin(); position != text.end();) {
        const auto start = position;
        const utf::code_point character = utf::utf_traits<char>::decode(position, text.end());
        if (!isCharacter(character)) {
            // Only the first byte is given up: what follows may be a good character.
            line += a_replacement;
            position = start + 1;
        } else if (isUnsafe(character)) {
            line += escaped(character);
        } else {
            line.append(start, position);
        }
    }
    return line;
}

bool isUtf8(const std::string& text) {
    for (auto position = text.begin(); position != text.end();) {
        if (!isCharacter(utf::utf_traits<char>::decode(position, text.end()))) {
            return false;
        }
    }
    return true;
}

}  // namespace robaxi_tool

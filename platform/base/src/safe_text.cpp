#include <base/safe_text.h>

#include <boost/locale/utf.hpp>

#include <algorithm>
#include <array>
#include <cstdio>

namespace base {

namespace {

namespace utf = boost::locale::utf;

struct Range {
    char32_t fFirst;
    char32_t fLast;
};

/** Unicode's categories Cc, Cf, Zl and Zp without the joiners U+200C and U+200D and without the
 *  signs of category Cf that are visible. In ascending order. */
constexpr std::array<Range, 17> a_unsafe{{
    {0x00, 0x1f},
    {0x7f, 0x9f},
    {0xad, 0xad},
    {0x61c, 0x61c},
    {0x180e, 0x180e},
    {0x200b, 0x200b},
    {0x200e, 0x200f},
    {0x2028, 0x202e},
    {0x2060, 0x2064},
    {0x2066, 0x206f},
    {0xfeff, 0xfeff},
    {0xfff9, 0xfffb},
    {0x13430, 0x13438},
    {0x1bca0, 0x1bca3},
    {0x1d173, 0x1d17a},
    {0xe0001, 0xe0001},
    {0xe0020, 0xe007f},
}};

constexpr char32_t a_replacementCode = 0xfffd;
constexpr std::size_t a_maxFileNamePart = 80;  // bytes

std::string hexadecimal(char32_t code, int fewestDigits) {
    std::array<char, 16> buffer{};
    std::snprintf(buffer.data(), buffer.size(), "%0*x", fewestDigits, static_cast<unsigned>(code));
    return buffer.data();
}

std::string reversiblyEscaped(char32_t code) {
    constexpr char32_t firstOfThreeDigits = 0x100;
    switch (code) {
        case '\n':
            return "\\n";
        case '\r':
            return "\\r";
        case '\t':
            return "\\t";
        default:
            return code < firstOfThreeDigits ? "\\x" + hexadecimal(code, 2)
                                             : "\\u{" + hexadecimal(code, 1) + '}';
    }
}

bool isContinuation(char byte) {
    return utf::utf_traits<char>::is_trail(byte);
}

}  // namespace

Character takeCharacter(std::string_view& text) {
    const char* position = text.data();
    const auto code = utf::utf_traits<char>::decode(position, text.data() + text.size());
    const bool isValid = code != utf::illegal && code != utf::incomplete;
    // Only the first byte of a bad sequence is replaced: what follows may be a good character.
    const std::size_t size = isValid ? static_cast<std::size_t>(position - text.data()) : 1;
    const std::string_view bytes = isValid ? text.substr(0, size) : a_replacement;
    text.remove_prefix(size);
    return {isValid ? code : a_replacementCode, bytes};
}

bool isUnsafe(char32_t code) {
    const auto* const range = std::find_if(
        a_unsafe.begin(), a_unsafe.end(), [code](const Range& each) { return code <= each.fLast; });
    return range != a_unsafe.end() && code >= range->fFirst;
}

std::string escaped(char32_t code) {
    constexpr char32_t firstOfPairs = 0x10000;
    if (code == '\n') {
        return "\\n";
    }
    if (code == '\t') {
        return "\\t";
    }
    if (code < firstOfPairs) {
        return "\\u" + hexadecimal(code, 4);
    }
    const char32_t beyond = code - firstOfPairs;
    return "\\u" + hexadecimal(0xd800 + (beyond >> 10U), 4) + "\\u" +
           hexadecimal(0xdc00 + (beyond & 0x3ffU), 4);
}

bool isUtf8(std::string_view text) {
    return validUtf8(text) == text;
}

std::string validUtf8(std::string_view text) {
    return rewritten(text, [](char32_t) { return std::string(); });
}

std::string_view beginning(std::string_view text, std::size_t bytes) {
    constexpr std::size_t mostContinuations = 3;
    if (text.size() <= bytes) {
        return text;
    }
    std::size_t end = bytes;
    while (end > 0 && bytes - end < mostContinuations && isContinuation(text[end])) {
        --end;
    }
    // With more of them it is not UTF-8 anyway.
    return text.substr(0, isContinuation(text[end]) ? bytes : end);
}

std::string shortened(std::string_view text, std::size_t bytes) {
    return validUtf8(beginning(text, bytes)) + (text.size() > bytes ? "…" : "");
}

std::string oneLine(std::string_view text) {
    return rewritten(text,
                     [](char32_t code) { return isUnsafe(code) ? escaped(code) : std::string(); });
}

std::string fileNamePart(std::string_view text, bool (*isLetter)(char32_t)) {
    std::string part;
    while (!text.empty()) {
        const Character character = takeCharacter(text);
        const char32_t code = character.fCode;
        const bool isInner = !part.empty() && (code == '.' || code == '-');
        const std::string_view next = isInner || isLetter(code) ? character.fBytes : "_";
        if (part.size() + next.size() > a_maxFileNamePart) {
            break;
        }
        part += next;
    }
    return part;
}

std::string reversibleLine(std::string_view text, Quotes quotes) {
    return rewritten(text, [quotes](char32_t code) -> std::string {
        if (code == '\\' || (code == '"' && quotes == Quotes::Double)) {
            return {'\\', static_cast<char>(code)};
        }
        return isUnsafe(code) ? reversiblyEscaped(code) : std::string();
    });
}

}  // namespace base

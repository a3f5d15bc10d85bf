#ifndef BASE_SAFE_TEXT_H
#define BASE_SAFE_TEXT_H

#include <cstddef>
#include <string>
#include <string_view>

/**
 * Untrusted texts from a robot, the network or a file. They may contain bytes that are not UTF-8,
 * and characters that hide a part of a text, forge a second line or control a terminal.
 */
namespace base {

/** U+FFFD, which replaces each byte that is not part of valid UTF-8. */
constexpr std::string_view a_replacement = "\xEF\xBF\xBD";

struct Character {
    char32_t fCode;
    std::string_view fBytes;  ///< in UTF-8
};

/** Removes the first character from a text that is not empty. A byte that is not part of valid
 *  UTF-8 counts as the character U+FFFD. */
Character takeCharacter(std::string_view& text);

/** Returns true for control characters, line and paragraph separators, and format characters that
 *  are invisible or change the direction of a text. The two joiners, which are part of ordinary
 *  words and emoji, are safe. */
bool isUnsafe(char32_t code);

/** Returns a character as JSON escapes it: "\n", "\t", "\u001b", or "\udb40\udc41" for U+E0041. */
std::string escaped(char32_t code);

/**
 * Returns valid UTF-8 in which some characters are substituted.
 *
 * @param substitute called with the code of each character; returns the text in its place, or an
 *        empty one to keep the character
 */
template <class Substitute>
std::string rewritten(std::string_view text, Substitute substitute) {
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        const Character character = takeCharacter(text);
        const std::string other = substitute(character.fCode);
        result += other.empty() ? character.fBytes : std::string_view(other);
    }
    return result;
}

/** Returns true if the text has no surrogates, over-long forms and incomplete sequences. */
bool isUtf8(std::string_view text);

std::string validUtf8(std::string_view text);

/** Returns the longest prefix of at most that many bytes that ends with a whole character. */
std::string_view beginning(std::string_view text, std::size_t bytes);

/**
 * Returns valid UTF-8 of at most that many bytes of the text, followed by "…" if that is not all.
 */
std::string shortened(std::string_view text, std::size_t bytes);

/** Returns one line for a terminal or a log: valid UTF-8 with unsafe characters escaped(). */
std::string oneLine(std::string_view text);

/**
 * Returns a part of a file name, valid in every file system: the text with '_' in place of each
 * character that is not a letter or digit, or '.' or '-' behind the first; at most 80 bytes, since
 * a file name can have 255. Empty for an empty text.
 *
 * @param isLetter returns true for the codes of the letters and digits to keep
 */
std::string fileNamePart(std::string_view text, bool (*isLetter)(char32_t));

enum class Quotes { None, Double };

/**
 * Returns one line from which the text can be restored: valid UTF-8 with unsafe characters written
 * as "\n", "\r", "\t", "\x1b" or "\u{202e}", and a backslash before each backslash and, with
 * Quotes::Double, before each quotation mark.
 */
std::string reversibleLine(std::string_view text, Quotes quotes = Quotes::None);

}  // namespace base

#endif

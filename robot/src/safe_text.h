#ifndef OBVISTA_ROBOT_SAFE_TEXT_H
#define OBVISTA_ROBOT_SAFE_TEXT_H

#include <string>

namespace robot {

/** Whether a text is valid UTF-8, without surrogates and over-long forms. */
bool isUtf8(const std::string& text);

/** The text with every byte that is not part of valid UTF-8 replaced by U+FFFD. */
std::string validUtf8(const std::string& text);

/** Valid UTF-8 of at most so many bytes of the text, with "…" after it when that is not all. */
std::string shortened(const std::string& text, std::size_t bytes);

/**
 * The text as one line for a terminal or log: valid UTF-8 without control characters, which are
 * written as "\n", "\t" or "\u001b", so that it cannot move the cursor or forge a second line.
 */
std::string oneLine(const std::string& text);

/** The text for HTML, between tags or within quotes: valid UTF-8 without markup. */
std::string htmlEscaped(const std::string& text);

/** The text as a JSON string, with its quotes; safe within a script element too. */
std::string jsonQuoted(const std::string& text);

}  // namespace robot

#endif

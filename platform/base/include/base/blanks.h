#ifndef BASE_BLANKS_H
#define BASE_BLANKS_H

#include <algorithm>
#include <string_view>

namespace base {

/** The white space of ASCII, whatever the locale. */
constexpr std::string_view a_blanks = " \t\n\v\f\r";

/** Returns the text without the blanks at its ends. */
constexpr std::string_view trimmed(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(a_blanks), text.size()));
    return text.substr(0, text.find_last_not_of(a_blanks) + 1);
}

}  // namespace base

#endif

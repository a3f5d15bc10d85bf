#ifndef OBVISTA_ROBOT_WEB_WEB_TEXT_H
#define OBVISTA_ROBOT_WEB_WEB_TEXT_H

#include <string>

namespace robot {

/** Returns the text for HTML, between tags or within quotes: valid UTF-8 without markup. */
std::string htmlEscaped(const std::string& text);

/** Returns the text as a JSON string in quotes, which is safe within a script element, too. */
std::string jsonQuoted(const std::string& text);

}  // namespace robot

#endif

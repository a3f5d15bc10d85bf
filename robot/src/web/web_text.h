#ifndef OBVISTA_ROBOT_WEB_WEB_TEXT_H
#define OBVISTA_ROBOT_WEB_WEB_TEXT_H

#include <string>

namespace robot {

/** The text for HTML, between tags or within quotes: valid UTF-8 without markup. */
std::string htmlEscaped(const std::string& text);

/** The text as a JSON string, with its quotes; safe within a script element too. */
std::string jsonQuoted(const std::string& text);

}  // namespace robot

#endif

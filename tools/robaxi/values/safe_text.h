#ifndef OBVISTA_TOOLS_ROBAXI_VALUES_SAFE_TEXT_H
#define OBVISTA_TOOLS_ROBAXI_VALUES_SAFE_TEXT_H

#include <string>

namespace robaxi_tool {

/**
 * A text from the network as one line for a terminal: valid UTF-8 in which control characters, and
 * those that turn the direction of a text, are written as "\n", "\t" or "\u001b". It cannot move
 * the cursor, forge a second line or hide what follows it.
 */
std::string oneLine(const std::string& text);

bool isUtf8(const std::string& text);

}  // namespace robaxi_tool

#endif

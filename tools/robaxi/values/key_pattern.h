#ifndef OBVISTA_TOOLS_ROBAXI_VALUES_KEY_PATTERN_H
#define OBVISTA_TOOLS_ROBAXI_VALUES_KEY_PATTERN_H

#include <string>

namespace robaxi_tool {

/** What --help says of them, in whole lines. */
constexpr const char* a_keyHelp =
    "A KEY may hold '*' (any text, '/' included), '?' and '[...]'; put it in quotes then.\n";

/** Whether the text holds one of "*", "?" and "[", and so stands for many keys. */
bool isPattern(const std::string& text);

/** Whether a key is meant by a pattern or a whole key; "*" stands for "/" too. */
bool matchesKey(const std::string& pattern, const std::string& key);

}  // namespace robaxi_tool

#endif

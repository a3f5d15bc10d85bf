#ifndef OBVISTA_TOOLS_ROBAXI_VALUES_KEY_PATTERN_H
#define OBVISTA_TOOLS_ROBAXI_VALUES_KEY_PATTERN_H

#include <string>
#include <vector>

namespace robaxi_tool {

/** The help's description of keys, in whole lines. */
constexpr const char* a_keyHelp =
    "A KEY may contain '*' (any text, including '/'), '?' and '[...]'; quote it then.\n";

/** Returns true if the text contains "*", "?" or "[", and can match many keys. */
bool isPattern(const std::string& text);

/** Returns true if a pattern or a whole key matches; "*" also matches "/". */
bool matchesKey(const std::string& pattern, const std::string& key);

/** Returns the sentence for patterns and keys that match no key of the robot. */
std::string noKeyMatches(const std::vector<std::string>& patterns);

}  // namespace robaxi_tool

#endif

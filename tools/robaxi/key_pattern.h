#ifndef OBVISTA_TOOLS_ROBAXI_KEY_PATTERN_H
#define OBVISTA_TOOLS_ROBAXI_KEY_PATTERN_H

#include <string>

namespace robaxi_tool {

/** Whether the text holds one of "*", "?" and "[", and so stands for many keys. */
bool isPattern(const std::string& text);

/** Whether a key is meant by a pattern or a whole key; "*" stands for "/" too. */
bool matchesKey(const std::string& pattern, const std::string& key);

}  // namespace robaxi_tool

#endif

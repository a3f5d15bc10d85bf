#include "values/key_pattern.h"

#include <fnmatch.h>

namespace robaxi_tool {

bool isPattern(const std::string& text) {
    return text.find_first_of("*?[") != std::string::npos;
}

bool matchesKey(const std::string& pattern, const std::string& key) {
    // A key may contain a bracket.
    return pattern == key ||
           (isPattern(pattern) && fnmatch(pattern.c_str(), key.c_str(), FNM_NOESCAPE) == 0);
}

}  // namespace robaxi_tool

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

std::string noKeyMatches(const std::vector<std::string>& patterns) {
    std::string list;
    for (const std::string& pattern : patterns) {
        list += (list.empty() ? "'" : ", '") + pattern + '\'';
    }
    return "No key matches " + list + '.';
}

}  // namespace robaxi_tool

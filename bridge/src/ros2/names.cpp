#include "ros2/names.h"

#include <cstddef>

namespace bridge {

namespace {

constexpr std::string_view a_topicPrefix = "rt/";
constexpr std::string_view a_namespace = "::dds_::";
constexpr std::string_view a_separator = "::";

}  // namespace

std::string rosTopic(std::string_view ddsTopic) {
    return ddsTopic.substr(0, a_topicPrefix.size()) == a_topicPrefix
               ? std::string(ddsTopic.substr(a_topicPrefix.size() - 1))
               : std::string();
}

std::string ddsTopic(std::string_view rosTopic) {
    return "rt" + std::string(rosTopic);
}

std::string rosType(std::string_view ddsType) {
    const std::size_t middle = ddsType.find(a_namespace);
    if (middle == std::string_view::npos || ddsType.back() != '_') {
        return std::string(ddsType);
    }
    std::string result(ddsType.substr(0, middle));
    for (std::size_t at = result.find(a_separator); at != std::string::npos;
         at = result.find(a_separator)) {
        result.replace(at, a_separator.size(), "/");
    }
    const std::string_view name = ddsType.substr(middle + a_namespace.size());
    return result + '/' + std::string(name.substr(0, name.size() - 1));
}

std::string ddsType(std::string_view rosType) {
    const std::size_t slash = rosType.rfind('/');
    if (slash == std::string_view::npos) {
        return std::string(rosType);
    }
    std::string result(rosType.substr(0, slash));
    for (std::size_t at = result.find('/'); at != std::string::npos; at = result.find('/')) {
        result.replace(at, 1, a_separator);
    }
    return result + std::string(a_namespace) + std::string(rosType.substr(slash + 1)) + '_';
}

std::string folderOf(const std::string& topic) {
    return topic.substr(0, topic.rfind('/') + 1);
}

bool matches(std::string_view pattern, std::string_view topic) {
    // Back to behind the last star, one character further, where the rest does not match.
    std::size_t p = 0;
    std::size_t t = 0;
    std::size_t star = std::string_view::npos;
    std::size_t behind = 0;
    while (t < topic.size()) {
        if (p < pattern.size() && pattern[p] == '*') {
            star = p++;
            behind = t;
        } else if (p < pattern.size() && pattern[p] == topic[t]) {
            ++p;
            ++t;
        } else if (star != std::string_view::npos) {
            p = star + 1;
            t = ++behind;
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == '*') {
        ++p;
    }
    return p == pattern.size();
}

}  // namespace bridge

#include "session/memory_key.h"

#include <algorithm>
#include <utility>

namespace memoryviewer {

namespace {

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

char lowerCase(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/** Returns a run of digits without leading zeros; moves `at` after it. */
std::pair<std::size_t, std::size_t> takeNumber(const std::string& text, std::size_t& at) {
    while (at < text.size() && text[at] == '0') {
        ++at;
    }
    const std::size_t begin = at;
    while (at < text.size() && isDigit(text[at])) {
        ++at;
    }
    return {begin, at - begin};
}

/**
 * Returns a number below, at or above 0 according to the order of the two numbers at the positions.
 */
int compareNumbers(const std::string& left, std::size_t& leftAt, const std::string& right,
                   std::size_t& rightAt) {
    const auto [leftBegin, leftSize] = takeNumber(left, leftAt);
    const auto [rightBegin, rightSize] = takeNumber(right, rightAt);
    if (leftSize != rightSize) {
        return leftSize < rightSize ? -1 : 1;
    }
    return left.compare(leftBegin, leftSize, right, rightBegin, rightSize);
}

int compareCharacters(char left, char right) {
    return static_cast<unsigned char>(lowerCase(left)) -
           static_cast<unsigned char>(lowerCase(right));
}

}  // namespace

std::vector<std::string> splitPath(const std::string& name) {
    std::vector<std::string> path;
    std::size_t begin = 0;
    while (path.size() + 1 < a_maxDepth) {
        const std::size_t end = name.find('/', begin);
        if (end == std::string::npos) {
            break;
        }
        path.push_back(name.substr(begin, end - begin));
        begin = end + 1;
    }
    path.push_back(name.substr(begin));
    return path;
}

bool naturalLess(const std::string& left, const std::string& right) {
    std::size_t leftAt = 0;
    std::size_t rightAt = 0;
    while (leftAt < left.size() && rightAt < right.size()) {
        const bool areNumbers = isDigit(left[leftAt]) && isDigit(right[rightAt]);
        const int order = areNumbers ? compareNumbers(left, leftAt, right, rightAt)
                                     : compareCharacters(left[leftAt++], right[rightAt++]);
        if (order != 0) {
            return order < 0;
        }
    }
    const std::size_t leftRest = left.size() - leftAt;
    const std::size_t rightRest = right.size() - rightAt;
    return leftRest != rightRest ? leftRest < rightRest : left < right;
}

bool pathLess(const std::vector<std::string>& left, const std::vector<std::string>& right) {
    // Most paths begin with the same parts, which need not be read character by character.
    const auto [leftPart, rightPart] =
        std::mismatch(left.begin(), left.end(), right.begin(), right.end());
    if (leftPart == left.end() || rightPart == right.end()) {
        return rightPart != right.end();
    }
    return naturalLess(*leftPart, *rightPart);
}

}  // namespace memoryviewer

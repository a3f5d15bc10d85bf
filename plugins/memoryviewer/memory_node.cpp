#include "memory_node.h"

#include "value_text.h"

#include <QCoreApplication>

#include <algorithm>
#include <cassert>
#include <iterator>
#include <utility>

namespace memoryviewer {

namespace {

using Path = std::vector<std::string>;

Path splitPath(const std::string& name) {
    Path path;
    std::size_t begin = 0;
    while (path.size() + 1 < MemoryNode::a_maxDepth) {
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

bool pathLess(const Path& left, const Path& right) {
    return std::lexicographical_compare(left.begin(), left.end(), right.begin(), right.end(),
                                        naturalLess);
}

QString shownName(const std::string& segment) {
    return segment.empty() ? QCoreApplication::translate("MemoryModel", "(no name)")
                           : plainText(segment, MemoryNode::a_maxNameLength);
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

char lowerCase(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/** A run of digits without its leading zeros; moves `at` behind it. */
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

/** Below, at or above 0 like the order of the two numbers that begin at the positions. */
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

MemoryNode::MemoryNode(std::string segment)
    : fSegment(std::move(segment)), fName(shownName(fSegment)) {
}

std::unique_ptr<MemoryNode> MemoryNode::buildTree(const std::vector<KVKeyInfo>& keys) {
    std::vector<std::pair<Path, const KVKeyInfo*>> sorted;
    sorted.reserve(keys.size());
    for (const KVKeyInfo& key : keys) {
        sorted.emplace_back(splitPath(key.fName), &key);
    }
    std::stable_sort(sorted.begin(), sorted.end(), [](const auto& left, const auto& right) {
        return pathLess(left.first, right.first);
    });
    auto root = std::make_unique<MemoryNode>(std::string());
    for (const auto& [path, key] : sorted) {
        MemoryNode* node = root.get();
        for (const std::string& segment : path) {
            node = &node->xDescend(segment, &segment == &path.back());
        }
        node->fKey.emplace();
        node->fKey->fInfo = *key;
    }
    return root;
}

MemoryNode* MemoryNode::mergeableChild(const MemoryNode& other) const {
    for (std::size_t row = insertRow(other.fSegment); row > 0; --row) {
        MemoryNode& candidate = *fChildren[row - 1];
        if (candidate.fSegment != other.fSegment) {
            return nullptr;
        }
        if (!candidate.fKey || !other.fKey) {
            return &candidate;
        }
    }
    return nullptr;
}

std::size_t MemoryNode::insertRow(const std::string& segment) const {
    const auto after =
        std::upper_bound(fChildren.begin(), fChildren.end(), segment,
                         [](const std::string& wanted, const std::unique_ptr<MemoryNode>& child) {
                             return naturalLess(wanted, child->fSegment);
                         });
    return static_cast<std::size_t>(std::distance(fChildren.begin(), after));
}

void MemoryNode::takeChildren(std::size_t row, MemoryNode& source, std::size_t first,
                              std::size_t last) {
    const auto sourceAt = [&source](std::size_t at) {
        return source.fChildren.begin() + static_cast<std::ptrdiff_t>(at);
    };
    fChildren.insert(fChildren.begin() + static_cast<std::ptrdiff_t>(row),
                     std::make_move_iterator(sourceAt(first)),
                     std::make_move_iterator(sourceAt(last)));
    source.fChildren.erase(sourceAt(first), sourceAt(last));
    for (std::size_t at = row; at < row + (last - first); ++at) {
        fChildren[at]->fParent = this;
    }
    xRenumber(row);
}

void MemoryNode::removeChildren(std::size_t first, std::size_t last) {
    fChildren.erase(fChildren.begin() + static_cast<std::ptrdiff_t>(first),
                    fChildren.begin() + static_cast<std::ptrdiff_t>(last));
    xRenumber(first);
}

/** The child for the next segment of a path; the paths come sorted, so it is the last or new. */
MemoryNode& MemoryNode::xDescend(const std::string& segment, bool isLast) {
    MemoryNode* last = fChildren.empty() ? nullptr : fChildren.back().get();
    if (last != nullptr && last->fSegment == segment && !(isLast && last->fKey)) {
        return *last;
    }
    assert(last == nullptr || !naturalLess(segment, last->fSegment));
    fChildren.push_back(std::make_unique<MemoryNode>(segment));
    fChildren.back()->fParent = this;
    fChildren.back()->fRow = fChildren.size() - 1;
    return *fChildren.back();
}

void MemoryNode::xRenumber(std::size_t first) {
    for (std::size_t row = first; row < fChildren.size(); ++row) {
        fChildren[row]->fRow = row;
    }
}

}  // namespace memoryviewer

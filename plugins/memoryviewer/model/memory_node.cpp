#include "model/memory_node.h"

#include <obvista/viewer/value_text.h>

#include <QCoreApplication>

#include <algorithm>
#include <cassert>
#include <iterator>
#include <utility>

namespace memoryviewer {

namespace {

QString shownName(const std::string& segment) {
    return segment.empty() ? QCoreApplication::translate("MemoryModel", "(no name)")
                           : obvista::plainText(segment, MemoryNode::a_maxNameLength);
}

}  // namespace

MemoryNode::MemoryNode(std::string segment) : fSegment(std::move(segment)) {
}

const QString& MemoryNode::name() const {
    if (fName.isNull()) {
        fName = shownName(fSegment);
    }
    return fName;
}

std::unique_ptr<MemoryNode> MemoryNode::buildTree(const Keys& keys) {
    auto root = std::make_unique<MemoryNode>(std::string());
    for (const MemoryKey* key : keys) {
        MemoryNode* node = root.get();
        for (const std::string& segment : key->fPath) {
            node = &node->xDescend(segment, &segment == &key->fPath.back());
        }
        node->fKey = key;
    }
    return root;
}

std::unique_ptr<MemoryNode> MemoryNode::buildList(const Keys& keys) {
    auto root = std::make_unique<MemoryNode>(std::string());
    root->fChildren.reserve(keys.size());
    for (const MemoryKey* key : keys) {
        root->xAppend(key->fInfo.fName).fKey = key;
    }
    return root;
}

const MemoryNode* MemoryNode::findChild(const std::string& segment) const {
    const auto found = std::find_if(fChildren.begin(), fChildren.end(),
                                    [&](const auto& child) { return child->fSegment == segment; });
    return found == fChildren.end() ? nullptr : found->get();
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

/**
 * Returns the child for the next segment of a path. Paths are sorted, so it is the last child or a
 * new one.
 */
MemoryNode& MemoryNode::xDescend(const std::string& segment, bool isLast) {
    MemoryNode* last = fChildren.empty() ? nullptr : fChildren.back().get();
    if (last != nullptr && last->fSegment == segment && !(isLast && last->fKey)) {
        return *last;
    }
    assert(last == nullptr || !naturalLess(segment, last->fSegment));
    return xAppend(segment);
}

MemoryNode& MemoryNode::xAppend(const std::string& segment) {
    fChildren.push_back(std::make_unique<MemoryNode>(segment));
    fChildren.back()->fParent = this;
    fChildren.back()->fRow = fChildren.size() - 1;
    return *fChildren.back();
}

void MemoryNode::sort(const Less& less) {
    std::stable_sort(fChildren.begin(), fChildren.end(),
                     [&less](const auto& left, const auto& right) { return less(*left, *right); });
    xRenumber(0);
    for (const auto& child : fChildren) {
        child->sort(less);
    }
}

void MemoryNode::xRenumber(std::size_t first) {
    for (std::size_t row = first; row < fChildren.size(); ++row) {
        fChildren[row]->fRow = row;
    }
}

}  // namespace memoryviewer

#ifndef OBVISTA_MEMORYVIEWER_MEMORY_NODE_H
#define OBVISTA_MEMORYVIEWER_MEMORY_NODE_H

#include "session/memory_key.h"

#include <QString>

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace memoryviewer {

/**
 * One row of the tree: a branch, a key, or both ("A" beside "A/B").
 *
 * The children of a tree are made in natural order of their names, so that one is found by
 * bisection unless sort() was called. A robot that announces one name twice gets two rows of that
 * name.
 */
class MemoryNode {
  public:
    static constexpr int a_maxNameLength = 200;

    using Keys = std::vector<const MemoryKey*>;
    using Less = std::function<bool(const MemoryNode& left, const MemoryNode& right)>;

    explicit MemoryNode(std::string segment);
    MemoryNode(const MemoryNode&) = delete;
    MemoryNode& operator=(const MemoryNode&) = delete;

    /** A root over keys, sorted by their paths, that belongs to no model yet. */
    static std::unique_ptr<MemoryNode> buildTree(const Keys& keys);
    /** The same with every key a child of the root, by its whole name. */
    static std::unique_ptr<MemoryNode> buildList(const Keys& keys);

    const std::string& segment() const { return fSegment; }
    /** The segment as it is shown. */
    const QString& name() const;
    MemoryNode* parent() const { return fParent; }
    int row() const { return static_cast<int>(fRow); }
    int childCount() const { return static_cast<int>(fChildren.size()); }
    MemoryNode& child(std::size_t row) const { return *fChildren[row]; }

    /** The first child of that name, or null. Looks at all of them. */
    const MemoryNode* findChild(const std::string& segment) const;
    /** The child into which `other` can be merged: of the same name, and not both a key. */
    MemoryNode* mergeableChild(const MemoryNode& other) const;
    /** Row at which a further child of that name belongs. */
    std::size_t insertRow(const std::string& segment) const;
    /** Moves the children [first, last) of `source`, a tree being taken apart, here to `row`. */
    void takeChildren(std::size_t row, MemoryNode& source, std::size_t first, std::size_t last);
    void removeChildren(std::size_t first, std::size_t last);
    /** Brings all that is below into another order; equals stay as they are. */
    void sort(const Less& less);

    const MemoryKey* fKey = nullptr;

  private:
    MemoryNode& xDescend(const std::string& segment, bool isLast);
    MemoryNode& xAppend(const std::string& segment);
    void xRenumber(std::size_t first);

    std::string fSegment;
    mutable QString fName;  // made when a row is first shown
    MemoryNode* fParent = nullptr;
    std::size_t fRow = 0;
    std::vector<std::unique_ptr<MemoryNode>> fChildren;
};

}  // namespace memoryviewer

#endif

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
 * A row of the tree: a branch, a key, or both ("A" beside "A/B").
 *
 * The children of a tree are created in natural order of their names, so that a child is found by
 * bisection unless sort() was called. A robot that announces one name twice gets two rows with that
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

    /** Returns a root with keys, sorted by their paths, that does not belong to a model yet. */
    static std::unique_ptr<MemoryNode> buildTree(const Keys& keys);
    /** Returns a root with every key as a child, by its full name. */
    static std::unique_ptr<MemoryNode> buildList(const Keys& keys);

    const std::string& segment() const { return fSegment; }
    /** Returns the segment as displayed. */
    const QString& name() const;
    MemoryNode* parent() const { return fParent; }
    int row() const { return static_cast<int>(fRow); }
    int childCount() const { return static_cast<int>(fChildren.size()); }
    MemoryNode& child(std::size_t row) const { return *fChildren[row]; }

    /** Returns the first child of that name, or null. Searches all of them. */
    const MemoryNode* findChild(const std::string& segment) const;
    /**
     * Returns the child into which `other` can be merged: it has the same name, and not both are
     * keys.
     */
    MemoryNode* mergeableChild(const MemoryNode& other) const;
    /** Returns the row at which to insert a further child of that name. */
    std::size_t insertRow(const std::string& segment) const;
    /** Moves the children [first, last) of `source`, a tree that is being dissolved, to `row`. */
    void takeChildren(std::size_t row, MemoryNode& source, std::size_t first, std::size_t last);
    void removeChildren(std::size_t first, std::size_t last);
    /** Sorts everything below this node; the sort is stable. */
    void sort(const Less& less);

    const MemoryKey* fKey = nullptr;

  private:
    MemoryNode& xDescend(const std::string& segment, bool isLast);
    MemoryNode& xAppend(const std::string& segment);
    void xRenumber(std::size_t first);

    std::string fSegment;
    mutable QString fName;  // created when a row is first shown
    MemoryNode* fParent = nullptr;
    std::size_t fRow = 0;
    std::vector<std::unique_ptr<MemoryNode>> fChildren;
};

}  // namespace memoryviewer

#endif

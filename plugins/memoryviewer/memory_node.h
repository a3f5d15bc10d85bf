#ifndef OBVISTA_MEMORYVIEWER_MEMORY_NODE_H
#define OBVISTA_MEMORYVIEWER_MEMORY_NODE_H

#include <robaxi/kv_value_table.h>

#include <QString>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace memoryviewer {

/** A key and its newest value, as the viewer shows it. */
struct MemoryKey {
    KVKeyInfo fInfo;
    KVValue fValue;
    std::int64_t fTime = 0;  ///< of the value, by the robot's clock; 0 before the first value

    /** The value's own type, or the one that the key was announced with before its first value. */
    KVValue::Type type() const { return fTime == 0 ? fInfo.fType : fValue.type(); }
};

/**
 * One row of the tree: a branch, a key, or both ("A" beside "A/B").
 *
 * The children are kept in natural order of their names, so that one is found by bisection. A robot
 * that announces one name twice gets two rows of that name.
 */
class MemoryNode {
  public:
    /** Levels of the tree; what follows in a longer path stays in the name of the last one, so that
     *  no robot can make the tree deeper than recursion can go. */
    static constexpr int a_maxDepth = 32;
    static constexpr int a_maxNameLength = 200;

    explicit MemoryNode(std::string segment);
    MemoryNode(const MemoryNode&) = delete;
    MemoryNode& operator=(const MemoryNode&) = delete;

    /** A root over the given keys that belongs to no model yet. */
    static std::unique_ptr<MemoryNode> buildTree(const std::vector<KVKeyInfo>& keys);

    const std::string& segment() const { return fSegment; }
    /** The segment as it is shown. */
    const QString& name() const { return fName; }
    MemoryNode* parent() const { return fParent; }
    int row() const { return static_cast<int>(fRow); }
    int childCount() const { return static_cast<int>(fChildren.size()); }
    MemoryNode& child(std::size_t row) const { return *fChildren[row]; }

    /** The child into which `other` can be merged: of the same name, and not both a key. */
    MemoryNode* mergeableChild(const MemoryNode& other) const;
    /** Row at which a further child of that name belongs. */
    std::size_t insertRow(const std::string& segment) const;
    /** Moves the children [first, last) of `source`, a tree being taken apart, here to `row`. */
    void takeChildren(std::size_t row, MemoryNode& source, std::size_t first, std::size_t last);
    void removeChildren(std::size_t first, std::size_t last);

    std::optional<MemoryKey> fKey;

  private:
    MemoryNode& xDescend(const std::string& segment, bool isLast);
    void xRenumber(std::size_t first);

    std::string fSegment;
    QString fName;
    MemoryNode* fParent = nullptr;
    std::size_t fRow = 0;
    std::vector<std::unique_ptr<MemoryNode>> fChildren;
};

/** Order of names as people read it: "Joint2" before "Joint10", without regard to the case of
 *  ASCII letters unless nothing else tells two names apart. */
bool naturalLess(const std::string& left, const std::string& right);

}  // namespace memoryviewer

#endif

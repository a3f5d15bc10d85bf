#ifndef OBVISTA_MEMORYVIEWER_ARRANGEMENT_H
#define OBVISTA_MEMORYVIEWER_ARRANGEMENT_H

#include "model/filter_expression.h"
#include "model/key_cells.h"
#include "model/memory_node.h"

#include <Qt>

#include <cstdint>
#include <memory>

namespace memoryviewer {

/** Filter and order of the displayed keys. */
struct Arrangement {
    bool fIsFlat = false;
    int fSortColumn = NameColumn;
    Qt::SortOrder fOrder = Qt::AscendingOrder;
    FilterExpression fFilter;

    /** Returns true if it depends on values, so that it must be rebuilt as they change. */
    bool isLive() const;
    /** Returns true if every branch has a row. */
    bool isWholeTree() const { return !fIsFlat && fFilter.isEmpty(); }
    /**
     * Returns true if a tree with this arrangement is ordered by name, so that a key can be
     * inserted at its place.
     */
    bool hasNaturalOrder() const;

    /** Returns a root with the keys that are shown. */
    std::unique_ptr<MemoryNode> build(const KeyStore& keys) const;
    /** Returns the keys that are shown. */
    MemoryNode::Keys filtered(const MemoryNode::Keys& keys, std::int64_t now) const;
};

}  // namespace memoryviewer

#endif

#ifndef OBVISTA_MEMORYVIEWER_ARRANGEMENT_H
#define OBVISTA_MEMORYVIEWER_ARRANGEMENT_H

#include "model/filter_expression.h"
#include "model/key_cells.h"
#include "model/memory_node.h"

#include <Qt>

#include <cstdint>
#include <memory>

namespace memoryviewer {

/** Which keys are shown, and in what order. */
struct Arrangement {
    bool fIsFlat = false;
    int fSortColumn = NameColumn;
    Qt::SortOrder fOrder = Qt::AscendingOrder;
    FilterExpression fFilter;

    /** Whether values decide, so that it has to be made again as they change. */
    bool isLive() const;
    /** Whether every branch has its row. */
    bool isWholeTree() const { return !fIsFlat && fFilter.isEmpty(); }
    /** Whether a tree of this arrangement has the order of names, in which a key can be put at its
     *  place. */
    bool hasNaturalOrder() const;

    /** A root over the keys that are shown. */
    std::unique_ptr<MemoryNode> build(const KeyStore& keys) const;
    /** Those of some keys that are shown. */
    MemoryNode::Keys filtered(const MemoryNode::Keys& keys, std::int64_t now) const;
};

}  // namespace memoryviewer

#endif

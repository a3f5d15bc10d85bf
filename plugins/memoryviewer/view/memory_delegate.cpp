#include "view/memory_delegate.h"

#include "model/key_cells.h"

#include <obvista/viewer/colours.h>

namespace memoryviewer {

namespace {

/** Extra height of a row, as a fraction of the text's height. */
constexpr int a_paddingDivisor = 4;
}  // namespace

QSize MemoryDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const {
    const QSize size = ValueDelegate::sizeHint(option, index);
    return {size.width(), size.height() + option.fontMetrics.height() / a_paddingDivisor};
}

void MemoryDelegate::initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const {
    ValueDelegate::initStyleOption(option, index);
    // A font that is changed is looked up again, whatever it is changed to.
    if (!index.parent().isValid() && index.model()->hasChildren(index)) {
        option->font.setBold(true);
    }
    if (index.column() == AgeColumn) {
        // Some room after the rate, whose text ends where the column of the age begins.
        option->features |= QStyleOptionViewItem::HasDecoration;
        option->decorationSize = {option->fontMetrics.averageCharWidth(), 1};
    }
    const bool isSecondary = index.column() != NameColumn && index.column() != ValueColumn;
    if (fIsStale || isSecondary || index.data(MissingRole).toBool()) {
        option->palette = xDimmed(option->palette);
    }
}

/** Made once for all cells: a palette that is changed is copied whole. */
const QPalette& MemoryDelegate::xDimmed(const QPalette& palette) const {
    if (fDimmedFrom != palette.cacheKey()) {
        fDimmedFrom = palette.cacheKey();
        fDimmed = palette;
        fDimmed.setColor(QPalette::Text, obvista::dimmedText(palette));
    }
    return fDimmed;
}

}  // namespace memoryviewer

#include "view/memory_delegate.h"

#include "model/key_cells.h"

#include <obvista/viewer/colours.h>

namespace memoryviewer {

namespace {

/** Added to a row's height, in parts of the height of its text. */
constexpr int a_paddingDivisor = 4;
}  // namespace

QSize MemoryDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const {
    const QSize size = ValueDelegate::sizeHint(option, index);
    return {size.width(), size.height() + option.fontMetrics.height() / a_paddingDivisor};
}

void MemoryDelegate::initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const {
    ValueDelegate::initStyleOption(option, index);
    option->font.setBold(!index.parent().isValid() && index.model()->hasChildren(index));
    const bool isSecondary = index.column() != NameColumn && index.column() != ValueColumn;
    if (fIsStale || isSecondary || index.data(MissingRole).toBool()) {
        option->palette.setColor(QPalette::Text, viewer::dimmedText(option->palette));
    }
}

}  // namespace memoryviewer

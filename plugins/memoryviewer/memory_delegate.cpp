#include "memory_delegate.h"

#include "arrangement.h"

namespace memoryviewer {

namespace {

/** Added to a row's height, in parts of the height of its text. */
constexpr int a_paddingDivisor = 4;
/** Of dimmed text: plainly second to the rest, yet with enough contrast to be read. */
constexpr double a_dimmedOpacity = 0.65;

QColor dimmed(QColor color) {
    color.setAlphaF(a_dimmedOpacity);
    return color;
}

}  // namespace

QSize MemoryDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const {
    const QSize size = ValueDelegate::sizeHint(option, index);
    return {size.width(), size.height() + option.fontMetrics.height() / a_paddingDivisor};
}

void MemoryDelegate::initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const {
    ValueDelegate::initStyleOption(option, index);
    option->font.setBold(!index.parent().isValid() && index.model()->hasChildren(index));
    const bool isSecondary = index.column() != NameColumn && index.column() != ValueColumn;
    if (fIsStale || isSecondary) {
        option->palette.setColor(QPalette::Text, dimmed(option->palette.color(QPalette::Text)));
    }
}

}  // namespace memoryviewer

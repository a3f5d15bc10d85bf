#ifndef OBVISTA_MEMORYVIEWER_MEMORY_DELEGATE_H
#define OBVISTA_MEMORYVIEWER_MEMORY_DELEGATE_H

#include "editing/value_delegate.h"

#include <QPalette>

namespace memoryviewer {

/**
 * Paints the cells of the tree: the topmost branches bold, units and types dimmed, and everything
 * dimmed while the values are outdated.
 */
class MemoryDelegate : public ValueDelegate {
    Q_OBJECT

  public:
    using ValueDelegate::ValueDelegate;

    /** Sets whether the values are outdated. The caller repaints the view. */
    void setStale(bool isStale) { fIsStale = isStale; }

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

  protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override;

  private:
    const QPalette& xDimmed(const QPalette& palette) const;

    bool fIsStale = false;
    mutable QPalette fDimmed;
    mutable qint64 fDimmedFrom = 0;  // key of the palette that it was made of
};

}  // namespace memoryviewer

#endif

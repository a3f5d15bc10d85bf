#ifndef OBVISTA_MEMORYVIEWER_KEY_VIEW_H
#define OBVISTA_MEMORYVIEWER_KEY_VIEW_H

#include <QStringList>
#include <QTreeView>

#include <vector>

namespace memoryviewer {

struct MemoryKey;

/** Rows of keys that can be chosen, dragged, copied and edited: what the areas of the viewer share.
 */
class KeyView : public QTreeView {
    Q_OBJECT

  public:
    KeyView(QAbstractItemModel* model, QWidget* parent);

    using QTreeView::edit;
    using QTreeView::sizeHintForColumn;

    /** The chosen keys that the robot has, from the top. */
    virtual std::vector<const MemoryKey*> chosenKeys() const = 0;
    /** Names of the chosen keys, from the top, whether the robot has them or not. */
    virtual QStringList chosenNames() const;

    /** Repaints some columns of all rows on the screen. */
    void repaintColumns(int first, int last);

  public Q_SLOTS:
    /** Repaints the columns that changed; Qt's own repaints the whole view for two cells. */
    void dataChanged(const QModelIndex& topLeft, const QModelIndex& bottomRight,
                     const QVector<int>& roles = QVector<int>()) override;
    void copyNames();
    /** Values are cut at a million characters each, and at four in all. */
    void copyValues();
    void copyRows();

  protected:
    /** F2 edits the value of the row, whichever column the user is in. */
    bool edit(const QModelIndex& index, EditTrigger trigger, QEvent* event) override;

    /** The chosen rows, from the top. */
    QModelIndexList chosenRows() const;

  private:
    template <class Chosen, class TextOf>
    void xCopy(const Chosen& chosen, TextOf textOf) const;
};

}  // namespace memoryviewer

#endif

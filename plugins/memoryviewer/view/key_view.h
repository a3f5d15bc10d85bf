#ifndef OBVISTA_MEMORYVIEWER_KEY_VIEW_H
#define OBVISTA_MEMORYVIEWER_KEY_VIEW_H

#include <QStringList>
#include <QTreeView>

#include <vector>

namespace memoryviewer {

struct MemoryKey;

/** Rows of keys that can be selected, dragged, copied and edited: base of the viewer's areas. */
class KeyView : public QTreeView {
    Q_OBJECT

  public:
    KeyView(QAbstractItemModel* model, QWidget* parent);

    using QTreeView::edit;
    using QTreeView::sizeHintForColumn;

    /** Returns the selected keys that the robot has, from the top. */
    virtual std::vector<const MemoryKey*> chosenKeys() const = 0;
    /**
     * Returns the names of the selected keys, from the top, even if the robot does not have them.
     */
    virtual QStringList chosenNames() const;

    /** Repaints some columns of all rows on the screen. */
    void repaintColumns(int first, int last);

  public Q_SLOTS:
    /** Repaints the columns that changed; Qt's own repaints the whole view for two cells. */
    void dataChanged(const QModelIndex& topLeft, const QModelIndex& bottomRight,
                     const QVector<int>& roles = QVector<int>()) override;
    void copyNames();
    /** Each value is cut at a million characters, and the text at four million. */
    void copyValues();
    void copyRows();

  protected:
    /** F2 edits the value of the row from any column. */
    bool edit(const QModelIndex& index, EditTrigger trigger, QEvent* event) override;

    /** Returns the selected rows, from the top. */
    QModelIndexList chosenRows() const;

  private:
    template <class Chosen, class TextOf>
    void xCopy(const Chosen& chosen, TextOf textOf) const;
};

}  // namespace memoryviewer

#endif

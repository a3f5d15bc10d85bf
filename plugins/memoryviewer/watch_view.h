#ifndef OBVISTA_MEMORYVIEWER_WATCH_VIEW_H
#define OBVISTA_MEMORYVIEWER_WATCH_VIEW_H

#include <QTreeView>

namespace memoryviewer {

class WatchModel;

/**
 * The keys that the user watches, in an area of their own. Keys are dropped in, Delete takes the
 * chosen ones out, and Alt with an arrow key moves one.
 */
class WatchView : public QTreeView {
    Q_OBJECT

  public:
    WatchView(WatchModel* model, QWidget* parent);

    using QTreeView::edit;

    QSize sizeHint() const override;

  public Q_SLOTS:
    void removeChosen();

  protected:
    /** F2 edits the value of the row, whichever column the user is in. */
    bool edit(const QModelIndex& index, EditTrigger trigger, QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

  private:
    void xMove(int by);

    WatchModel* fModel;
};

}  // namespace memoryviewer

#endif

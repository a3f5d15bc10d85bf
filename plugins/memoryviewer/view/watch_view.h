#ifndef OBVISTA_MEMORYVIEWER_WATCH_VIEW_H
#define OBVISTA_MEMORYVIEWER_WATCH_VIEW_H

#include "view/key_view.h"

namespace memoryviewer {

class WatchModel;

/**
 * The watched keys in a separate area. Keys are dropped into it, Delete removes the selected ones,
 * and Alt with an arrow key moves one.
 */
class WatchView : public KeyView {
    Q_OBJECT

  public:
    WatchView(WatchModel* model, QWidget* parent);

    std::vector<const MemoryKey*> chosenKeys() const override;
    QStringList chosenNames() const override;

    /** Shorter while no key is watched. */
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

  public Q_SLOTS:
    void removeChosen();

  protected:
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

  private:
    void xMove(int by);

    WatchModel* fModel;
};

}  // namespace memoryviewer

#endif

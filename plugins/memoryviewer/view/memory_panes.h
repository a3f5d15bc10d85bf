#ifndef OBVISTA_MEMORYVIEWER_MEMORY_PANES_H
#define OBVISTA_MEMORYVIEWER_MEMORY_PANES_H

#include <QSplitter>

class QLabel;
class QStackedLayout;

namespace memoryviewer {

class KeyTreeView;
class PlotPanel;
class WatchView;

/** The tree or, if it has no rows, a message; below it the watch list and the plots. */
class MemoryPanes : public QSplitter {
    Q_OBJECT

  public:
    MemoryPanes(KeyTreeView* tree, WatchView* watchView, PlotPanel* plots, QWidget* parent);

    /** Shows a message in place of the tree, or the tree if the message is empty. */
    void setMessage(const QString& message);
    bool isTreeShown() const;
    void showPlots(bool isShown);
    /** The watch list grows with its first rows; the tree gives and takes the difference. */
    void fitWatchList();

  protected:
    void resizeEvent(QResizeEvent* event) override;

  private:
    void xShareRoom();
    bool xIsLow() const;

    KeyTreeView* fTree;
    WatchView* fWatchView;
    PlotPanel* fPlots;
    QStackedLayout* fPages;
    QLabel* fMessage;
    int fWatchHeight;        ///< preferred height of the watch list
    bool fIsChosen = false;  ///< true if the user has moved a handle
};

}  // namespace memoryviewer

#endif

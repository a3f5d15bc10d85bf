#ifndef OBVISTA_MEMORYVIEWER_KEY_ACTIONS_H
#define OBVISTA_MEMORYVIEWER_KEY_ACTIONS_H

#include <QObject>
#include <QStringList>

class QKeySequence;
class QMenu;
class QPoint;

namespace memoryviewer {

class KeyCurves;
class KeyTreeView;
class KeyValueSource;
class KeyView;
class WatchModel;
class WatchView;
class WriteQueue;

/** What the user does with the keys chosen in the tree or the watch list, by key or menu. */
class KeyActions : public QObject {
    Q_OBJECT

  public:
    /** What the actions work with; all outlive them. */
    struct Parts {
        KeyTreeView* fTree;
        WatchView* fWatchView;
        WatchModel* fWatched;
        KeyCurves* fCurves;
        KeyValueSource* fValues;
        WriteQueue* fWrites;
    };

    /** @param viewer in which the shortcuts are heard */
    KeyActions(const Parts& parts, QWidget* viewer);

  private:
    template <typename Slot>
    void xAddShortcut(const QKeySequence& keys, Slot slot);
    template <typename Slot>
    void xAddAction(QMenu& menu, const QString& text, const QKeySequence& keys, bool isEnabled,
                    Slot slot);

    KeyView* xView() const;
    void xAddEditing(QMenu& menu, KeyView* view);
    void xAddCopying(QMenu& menu, KeyView* view);
    void xWatch();
    void xPlot();
    void xPlotByItself();
    void xUndo();
    void xShowTreeMenu(const QPoint& position);
    void xShowWatchMenu(const QPoint& position);

    const Parts fParts;
};

}  // namespace memoryviewer

#endif

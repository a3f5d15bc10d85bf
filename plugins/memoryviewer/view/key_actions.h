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

/** Actions on the keys selected in the tree or the watch list, by shortcut or menu. */
class KeyActions : public QObject {
    Q_OBJECT

  public:
    /** Objects used by the actions; all must outlive them. */
    struct Parts {
        KeyTreeView* fTree;
        WatchView* fWatchView;
        WatchModel* fWatched;
        KeyCurves* fCurves;
        KeyValueSource* fValues;
        WriteQueue* fWrites;
    };

    /** @param viewer the widget in which the shortcuts work */
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

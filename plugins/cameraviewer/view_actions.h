#ifndef OBVISTA_CAMERAVIEWER_VIEW_ACTIONS_H
#define OBVISTA_CAMERAVIEWER_VIEW_ACTIONS_H

#include <QKeySequence>
#include <QObject>

class QAction;
class QMenu;

namespace cameraviewer {

class CameraBar;
class PictureView;

/**
 * The actions on the displayed picture: in a menu, with single keys while the view has the focus,
 * and the most frequent ones as buttons.
 */
class ViewActions : public QObject {
    Q_OBJECT

  public:
    explicit ViewActions(PictureView* view);

    QAction* pause() const { return fPause; }
    QAction* grid() const { return fGrid; }
    QAction* histogram() const { return fHistogram; }
    /** Returns the menu with all actions; owned by the view. */
    QMenu* menu() const { return fMenu; }
    void addButtons(CameraBar& bar) const;

  private:
    QAction* xAdd(const char* objectName, const QString& text, const QString& toolTip,
                  const QList<QKeySequence>& keys);
    QAction* xAddToggle(const char* objectName, const QString& text, const QString& toolTip,
                        const QList<QKeySequence>& keys);

    PictureView* fView;
    QMenu* fMenu;
    QAction* fPause = nullptr;
    QAction* fFit = nullptr;
    QAction* fOneToOne = nullptr;
    QAction* fZoomIn = nullptr;
    QAction* fZoomOut = nullptr;
    QAction* fGrid = nullptr;
    QAction* fHistogram = nullptr;
};

/**
 * Sets an action's tool tip, and the same without markup as its "What's this": plain text with the
 * action's first key.
 */
void explainWithKey(QAction& action, const QString& text);

}  // namespace cameraviewer

#endif

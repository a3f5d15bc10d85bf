#include "view_actions.h"

#include "camera_bar.h"
#include "picture_view.h"

#include <QAction>
#include <QMenu>

namespace cameraviewer {

ViewActions::ViewActions(PictureView* view) : QObject(view), fView(view), fMenu(new QMenu(view)) {
    fPause = xAddToggle("pauseAction", tr("&Pause"), tr("Pause the picture"), {Qt::Key_Space});
    fMenu->addSeparator();
    fFit = xAdd("fitAction", tr("&Fit"), tr("Show the whole picture as large as possible"),
                {Qt::Key_F, Qt::Key_0});
    fOneToOne = xAdd("oneToOneAction", tr("&1:1"),
                     tr("Show each pixel of the picture as one pixel of the screen"), {Qt::Key_1});
    fZoomIn = xAdd("zoomInAction", tr("Zoom &in"), tr("Enlarge the picture"),
                   {Qt::Key_Plus, Qt::Key_Equal});
    fZoomOut = xAdd("zoomOutAction", tr("Zoom &out"), tr("Shrink the picture"), {Qt::Key_Minus});
    fMenu->addSeparator();
    QAction* right = xAdd("rotateRightAction", tr("&Rotate right"),
                          tr("Rotate the picture by a quarter turn, clockwise"), {Qt::Key_R});
    QAction* left =
        xAdd("rotateLeftAction", tr("Rotate &left"),
             tr("Rotate the picture by a quarter turn, anticlockwise"), {Qt::SHIFT + Qt::Key_R});
    QAction* flipHorizontally = xAdd("flipHorizontallyAction", tr("Flip &horizontally"),
                                     tr("Mirror left and right"), {Qt::Key_H});
    QAction* flipVertically = xAdd("flipVerticallyAction", tr("Flip &vertically"),
                                   tr("Mirror top and bottom"), {Qt::Key_V});
    QAction* straighten = xAdd("straightenAction", tr("&As the camera sees it"),
                               tr("Neither rotated nor flipped"), {Qt::Key_U});
    fMenu->addSeparator();
    fGrid = xAddToggle("gridAction", tr("&Grid"), tr("Lines between pixels or groups of pixels"),
                       {Qt::Key_G});
    fHistogram = xAddToggle("histogramAction", tr("Histogra&m"),
                            tr("Histogram of the picture's values"), {Qt::Key_I});

    for (QAction* action : {fZoomIn, fZoomOut, right, left}) {
        action->setAutoRepeat(true);
    }

    connect(fFit, &QAction::triggered, view, &PictureView::fit);
    connect(fOneToOne, &QAction::triggered, view, &PictureView::showOneToOne);
    connect(fZoomIn, &QAction::triggered, view, &PictureView::zoomIn);
    connect(fZoomOut, &QAction::triggered, view, &PictureView::zoomOut);
    connect(right, &QAction::triggered, view, &PictureView::rotateRight);
    connect(left, &QAction::triggered, view, &PictureView::rotateLeft);
    connect(flipHorizontally, &QAction::triggered, view, &PictureView::flipHorizontally);
    connect(flipVertically, &QAction::triggered, view, &PictureView::flipVertically);
    connect(straighten, &QAction::triggered, view, &PictureView::straighten);
    connect(fGrid, &QAction::toggled, view, &PictureView::setGrid);
}

void ViewActions::addButtons(CameraBar& bar) const {
    for (QAction* action : {fPause, fFit, fOneToOne}) {
        bar.addButton(action);
    }
}

QAction* ViewActions::xAdd(const char* objectName, const QString& text, const QString& toolTip,
                           const QList<QKeySequence>& keys) {
    auto* action = new QAction(text, this);
    action->setObjectName(QLatin1String(objectName));
    action->setShortcuts(keys);
    // Single keys belong to the view: a combo box in the tool bar uses them to search its list.
    action->setShortcutContext(Qt::WidgetShortcut);
    action->setAutoRepeat(false);
    explainWithKey(*action, toolTip);
    fView->addAction(action);
    fMenu->addAction(action);
    return action;
}

QAction* ViewActions::xAddToggle(const char* objectName, const QString& text,
                                 const QString& toolTip, const QList<QKeySequence>& keys) {
    QAction* action = xAdd(objectName, text, toolTip, keys);
    action->setCheckable(true);
    return action;
}

void explainWithKey(QAction& action, const QString& text) {
    const QString withKey =
        QStringLiteral("%1 (%2)").arg(text, action.shortcut().toString(QKeySequence::NativeText));
    action.setToolTip(QStringLiteral("<p>%1</p>").arg(withKey.toHtmlEscaped()));
    action.setWhatsThis(withKey);
}

}  // namespace cameraviewer

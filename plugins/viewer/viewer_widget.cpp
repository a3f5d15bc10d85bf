#include "viewer_widget.h"

#include "robot_link.h"

#include <QDockWidget>
#include <QEvent>

#include <utility>

namespace viewer {

ViewerWidget::ViewerWidget(std::shared_ptr<RobotLink> link, WidgetInterface* plugin,
                           QWidget* parent)
    : QWidget(parent), fLink(std::move(link)), fPlugin(plugin) {
    xFollowDock();
}

ViewerWidget::~ViewerWidget() {
    fLink->closeSilently();
}

bool ViewerWidget::eventFilter(QObject* watched, QEvent* event) {
    // Asked in this order: a dock that is being destroyed, and sends other events, is no dock now.
    if (event->type() == QEvent::Close && watched == fDock) {
        xOnDockAskedToClose();
    }
    return QWidget::eventFilter(watched, event);
}

void ViewerWidget::changeEvent(QEvent* event) {
    if (event->type() == QEvent::ParentChange) {
        xFollowDock();
    }
    QWidget::changeEvent(event);
}

void ViewerWidget::xFollowDock() {
    if (fDock) {
        fDock->removeEventFilter(this);
    }
    fDock = qobject_cast<QDockWidget*>(parentWidget());
    if (fDock) {
        fDock->installEventFilter(this);
    }
}

/**
 * The dock's close event comes before the dock has decided on it. From here on no loss is reported;
 * the next turn of the event loop sees what became of the dock.
 */
void ViewerWidget::xOnDockAskedToClose() {
    fIsDockClosing = true;
    QMetaObject::invokeMethod(
        this, [this] { xOnDockDecided(); }, Qt::QueuedConnection);
}

void ViewerWidget::xOnDockDecided() {
    if (!fIsDockClosing) {
        return;
    }
    fIsDockClosing = false;
    if (!fDock || fDock->isHidden()) {
        fLink->close();
    }
    if (fHasLossToReport) {
        reportLoss();
    }
}

void ViewerWidget::reportLoss() {
    fHasLossToReport = fIsDockClosing;
    if (!fIsDockClosing && !fLink->isClosed()) {
        Q_EMIT disconnected(fPlugin);
    }
}

}  // namespace viewer

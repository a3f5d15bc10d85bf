#include "qclosabledock_widget.h"

QClosableDockWidget::QClosableDockWidget(const QString& title, QWidget* parent)
    : QDockWidget(title, parent) {
}

void QClosableDockWidget::closeEvent(QCloseEvent* event) {
    Q_EMIT askToBeClosed(this);
    QDockWidget::closeEvent(event);
}

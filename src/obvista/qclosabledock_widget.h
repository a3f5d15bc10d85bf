#ifndef OBVISTA_QCLOSABLEDOCK_WIDGET_H
#define OBVISTA_QCLOSABLEDOCK_WIDGET_H

#include <QDockWidget>

class QCloseEvent;

/** A dock that notifies its owner before it is closed. */
class QClosableDockWidget : public QDockWidget {
    Q_OBJECT
  public:
    QClosableDockWidget(const QString& title, QWidget* parent);

  Q_SIGNALS:
    /**
     * Emitted once for each close, before the dock hides: a notification, not a question. The dock
     * and its widget still exist. A receiver must not delete the dock directly (use deleteLater()),
     * since its close event continues afterwards.
     */
    void askToBeClosed(QClosableDockWidget* dock);

  protected:
    void closeEvent(QCloseEvent* event) override;
};

#endif

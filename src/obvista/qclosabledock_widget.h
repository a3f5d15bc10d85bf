#ifndef OBVISTA_QCLOSABLEDOCK_WIDGET_H
#define OBVISTA_QCLOSABLEDOCK_WIDGET_H

#include <QDockWidget>

class QCloseEvent;

/** A dock that tells its owner that it is about to be closed. */
class QClosableDockWidget : public QDockWidget {
    Q_OBJECT
  public:
    QClosableDockWidget(const QString& title, QWidget* parent);

  Q_SIGNALS:
    /**
     * Emitted once for each close, before the dock hides: a notice, not a question. The dock and
     * the widget inside it still exist; a receiver must not delete the dock there and then (use
     * deleteLater()), since its close event goes on afterwards.
     */
    void askToBeClosed(QClosableDockWidget* dock);

  protected:
    void closeEvent(QCloseEvent* event) override;
};

#endif

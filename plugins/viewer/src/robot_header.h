#ifndef OBVISTA_VIEWER_ROBOT_HEADER_H
#define OBVISTA_VIEWER_ROBOT_HEADER_H

#include <QWidget>

class QAction;
class QLabel;
class QToolButton;

namespace obvista {

/**
 * The robot's name in large letters, and its address if there is room: the docks of one plugin have
 * the same title for every robot. A menu has the settings of the connection.
 */
class RobotHeader : public QWidget {
    Q_OBJECT

  public:
    explicit RobotHeader(QWidget* parent);

    /** Both are shown as plain text. */
    void setRobot(const QString& name, const QString& address);

    /** Adds the button of the menu, at the end of the tab order. */
    void addButton();
    /** Returns the entry "Reconnect when the robot returns", which is not checked. */
    QAction* reconnectAction() const { return fReconnect; }

    QSize minimumSizeHint() const override;

  Q_SIGNALS:
    /** The menu opens: the entry must say the setting, which is common to all viewers. */
    void menuOpening();

  protected:
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

  private:
    void xApplyFont();
    void xFit();

    QLabel* fName;
    QLabel* fAddress;
    QToolButton* fConnection = nullptr;
    QAction* fReconnect;
};

}  // namespace obvista

#endif

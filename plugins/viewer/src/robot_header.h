#ifndef OBVISTA_VIEWER_ROBOT_HEADER_H
#define OBVISTA_VIEWER_ROBOT_HEADER_H

#include <QWidget>

class QAction;
class QLabel;
class QToolButton;

namespace obvista {

/**
 * The robot's name in large letters, and its address if there is room: the docks of one plugin have
 * the same title for every robot. A menu has the settings of the connection, and a button puts a
 * floating viewer back.
 */
class RobotHeader : public QWidget {
    Q_OBJECT

  public:
    explicit RobotHeader(QWidget* parent);

    /** Both are shown as plain text. */
    void setRobot(const QString& name, const QString& address);

    /** Adds the button of the menu and that for docking, at the end of the tab order. */
    void addButtons();
    /** Shows the button for docking, which is hidden at first. */
    void showDockButton(bool isShown);
    /** Returns the entry "Reconnect when the robot returns", which is not checked. */
    QAction* reconnectAction() const { return fReconnect; }

    QSize minimumSizeHint() const override;

  Q_SIGNALS:
    /** The menu opens: the entry must say the setting, which is common to all viewers. */
    void menuOpening();
    /** The user wants a floating viewer in the main window. */
    void dockWanted();

  protected:
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

  private:
    QToolButton* xMakeButton(const char* name, const QString& text, const QString& explanation);
    void xApplyFont();
    void xFit();

    QLabel* fName;
    QLabel* fAddress;
    QToolButton* fConnection = nullptr;
    QToolButton* fDock = nullptr;
    QAction* fReconnect;
};

}  // namespace obvista

#endif

#ifndef OBVISTA_VIEWER_ROBOT_HEADER_H
#define OBVISTA_VIEWER_ROBOT_HEADER_H

#include <QWidget>

class QLabel;

namespace obvista {

/**
 * The robot's name in large letters, and its address if there is room: the docks of one plugin have
 * the same title for every robot.
 */
class RobotHeader : public QWidget {
    Q_OBJECT

  public:
    /** Both are shown as plain text. */
    RobotHeader(const QString& name, const QString& address, QWidget* parent);

  protected:
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

  private:
    void xApplyFont();
    void xFit();

    QLabel* fName;
    QLabel* fAddress;
};

}  // namespace obvista

#endif

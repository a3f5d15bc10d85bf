#ifndef OBVISTA_VIEWER_ROBOT_HEADER_H
#define OBVISTA_VIEWER_ROBOT_HEADER_H

#include <QWidget>

class QLabel;

namespace obvista {

/** The robot's name in large letters, and its address where there is room for it: the docks of one
 *  plugin have the same title whatever robot they show. */
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

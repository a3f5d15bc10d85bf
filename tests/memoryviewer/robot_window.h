#ifndef OBVISTA_TESTS_ROBOT_WINDOW_H
#define OBVISTA_TESTS_ROBOT_WINDOW_H

#include "viewer_driver.h"

#include <QDockWidget>
#include <QPointer>
#include <QTreeView>

#include <memory>
#include <robot_process.h>

class QwtPlot;

namespace obvista_test {

/** A viewer in a real window, beside a simulated robot in a process of its own. */
class RobotWindow {
  public:
    explicit RobotWindow(const RobotProcess::Settings& settings = {});
    ~RobotWindow();
    RobotWindow(const RobotWindow&) = delete;
    RobotWindow& operator=(const RobotWindow&) = delete;

    /** Closes the viewer, if there is one, and opens another one. @return whether it shows keys */
    bool open();
    void close();
    RobotProcess& robot() { return *fRobot; }
    /** Starts the robot again, at the place where it was, once it was killed. */
    void restartRobot();

    QWidget* viewer() const { return fDock->widget(); }
    QTreeView* tree() const { return treeOf(viewer()); }
    template <class Widget>
    Widget* find(const char* objectName) const {
        return viewer()->findChild<Widget*>(QLatin1String(objectName));
    }

    QString value(const char* key) const { return valueOf(viewer(), key); }
    /** The cell of a key's value, brought onto the screen. */
    QModelIndex cell(const char* key) const;
    /** Makes a key the current one, as a click on it does. */
    void choose(const char* key) const;
    /** Chooses how often the robot is asked, updates a second. */
    void setRate(int perSecond) const;
    /** Answers the dialog that asks for a file, once it is there. @return whether it was there */
    bool answerFileQuestion(const QString& fileName) const;
    /** Chooses an entry of the menu that a click opens, by its text without "&". */
    void chooseFromMenu(const QString& text) const;
    /** The same of the menu of a view's current row. */
    void chooseFromRowMenu(QTreeView* view, const QString& text) const;

    /** The plots below each other. */
    QList<QwtPlot*> plots() const;
    /** A cell of the plots' legend: of the curve in a row of a plot. */
    QString legend(int plot, int row, int column) const;

  private:
    const RobotProcess::Settings fSettings;
    std::unique_ptr<RobotProcess> fRobot;
    std::unique_ptr<ViewerDriver> fDriver;
    QPointer<QDockWidget> fDock;
};

}  // namespace obvista_test

#endif

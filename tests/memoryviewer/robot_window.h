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

/** A viewer in a real window, with a simulated robot in a separate process. */
class RobotWindow {
  public:
    explicit RobotWindow(const RobotProcess::Settings& settings = {});
    ~RobotWindow();
    RobotWindow(const RobotWindow&) = delete;
    RobotWindow& operator=(const RobotWindow&) = delete;

    /** Closes an open viewer and opens another one. @return true if it shows keys */
    bool open();
    void close();
    RobotProcess& robot() { return *fRobot; }
    /** Restarts a killed robot on the same port. */
    void restartRobot();

    QWidget* viewer() const { return fDock->widget(); }
    QTreeView* tree() const { return treeOf(viewer()); }
    template <class Widget>
    Widget* find(const char* objectName) const {
        return viewer()->findChild<Widget*>(QLatin1String(objectName));
    }

    QString value(const char* key) const { return valueOf(viewer(), key); }
    /** Scrolls the cell of a key's value onto the screen and returns its index. */
    QModelIndex cell(const char* key) const;
    /** Makes a key the current one, like a click. */
    void choose(const char* key) const;
    /** Selects the rate, updates a second. */
    void setRate(int perSecond) const;
    /**
     * Answers the file dialog when it is open.
     *
     * @return true if it opened with the robot's name in its title, and closed
     */
    bool answerFileQuestion(const QString& fileName) const;
    /** Selects an entry of the menu opened by a click, by its text without "&". */
    void chooseFromMenu(const QString& text) const;
    /** Selects an entry of the context menu of a view's current row. */
    void chooseFromRowMenu(QTreeView* view, const QString& text) const;

    /** Returns the plots from top to bottom. */
    QList<QwtPlot*> plots() const;
    /** Returns a cell of the plots' legend: of the curve in a row of a plot. */
    QString legend(int plot, int row, int column) const;

  private:
    const RobotProcess::Settings fSettings;
    std::unique_ptr<RobotProcess> fRobot;
    std::unique_ptr<ViewerDriver> fDriver;
    QPointer<QDockWidget> fDock;
};

/** Returns true if a curve passes through a column of pixels; grid and texts are grey. */
bool isCurveAt(const QImage& picture, int x);

}  // namespace obvista_test

#endif

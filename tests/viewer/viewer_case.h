#ifndef OBVISTA_TESTS_VIEWER_CASE_H
#define OBVISTA_TESTS_VIEWER_CASE_H

#include <QString>
#include <QStringList>

#include <memory>
#include <string>

class QWidget;

namespace obvista_test {

/** A robot in the test's process with values or pictures for the viewer under test. */
class ShownRobot {
  public:
    ShownRobot() = default;
    virtual ~ShownRobot() = default;
    ShownRobot(const ShownRobot&) = delete;
    ShownRobot& operator=(const ShownRobot&) = delete;

    virtual int port() const = 0;
    /** Shows this value of 0 to 200 from now on. */
    virtual void show(int value) = 0;
    /** Breaks every connection and stops listening. */
    virtual void stop() = 0;
};

/**
 * Parts of the life-cycle tests that depend on the viewer. The tests are built once for each
 * viewer, whose test support defines these functions.
 */
namespace viewer_case {

/** Returns the host's name of the plugin. */
QString pluginName();

/** @param port 0 for a free one */
std::unique_ptr<ShownRobot> makeRobot(const std::string& name = "TestRobot", int port = 0);

/** Returns true if a visible viewer shows the robot's value. */
bool shows(QWidget* viewer, int value);

/** Returns true if something has been received from the robot. */
bool isLive(QWidget* viewer);

bool saysLost(QWidget* viewer);
bool saysClosed(QWidget* viewer);

/**
 * Call it until it returns true: a live viewer is then busy with the operation that takes longest
 * to end.
 */
bool makeBusy(QWidget* viewer);

/** Returns keys, as xdotool names them, that change the view; pressing them again changes nothing.
 */
QStringList viewKeys();
/** Returns true if a live viewer shows the view that the keys have chosen. */
bool isViewChanged(QWidget* viewer);
/** Returns true if the settings' file contains that view, for any robot. */
bool isViewSaved();

}  // namespace viewer_case
}  // namespace obvista_test

#endif

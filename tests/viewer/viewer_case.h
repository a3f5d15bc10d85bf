#ifndef OBVISTA_TESTS_VIEWER_CASE_H
#define OBVISTA_TESTS_VIEWER_CASE_H

#include <QString>

#include <memory>

class QWidget;

namespace obvista_test {

/** A robot in the test's own process that has something to show to the viewer under test. */
class ShownRobot {
  public:
    ShownRobot() = default;
    virtual ~ShownRobot() = default;
    ShownRobot(const ShownRobot&) = delete;
    ShownRobot& operator=(const ShownRobot&) = delete;

    virtual int port() const = 0;
    /** From now on it shows this value of 0 to 200. */
    virtual void show(int value) = 0;
    /** Breaks every connection and stops listening. */
    virtual void stop() = 0;
};

/**
 * What the tests of a viewer's life cycle have to know of the viewer. They are built once for each
 * viewer, whose own test support defines these functions.
 */
namespace viewer_case {

/** As the host names the plugin. */
QString pluginName();

std::unique_ptr<ShownRobot> makeRobot();

/** Whether the robot's value is what a viewer that can be seen shows. */
bool shows(QWidget* viewer, int value);

/** Whether anything has come from the robot. */
bool isLive(QWidget* viewer);

bool saysLost(QWidget* viewer);
bool saysClosed(QWidget* viewer);

/** To be called until it is true: a live viewer then does what takes it longest to end. */
bool makeBusy(QWidget* viewer);

}  // namespace viewer_case
}  // namespace obvista_test

#endif

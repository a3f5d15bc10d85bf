#include "viewer_case.h"

#include <QDockWidget>
#include <QProcess>
#include <QSettings>
#include <QtTest>
#include <qt_test_main.h>

#include <child_process.h>
#include <csignal>
#include <memory>
#include <plugin_driver.h>
#include <project_files.h>
#include <robot_process.h>

using namespace obvista_test;
using namespace obvista_test::viewer_case;

namespace {

/** Milliseconds: sufficient for a program under a sanitizer on a busy machine. */
constexpr int a_patience = 60000;

QStringList xdotool(const QStringList& arguments) {
    QProcess tool;
    tool.start(QStringLiteral("xdotool"), arguments);
    tool.waitForFinished();
    const QString output = QString::fromLatin1(tool.readAllStandardOutput());
    return output.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

/**
 * Clicks into the middle of a window, where the viewer is, and presses the keys. With the middle
 * button, since repeated clicks of the left one have a meaning.
 */
void changeView(const QString& window) {
    const QStringList size = xdotool({"getwindowgeometry", "--shell", window});
    const auto half = [&](const char* name) {
        const QStringList line = size.filter(QLatin1String(name));
        return QString::number(line.value(0).section(QLatin1Char('='), 1).toInt() / 2);
    };
    xdotool({"mousemove", "--window", window, half("WIDTH="), half("HEIGHT="), "click", "2"});
    xdotool(QStringList{"key"} + viewKeys());
}

/** Removes a lost viewer like the host. */
void removeLost(PluginDriver& driver, QWidget* viewer, QDockWidget* dock) {
    driver.onDisconnected(viewer, [&driver, dock](WidgetInterface*) {
        driver.window().removeDockWidget(dock);
        driver.deletePlugin();
    });
}

}  // namespace

/** The view that the user has chosen, after the end of a program or of a robot. */
class ViewStateTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init();
    void cleanup() { fRobot.reset(); }

    void survivesTheTerminationOfTheProgram();
    void returnsInADockOpenedAfterTheRobotWasLost();

  private:
    std::unique_ptr<RobotProcess> fRobot;
};

void ViewStateTest::init() {
    QSettings settings;
    settings.clear();
    // The program reports in a dialog that it has no bus; no dialog is shown with this.
    settings.setValue(QStringLiteral("Preferences/remoteControl"), true);
    settings.sync();
    fRobot = std::make_unique<RobotProcess>();
}

/** The program has no handler of SIGTERM, and is gone like after a crash. */
void ViewStateTest::survivesTheTerminationOfTheProgram() {
    ChildProcess program({"env", "DBUS_SYSTEM_BUS_ADDRESS=unix:path=/nonexistent",
                          builtFile("bin/obvista"), "--plugin", pluginName().toStdString(), "--ip",
                          RobotProcess::address(), "--port", std::to_string(fRobot->port())});
    QStringList windows;
    const auto isOpen = [&] {
        windows = xdotool({"search", "--onlyvisible", "--all", "--pid",
                           QString::number(program.pid()), "--name", "^Obvista Desktop$"});
        return !windows.isEmpty();
    };
    QTRY_VERIFY2_WITH_TIMEOUT(isOpen(), program.errors().c_str(), a_patience);
    // The keys can be pressed repeatedly; the viewer may not be ready for the first ones.
    QVERIFY(QTest::qWaitFor(
        [&] {
            changeView(windows.first());
            return isViewSaved();
        },
        a_patience));
    program.signal(SIGTERM);
    QCOMPARE(program.waitForEnd().value_or(0), -SIGTERM);

    PluginDriver later(pluginName());
    QWidget* viewer = later.createWidget(fRobot->port());
    later.dock(viewer);
    QTRY_VERIFY_WITH_TIMEOUT(isViewChanged(viewer), a_patience);
}

void ViewStateTest::returnsInADockOpenedAfterTheRobotWasLost() {
    PluginDriver driver(pluginName());
    QWidget* viewer = driver.createWidget(fRobot->port());
    removeLost(driver, viewer, driver.dock(viewer));
    QVERIFY(waitForActive(&driver.window()));
    QTRY_VERIFY(isLive(viewer));
    QVERIFY(!isViewChanged(viewer));
    const QString window = QString::number(driver.window().winId());
    QVERIFY(QTest::qWaitFor(
        [&] {
            changeView(window);
            return isViewChanged(viewer);
        },
        a_patience));

    RobotProcess::Settings samePort;
    samePort.fPort = fRobot->port();
    fRobot->kill();
    QTRY_VERIFY_WITH_TIMEOUT(driver.plugin() == nullptr, a_patience);
    fRobot = std::make_unique<RobotProcess>(samePort);
    PluginDriver later(pluginName());
    QWidget* again = later.createWidget(fRobot->port());
    later.dock(again);
    QTRY_VERIFY_WITH_TIMEOUT(isViewChanged(again), a_patience);
}

OBVISTA_QTEST_MAIN(ViewStateTest)
#include "view_state_test.moc"

#include "viewer_case.h"
#include "viewer_process_command.h"

#include <QtTest>
#include <qt_test_main.h>

#include <child_process.h>
#include <chrono>
#include <memory>
#include <optional>
#include <string>

using namespace obvista_test;

/** Tests the exit of a process before the host has deleted the plugin. */
class ExitTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void isDeletedByQtAfterMain_data();
    void isDeletedByQtAfterMain();
    void exitWhileTheRobotSends();
    void exitInsideTheReportOfALoss();

  private:
    /** Fails the test function unless the program's output is exact and its status is 0. */
    static void xVerifyEnd(ChildProcess& viewer, const std::string& output);
};

void ExitTest::xVerifyEnd(ChildProcess& viewer, const std::string& output) {
    const std::optional<int> status = viewer.waitForEnd();
    QCOMPARE(viewer.errors(), std::string());
    QCOMPARE(viewer.output(), output);
    QCOMPARE(status.value_or(-1), 0);
}

void ExitTest::isDeletedByQtAfterMain_data() {
    QTest::addColumn<QString>("mode");
    QTest::addColumn<QString>("output");
    const QString atEnd = QStringLiteral("main returns\nconnection closed\nroot object deleted\n");
    QTest::newRow("without a widget") << "no-widget" << atEnd;
    QTest::newRow("with its widget deleted") << "widget-deleted"
                                             << "ready\n" + atEnd;
    QTest::newRow("with its widget still connected") << "widget-kept"
                                                     << "ready\n" + atEnd;
}

void ExitTest::isDeletedByQtAfterMain() {
    QFETCH(QString, mode);
    QFETCH(QString, output);
    const std::unique_ptr<ShownRobot> robot = viewer_case::makeRobot();
    robot->show(1);
    ChildProcess viewer(
        viewerProcess(viewer_case::pluginName(), mode.toStdString(), robot->port()));
    xVerifyEnd(viewer, output.toStdString());
}

void ExitTest::exitWhileTheRobotSends() {
    const std::unique_ptr<ShownRobot> robot = viewer_case::makeRobot();
    robot->show(1);
    ChildProcess viewer(viewerProcess(viewer_case::pluginName(), "exit-while-live", robot->port()));
    for (int step = 0; !viewer.waitForEnd(std::chrono::milliseconds(5)) && step < 10000; ++step) {
        robot->show(step % 200);
    }
    xVerifyEnd(viewer, "ready\nconnection closed\nroot object deleted\n");
}

void ExitTest::exitInsideTheReportOfALoss() {
    const std::unique_ptr<ShownRobot> robot = viewer_case::makeRobot();
    robot->show(1);
    ChildProcess viewer(viewerProcess(viewer_case::pluginName(), "exit-on-loss", robot->port()));
    QVERIFY2(viewer.waitForOutput("ready\n"), viewer.errors().c_str());
    robot->stop();
    xVerifyEnd(viewer, "ready\nconnection closed\nroot object deleted\n");
}

OBVISTA_QTEST_MAIN(ExitTest)
#include "exit_test.moc"

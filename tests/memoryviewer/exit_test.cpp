#include "memory_robot.h"
#include "viewer_driver.h"

#include <QtTest>
#include <qt_test_main.h>

#include <memory>

using namespace obvista_test;

/** What happens when the process ends before the host has deleted the plugin. */
class ExitTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void isDeletedByQtAfterMain_data();
    void isDeletedByQtAfterMain();
    void exitWhileValuesFlow();
    void exitInsideTheReportOfALoss();
};

void ExitTest::isDeletedByQtAfterMain_data() {
    QTest::addColumn<QString>("mode");
    QTest::newRow("without a widget") << "no-widget";
    QTest::newRow("with its widget deleted") << "widget-deleted";
    QTest::newRow("with its widget still connected") << "widget-kept";
}

void ExitTest::isDeletedByQtAfterMain() {
    QFETCH(QString, mode);
    MemoryRobot robot;
    robot.set("Uptime", 1);
    ViewerProcess process(mode, robot.port());
    const bool endsWell = process.endsWell();
    const QByteArray ready = mode == QLatin1String("no-widget") ? "" : "ready\n";
    QCOMPARE(process.output(), QByteArray(ready + "main returns\nroot object deleted\n"));
    QVERIFY(endsWell);
}

void ExitTest::exitWhileValuesFlow() {
    MemoryRobot robot;
    for (int i = 0; i < 500; ++i) {
        robot.set("Joint/" + std::to_string(i), 0);
    }
    robot.set("Uptime", 1);
    ViewerProcess process(QStringLiteral("exit-while-live"), robot.port());
    int value = 0;
    QTimer changes;
    connect(&changes, &QTimer::timeout, this, [&] {
        ++value;
        for (int i = 0; i < 500; ++i) {
            robot.set("Joint/" + std::to_string(i), value);
        }
    });
    changes.start(5);
    const bool endsWell = process.endsWell();
    QCOMPARE(process.output(), QByteArray("ready\nroot object deleted\n"));
    QVERIFY(endsWell);
}

void ExitTest::exitInsideTheReportOfALoss() {
    MemoryRobot robot;
    robot.set("Uptime", 1);
    ViewerProcess process(QStringLiteral("exit-on-loss"), robot.port());
    QVERIFY2(process.waitForLine("ready"), process.output().constData());
    robot.stop();
    const bool endsWell = process.endsWell();
    QCOMPARE(process.output(), QByteArray("ready\nroot object deleted\n"));
    QVERIFY(endsWell);
}

OBVISTA_QTEST_MAIN(ExitTest)
#include "exit_test.moc"

#include "memory_robot.h"
#include "viewer_driver.h"

#include <QAbstractButton>
#include <QDockWidget>
#include <QLineEdit>
#include <QSettings>
#include <QTreeView>
#include <QtTest>
#include <qt_test_main.h>

#include <memory>
#include <string>

using namespace obvista_test;

/** Tests a viewer that connects again, with robots that differ from the lost one. */
class ReturningRobotTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init();
    void cleanup();

    void updatesTheValuesOfARobotThatHadNone();
    void savesTheSettingsOfEachRobot();

  private:
    void xShow(const std::string& name, MemoryRobot::Memory memory);
    /** Makes a robot with one key answer at the same port. */
    void xReplaceRobot(const std::string& name);

    std::unique_ptr<MemoryRobot> fRobot;
    std::unique_ptr<ViewerDriver> fDriver;
    QWidget* fViewer = nullptr;
};

void ReturningRobotTest::init() {
    QSettings().clear();
    QSettings().setValue(QStringLiteral("Viewers/reconnect"), true);
}

void ReturningRobotTest::cleanup() {
    fDriver.reset();
    fRobot.reset();
}

void ReturningRobotTest::xShow(const std::string& name, MemoryRobot::Memory memory) {
    fRobot = std::make_unique<MemoryRobot>(name, memory);
    fRobot->set("Uptime", 1);
    fDriver = std::make_unique<ViewerDriver>();
    fViewer = fDriver->dock(fDriver->createWidget(fRobot->port()))->widget();
    QVERIFY(waitForActive(&fDriver->window()));
}

void ReturningRobotTest::xReplaceRobot(const std::string& name) {
    const int port = fRobot->port();
    fRobot.reset();
    fRobot = std::make_unique<MemoryRobot>(name, MemoryRobot::Memory::Offered, port);
    fRobot->set("Uptime", 2);
}

void ReturningRobotTest::updatesTheValuesOfARobotThatHadNone() {
    xShow("robot", MemoryRobot::Memory::Missing);
    QTRY_VERIFY(messageOf(fViewer).contains(QLatin1String("KVMemory")));
    xReplaceRobot("robot");
    QTRY_COMPARE(valueOf(fViewer, "Uptime"), QStringLiteral("2"));
    const QString age = cellOf(fViewer, "Uptime", "Age");
    QTRY_VERIFY(cellOf(fViewer, "Uptime", "Age") != age);
    const QString status = statusOf(fViewer);
    fRobot->set("Uptime", 3);
    QTRY_COMPARE(valueOf(fViewer, "Uptime"), QStringLiteral("3"));
    QTRY_VERIFY(statusOf(fViewer) != status);
}

void ReturningRobotTest::savesTheSettingsOfEachRobot() {
    QSettings().setValue(QStringLiteral("MemoryViewer/robots/second/filter"),
                         QStringLiteral("time"));
    xShow("first", MemoryRobot::Memory::Offered);
    QTRY_VERIFY(indexOf(fViewer, "Uptime").isValid());
    typeFilter(fViewer, QStringLiteral("up"));
    choose(fViewer, "Uptime");
    QTest::keyClick(treeOf(fViewer), Qt::Key_D, Qt::ControlModifier);
    QTRY_COMPARE(watchOf(fViewer)->model()->rowCount(), 1);

    xReplaceRobot("second");
    auto* connection = fViewer->findChild<QAbstractButton*>(QStringLiteral("connectButton"));
    QTRY_VERIFY(connection->isVisible());
    connection->click();
    QTRY_COMPARE(filterOf(fViewer)->text(), QStringLiteral("time"));
    QCOMPARE(watchOf(fViewer)->model()->rowCount(), 0);
    QTRY_COMPARE(valueOf(fViewer, "Uptime"), QStringLiteral("2"));
    typeFilter(fViewer, QStringLiteral("uptime"));

    const auto filterOfRobot = [](const char* name) {
        return QSettings().value(QStringLiteral("MemoryViewer/robots/%1/filter").arg(name));
    };
    QTRY_COMPARE(filterOfRobot("second").toString(), QStringLiteral("uptime"));
    QCOMPARE(filterOfRobot("first").toString(), QStringLiteral("up"));
}

OBVISTA_QTEST_MAIN(ReturningRobotTest)
#include "returning_robot_test.moc"

#include "memory_robot.h"
#include "viewer_driver.h"

#include <robaxi/kv_error.h>

#include <QDir>
#include <QDockWidget>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QLabel>
#include <QMainWindow>
#include <QPointer>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTreeView>
#include <QtTest>
#include <qt_test_main.h>

#include <child_process.h>
#include <loss_witness.h>
#include <memory>
#include <robot_process.h>
#include <sockets.h>
#include <widget_interface.h>

using namespace obvista_test;

namespace {

constexpr int a_firstBrokerPort = 54010;

/** A dock that refuses to be closed. */
class StubbornDock : public QDockWidget {
  public:
    using QDockWidget::QDockWidget;

  protected:
    void closeEvent(QCloseEvent* event) override { event->ignore(); }
};

KVError::Cause causeOfFailure(ViewerDriver& viewer, int port) {
    try {
        viewer.createWidget(port);
    } catch (const KVError& error) {
        return error.cause();
    }
    return KVError::Cause::Internal;
}

}  // namespace

class PluginTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init();
    void cleanup();

    void needsARobot();
    void showsTheKeysWithLiveValues();
    void showsKeysThatComeAndGo();
    void showsRobotAddressAndKeysInTheStatusLine();
    void saysThatThereAreNoKeys();
    void saysWhyARobotGivesNoValues();
    void showsTextsOfTheRobotAsPlainText();
    void canBeReadByAScreenReader();

    void takesTheFirstFreePort();
    void takesTheGivenPortOnLoopbackOnly();
    void refusesAGivenPortInUse();
    void refusesAPortOutOfRange_data();
    void refusesAPortOutOfRange();
    void closesItsPortWithTheLastWidget();

    void throwsWhenNothingListens();
    void throwsWithinTheBoundWhenNothingAnswers();
    void leavesNothingBehindWhenItFails();
    void connectsAfterAFailure();

    void reportsALossOnce();
    void reportsARobotThatIsKilled();
    void reportsARobotThatFallsSilent();
    void survivesItsDeletionInsideTheReport();
    void survivesTheWidgetsDeletionInsideTheReport();
    void reportsTheLossesOfTwoRobotsWhileADialogIsOpen();
    void saysThatTheRobotIsLostAndKeepsItsValues();

    void isSilentAfterThePluginIsDeleted();
    void isSilentWhenThePluginIsDeletedWithALossUnderWay();
    void closesEveryWidgetOfADeletedPlugin();
    void servesSeveralWidgetsOfOneObject();
    void endsItsConnectionWithItsDock();
    void isSilentWhenItsDockIsClosedWithALossUnderWay();
    void keepsItsConnectionWhenItsDockIsNotClosedAfterAll();
    void reportsALossThatADockHeldBack();
    void forgetsALossThatADockHeldBackWhenThePluginIsDeleted();
    void keepsItsConnectionWhenHidden();
    void followsTheDockItIsMovedTo();
    void endsItsConnectionWhenDeleted();

  private:
    std::unique_ptr<MemoryRobot> fRobot;
    std::unique_ptr<ViewerDriver> fViewer;
};

void PluginTest::init() {
    fRobot = std::make_unique<MemoryRobot>();
    fRobot->set("Joint/HeadYaw/Position", 0.25);
    fRobot->set("Joint/HeadPitch/Position", -1.5);
    fRobot->set("Uptime", 7);
    fViewer = std::make_unique<ViewerDriver>();
}

void PluginTest::cleanup() {
    fViewer.reset();
    fRobot.reset();
}

void PluginTest::needsARobot() {
    QVERIFY(fViewer->plugin()->needsRobotConnection());
}

void PluginTest::showsTheKeysWithLiveValues() {
    QWidget* widget = fViewer->createWidget(fRobot->port());
    QTRY_COMPARE(valueOf(widget, "Joint/HeadYaw/Position"), QStringLiteral("0.25"));
    QTRY_COMPARE(valueOf(widget, "Uptime"), QStringLiteral("7"));
    fRobot->set("Joint/HeadYaw/Position", 0.5);
    QTRY_COMPARE(valueOf(widget, "Joint/HeadYaw/Position"), QStringLiteral("0.5"));
    QCOMPARE(valueOf(widget, "Joint/HeadPitch/Position"), QStringLiteral("-1.5"));
    auto* tree = widget->findChild<QTreeView*>();
    QVERIFY(tree->isExpanded(indexOf(widget, "Joint")));
    QVERIFY(!tree->isExpanded(indexOf(widget, "Joint/HeadYaw")));
}

void PluginTest::showsKeysThatComeAndGo() {
    QWidget* widget = fViewer->createWidget(fRobot->port());
    QTRY_VERIFY(indexOf(widget, "Uptime").isValid());
    fRobot->set("Battery/Charge", 93);
    QTRY_COMPARE(valueOf(widget, "Battery/Charge"), QStringLiteral("93"));
    fRobot->remove("Joint/HeadYaw/Position");
    QTRY_VERIFY(!indexOf(widget, "Joint/HeadYaw").isValid());
    QVERIFY(indexOf(widget, "Joint/HeadPitch/Position").isValid());
}

void PluginTest::showsRobotAddressAndKeysInTheStatusLine() {
    QWidget* widget = fViewer->createWidget(fRobot->port());
    const QString expected = QString::fromUtf8("TestRobot  ·  127.0.0.1:%1  ·  3 keys  ·  ");
    QTRY_VERIFY2(statusOf(widget).startsWith(expected.arg(fRobot->port())),
                 qPrintable(statusOf(widget)));
    QVERIFY(statusOf(widget).endsWith(QLatin1String("updates a second")));
    // With a value that changes all the time, the rate becomes more than nothing.
    int value = 0;
    QTRY_VERIFY2((fRobot->set("Uptime", ++value),
                  !statusOf(widget).contains(QString::fromUtf8("·  0 updates"))),
                 qPrintable(statusOf(widget)));
}

void PluginTest::saysThatThereAreNoKeys() {
    MemoryRobot empty;
    QWidget* widget = fViewer->createWidget(empty.port());
    QTRY_COMPARE(messageOf(widget), QStringLiteral("The robot's memory holds no keys."));
    empty.set("First", 1);
    QTRY_COMPARE(valueOf(widget, "First"), QStringLiteral("1"));
    QCOMPARE(messageOf(widget), QString());
    empty.remove("First");
    QTRY_COMPARE(messageOf(widget), QStringLiteral("The robot's memory holds no keys."));
}

void PluginTest::saysWhyARobotGivesNoValues() {
    MemoryRobot without("Without", MemoryRobot::Memory::Missing);
    QWidget* widget = fViewer->createWidget(without.port());
    QSignalSpy lost(widget, SIGNAL(disconnected(WidgetInterface*)));
    QTRY_VERIFY2(messageOf(widget).startsWith(QLatin1String("The robot gives no values: ")),
                 qPrintable(messageOf(widget)));
    QVERIFY2(messageOf(widget).contains(QLatin1String("KVMemory")), qPrintable(messageOf(widget)));
    QCOMPARE(lost.size(), 0);
    without.stop();
    QTRY_COMPARE(lost.size(), 1);
    QCOMPARE(messageOf(widget), QStringLiteral("The robot is lost."));
}

void PluginTest::showsTextsOfTheRobotAsPlainText() {
    MemoryRobot hostile("<h1>Robot</h1>\n");
    hostile.set("<img src='x'>/\x1b[31m", "<b>bold</b>\r\n");
    hostile.set("Huge", std::string(1'000'000, 'x'));
    QWidget* widget = fViewer->createWidget(hostile.port());
    QTRY_COMPARE(valueOf(widget, "Huge").size(), 1001);
    QTRY_COMPARE(valueOf(widget, R"(<img src='x'>/\x1b[31m)"),
                 QStringLiteral(R"(<b>bold</b>\r\n)"));
    QVERIFY(statusOf(widget).startsWith(QString::fromUtf8("<h1>Robot</h1>\\n  ·")));
    for (const QLabel* label : widget->findChildren<QLabel*>()) {
        QCOMPARE(label->textFormat(), Qt::PlainText);
        QVERIFY(!label->toolTip().contains(QLatin1String("<h1>")));
    }
}

void PluginTest::canBeReadByAScreenReader() {
    QWidget* widget = fViewer->createWidget(fRobot->port());
    QTRY_VERIFY(indexOf(widget, "Uptime").isValid());
    QCOMPARE(widget->findChild<QTreeView*>()->accessibleName(),
             QStringLiteral("Values in the robot's memory"));
    auto* status = widget->findChild<QLabel*>(QStringLiteral("memoryStatus"));
    QTRY_COMPARE(status->accessibleName(), QStringLiteral("Status: ") + status->text());
    QCOMPARE(widget->focusProxy(), static_cast<QWidget*>(widget->findChild<QTreeView*>()));
}

void PluginTest::takesTheFirstFreePort() {
    const int first = firstFreePortFrom(a_firstBrokerPort);
    fViewer->createWidget(fRobot->port());
    QCOMPARE(listeningAddresses(first).size(), 1);

    const int second = firstFreePortFrom(a_firstBrokerPort);
    QVERIFY(second > first);
    ChildProcess other(viewerProcess("widget-live", fRobot->port()));
    QVERIFY2(other.waitForOutput("ready\n"), other.errors().c_str());
    QCOMPARE(listeningAddresses(second).size(), 1);
}

void PluginTest::takesTheGivenPortOnLoopbackOnly() {
    fViewer->plugin()->brokerPort = freePort();
    fViewer->createWidget(fRobot->port());
    const QStringList addresses = listeningAddresses(fViewer->plugin()->brokerPort);
    QCOMPARE(addresses.size(), 1);
    const QStringList loopback{QStringLiteral("0100007F"),
                               QStringLiteral("0000000000000000FFFF00000100007F")};
    QVERIFY2(loopback.contains(addresses.first()), qPrintable(addresses.first()));
}

void PluginTest::refusesAGivenPortInUse() {
    QTcpServer occupant;
    QVERIFY(occupant.listen(QHostAddress::LocalHost));
    fViewer->plugin()->brokerPort = occupant.serverPort();
    QCOMPARE(causeOfFailure(*fViewer, fRobot->port()), KVError::Cause::AddressInUse);

    MemoryRobot broker;
    fViewer->plugin()->brokerPort = broker.port();
    QCOMPARE(causeOfFailure(*fViewer, fRobot->port()), KVError::Cause::AddressInUse);
}

void PluginTest::refusesAPortOutOfRange_data() {
    QTest::addColumn<int>("port");
    QTest::newRow("negative") << -1;
    QTest::newRow("one too large") << 65536;
    QTest::newRow("would be 80 when cut to 16 bits") << 65616;
}

void PluginTest::refusesAPortOutOfRange() {
    QFETCH(int, port);
    fViewer->plugin()->brokerPort = port;
    QCOMPARE(causeOfFailure(*fViewer, fRobot->port()), KVError::Cause::InvalidArgument);
}

void PluginTest::closesItsPortWithTheLastWidget() {
    fViewer->plugin()->brokerPort = freePort();
    std::unique_ptr<QWidget> first(fViewer->createWidget(fRobot->port()));
    std::unique_ptr<QWidget> second(fViewer->createWidget(fRobot->port()));
    first.reset();
    QCOMPARE(listeningAddresses(fViewer->plugin()->brokerPort).size(), 1);
    second.reset();
    QCOMPARE(listeningAddresses(fViewer->plugin()->brokerPort), QStringList());
}

void PluginTest::throwsWhenNothingListens() {
    QCOMPARE(causeOfFailure(*fViewer, freePort()), KVError::Cause::Refused);
    QCOMPARE(causeOfFailure(*fViewer, 0), KVError::Cause::InvalidArgument);
}

void PluginTest::throwsWithinTheBoundWhenNothingAnswers() {
    QTcpServer mute;
    QVERIFY(mute.listen(QHostAddress::LocalHost));
    QElapsedTimer time;
    time.start();
    QCOMPARE(causeOfFailure(*fViewer, mute.serverPort()), KVError::Cause::TimedOut);
    QVERIFY2(time.elapsed() < 4000, qPrintable(QString::number(time.elapsed())));
}

void PluginTest::leavesNothingBehindWhenItFails() {
    fViewer->plugin()->brokerPort = freePort();
    const auto threadCount = [] {
        return QDir(QStringLiteral("/proc/self/task")).entryList(QDir::Dirs).size();
    };
    const int nobody = freePort();
    // The middleware's own pool of threads starts with the first use.
    causeOfFailure(*fViewer, nobody);
    const int threads = threadCount();
    const auto children = fViewer->window().children();
    for (int i = 0; i < 5; ++i) {
        QCOMPARE(causeOfFailure(*fViewer, nobody), KVError::Cause::Refused);
    }
    QTRY_VERIFY(threadCount() <= threads);
    QCOMPARE(fViewer->window().children(), children);
    QCOMPARE(listeningAddresses(fViewer->plugin()->brokerPort), QStringList());
}

void PluginTest::connectsAfterAFailure() {
    QCOMPARE(causeOfFailure(*fViewer, freePort()), KVError::Cause::Refused);
    QWidget* widget = fViewer->createWidget(fRobot->port());
    QTRY_COMPARE(valueOf(widget, "Uptime"), QStringLiteral("7"));
}

void PluginTest::reportsALossOnce() {
    QWidget* widget = fViewer->createWidget(fRobot->port());
    QSignalSpy lost(widget, SIGNAL(disconnected(WidgetInterface*)));
    QTRY_VERIFY(indexOf(widget, "Uptime").isValid());
    QCOMPARE(lost.size(), 0);
    fRobot->stop();
    QTRY_COMPARE(lost.size(), 1);
    QCOMPARE(lost.at(0).at(0).value<WidgetInterface*>(), fViewer->plugin());
    fViewer->letTimePass();
    QCOMPARE(lost.size(), 1);
}

void PluginTest::reportsARobotThatIsKilled() {
    RobotProcess robot;
    QWidget* widget = fViewer->createWidget(robot.port());
    QSignalSpy lost(widget, SIGNAL(disconnected(WidgetInterface*)));
    QTRY_VERIFY(!valueOf(widget, "Battery/Charge").isEmpty());
    robot.kill();
    QTRY_COMPARE(lost.size(), 1);
}

void PluginTest::reportsARobotThatFallsSilent() {
    RobotProcess robot;
    QWidget* widget = fViewer->createWidget(robot.port());
    QSignalSpy lost(widget, SIGNAL(disconnected(WidgetInterface*)));
    QTRY_VERIFY(!valueOf(widget, "Battery/Charge").isEmpty());
    robot.suspend();
    QTRY_COMPARE(lost.size(), 1);
    robot.resume();
    fViewer->letTimePass();
    QCOMPARE(lost.size(), 1);
    QVERIFY(statusOf(widget).endsWith(QLatin1String("robot lost")));
}

void PluginTest::survivesItsDeletionInsideTheReport() {
    QWidget* widget = fViewer->createWidget(fRobot->port());
    int reports = 0;
    fViewer->onDisconnected(widget, [&](WidgetInterface* plugin) {
        ++reports;
        QCOMPARE(plugin, fViewer->plugin());
        fViewer->letTimePass();  // the user looks at a dialog
        fViewer->deletePlugin();
    });
    QTRY_VERIFY(indexOf(widget, "Uptime").isValid());
    fRobot->stop();
    QTRY_VERIFY(!fViewer->plugin());
    fViewer->letTimePass();
    QCOMPARE(reports, 1);
    QCOMPARE(noticeOf(widget),
             QStringLiteral("The robot is lost. These are the last values received."));
}

void PluginTest::survivesTheWidgetsDeletionInsideTheReport() {
    QPointer<QWidget> widget = fViewer->createWidget(fRobot->port());
    fViewer->onDisconnected(widget, [&](WidgetInterface*) {
        delete widget;
        fViewer->deletePlugin();
    });
    fRobot->stop();
    QTRY_VERIFY(!fViewer->plugin());
    QVERIFY(!widget);
    fViewer->letTimePass();
}

void PluginTest::reportsTheLossesOfTwoRobotsWhileADialogIsOpen() {
    MemoryRobot otherRobot("Other");
    QWidget* first = fViewer->createWidget(fRobot->port());
    QWidget* second = fViewer->createWidget(otherRobot.port());
    int firstReports = 0;
    int secondReports = 0;
    QEventLoop dialog;
    fViewer->onDisconnected(first, [&](WidgetInterface*) {
        ++firstReports;
        otherRobot.stop();
        dialog.exec();
        fViewer->deletePlugin();
    });
    fViewer->onDisconnected(second, [&](WidgetInterface*) {
        ++secondReports;
        dialog.quit();
    });
    fRobot->stop();
    QTRY_VERIFY(!fViewer->plugin());
    fViewer->letTimePass();
    QCOMPARE(firstReports, 1);
    QCOMPARE(secondReports, 1);
}

void PluginTest::saysThatTheRobotIsLostAndKeepsItsValues() {
    QWidget* widget = fViewer->createWidget(fRobot->port());
    QTRY_COMPARE(valueOf(widget, "Uptime"), QStringLiteral("7"));
    QCOMPARE(noticeOf(widget), QString());
    fRobot->stop();
    QTRY_COMPARE(noticeOf(widget),
                 QStringLiteral("The robot is lost. These are the last values received."));
    QCOMPARE(valueOf(widget, "Uptime"), QStringLiteral("7"));
    QVERIFY(statusOf(widget).endsWith(QLatin1String("robot lost")));
}

void PluginTest::isSilentAfterThePluginIsDeleted() {
    QWidget* widget = fViewer->createWidget(fRobot->port());
    QSignalSpy lost(widget, SIGNAL(disconnected(WidgetInterface*)));
    QTRY_COMPARE(valueOf(widget, "Uptime"), QStringLiteral("7"));
    fViewer->deletePlugin();
    QCOMPARE(connectionsTo(fRobot->port()), 0);
    fRobot->stop();
    QTRY_COMPARE(noticeOf(widget),
                 QStringLiteral("The connection is closed. These are the last values received."));
    QVERIFY(statusOf(widget).endsWith(QLatin1String("connection closed")));
    fViewer->letTimePass();
    QCOMPARE(lost.size(), 0);
}

void PluginTest::isSilentWhenThePluginIsDeletedWithALossUnderWay() {
    QWidget* widget = fViewer->createWidget(fRobot->port());
    QSignalSpy lost(widget, SIGNAL(disconnected(WidgetInterface*)));
    QTRY_VERIFY(indexOf(widget, "Uptime").isValid());
    LossWitness witness(fRobot->port());
    fRobot->stop();
    QVERIFY(witness.wait());
    fViewer->deletePlugin();
    fViewer->letTimePass();
    QCOMPARE(lost.size(), 0);
    QVERIFY(statusOf(widget).endsWith(QLatin1String("connection closed")));
}

void PluginTest::closesEveryWidgetOfADeletedPlugin() {
    QWidget* first = fViewer->createWidget(fRobot->port());
    QWidget* second = fViewer->createWidget(fRobot->port());
    fViewer->deletePlugin();
    for (QWidget* widget : {first, second}) {
        QTRY_VERIFY(statusOf(widget).endsWith(QLatin1String("connection closed")));
    }
}

void PluginTest::servesSeveralWidgetsOfOneObject() {
    MemoryRobot otherRobot("Other");
    otherRobot.set("Only/Here", 1);
    fViewer->plugin()->brokerPort = freePort();
    QWidget* first = fViewer->createWidget(fRobot->port());
    QWidget* second = fViewer->createWidget(otherRobot.port());
    QSignalSpy firstLost(first, SIGNAL(disconnected(WidgetInterface*)));
    QSignalSpy secondLost(second, SIGNAL(disconnected(WidgetInterface*)));
    QTRY_VERIFY(indexOf(second, "Only/Here").isValid());
    QTRY_VERIFY(indexOf(first, "Uptime").isValid());
    QVERIFY(!indexOf(first, "Only").isValid());

    otherRobot.stop();
    QTRY_COMPARE(secondLost.size(), 1);
    QCOMPARE(firstLost.size(), 0);
    fRobot->set("Uptime", 8);
    QTRY_COMPARE(valueOf(first, "Uptime"), QStringLiteral("8"));
}

void PluginTest::endsItsConnectionWithItsDock() {
    MemoryRobot otherRobot("Other");
    otherRobot.set("Uptime", 1);
    QDockWidget* firstDock = fViewer->dock(fViewer->createWidget(fRobot->port()));
    QDockWidget* secondDock = fViewer->dock(fViewer->createWidget(otherRobot.port()));
    QSignalSpy firstLost(firstDock->widget(), SIGNAL(disconnected(WidgetInterface*)));
    QTRY_COMPARE(valueOf(secondDock->widget(), "Uptime"), QStringLiteral("1"));
    QCOMPARE(connectionsTo(fRobot->port()), 1);

    QVERIFY(firstDock->close());
    QTRY_COMPARE(connectionsTo(fRobot->port()), 0);
    QTRY_VERIFY(statusOf(firstDock->widget()).endsWith(QLatin1String("connection closed")));
    fRobot->stop();
    otherRobot.set("Uptime", 2);
    QTRY_COMPARE(valueOf(secondDock->widget(), "Uptime"), QStringLiteral("2"));
    QCOMPARE(firstLost.size(), 0);
}

void PluginTest::isSilentWhenItsDockIsClosedWithALossUnderWay() {
    QDockWidget* dock = fViewer->dock(fViewer->createWidget(fRobot->port()));
    QSignalSpy lost(dock->widget(), SIGNAL(disconnected(WidgetInterface*)));
    QTRY_VERIFY(indexOf(dock->widget(), "Uptime").isValid());
    LossWitness witness(fRobot->port());
    fRobot->stop();
    QVERIFY(witness.wait());
    QVERIFY(dock->close());
    fViewer->letTimePass();
    QCOMPARE(lost.size(), 0);
}

void PluginTest::keepsItsConnectionWhenItsDockIsNotClosedAfterAll() {
    StubbornDock dock(QStringLiteral("stubborn"), &fViewer->window());
    QWidget* widget = fViewer->createWidget(fRobot->port());
    dock.setWidget(widget);
    fViewer->window().addDockWidget(Qt::TopDockWidgetArea, &dock);
    QVERIFY(!dock.close());
    fViewer->letTimePass();
    fRobot->set("Uptime", 8);
    QTRY_COMPARE(valueOf(widget, "Uptime"), QStringLiteral("8"));
}

void PluginTest::reportsALossThatADockHeldBack() {
    StubbornDock dock(QStringLiteral("stubborn"), &fViewer->window());
    QWidget* widget = fViewer->createWidget(fRobot->port());
    QSignalSpy lost(widget, SIGNAL(disconnected(WidgetInterface*)));
    dock.setWidget(widget);
    fViewer->window().addDockWidget(Qt::TopDockWidgetArea, &dock);
    QTRY_VERIFY(indexOf(widget, "Uptime").isValid());
    fRobot->stop();
    QVERIFY(!dock.close());
    QTRY_COMPARE(lost.size(), 1);
}

void PluginTest::forgetsALossThatADockHeldBackWhenThePluginIsDeleted() {
    StubbornDock dock(QStringLiteral("stubborn"), &fViewer->window());
    QWidget* widget = fViewer->createWidget(fRobot->port());
    QSignalSpy lost(widget, SIGNAL(disconnected(WidgetInterface*)));
    dock.setWidget(widget);
    QTRY_VERIFY(indexOf(widget, "Uptime").isValid());
    LossWitness witness(fRobot->port());
    fRobot->stop();
    QVERIFY(witness.wait());
    QVERIFY(!dock.close());
    fViewer->deletePlugin();
    fViewer->letTimePass();
    QCOMPARE(lost.size(), 0);
}

void PluginTest::keepsItsConnectionWhenHidden() {
    QDockWidget* dock = fViewer->dock(fViewer->createWidget(fRobot->port()));
    QWidget* widget = dock->widget();
    QDockWidget* cover = fViewer->dock(new QLabel(QStringLiteral("cover")));
    int value = 100;
    const auto staysLive = [&] {
        fRobot->set("Uptime", ++value);
        return QTest::qWaitFor([&] { return valueOf(widget, "Uptime") == QString::number(value); });
    };
    dock->hide();
    QVERIFY(staysLive());
    dock->show();
    fViewer->window().tabifyDockWidget(dock, cover);
    QTest::ignoreMessage(QtWarningMsg, "This plugin does not support raise()");
    cover->raise();
    QVERIFY(staysLive());
    dock->setFloating(true);
    QVERIFY(staysLive());
    dock->setFloating(false);
    fViewer->window().hide();
    QVERIFY(staysLive());
    fViewer->window().show();
    fViewer->window().close();
    QVERIFY(staysLive());
}

void PluginTest::followsTheDockItIsMovedTo() {
    QDockWidget* left = fViewer->dock(fViewer->createWidget(fRobot->port()));
    QWidget* widget = left->widget();
    QDockWidget* moved = fViewer->dock(widget);
    QVERIFY(left->close());
    fViewer->letTimePass();
    QCOMPARE(connectionsTo(fRobot->port()), 1);
    QVERIFY(moved->close());
    QTRY_COMPARE(connectionsTo(fRobot->port()), 0);
}

void PluginTest::endsItsConnectionWhenDeleted() {
    std::unique_ptr<QWidget> widget(fViewer->createWidget(fRobot->port()));
    QTRY_VERIFY(indexOf(widget.get(), "Uptime").isValid());
    widget.reset();
    QCOMPARE(connectionsTo(fRobot->port()), 0);
    fViewer->deletePlugin();
}

OBVISTA_QTEST_MAIN(PluginTest)
#include "plugin_test.moc"

#include "viewer_case.h"
#include "viewer_process_command.h"

#include <obvista/widget_interface.h>
#include <robaxi/kv_broker.h>
#include <robaxi/kv_connection.h>
#include <robaxi/kv_error.h>

#include <QAbstractButton>
#include <QAction>
#include <QDialog>
#include <QDir>
#include <QDockWidget>
#include <QElapsedTimer>
#include <QLabel>
#include <QMainWindow>
#include <QMenu>
#include <QPointer>
#include <QRegularExpression>
#include <QSettings>
#include <QSignalSpy>
#include <QTcpServer>
#include <QToolButton>
#include <QtTest>
#include <qt_test_main.h>

#include <algorithm>
#include <announced.h>
#include <child_process.h>
#include <eventually.h>
#include <loss_witness.h>
#include <memory>
#include <plugin_driver.h>
#include <process_figures.h>
#include <robot_process.h>
#include <sockets.h>

using namespace obvista_test;
using namespace obvista_test::viewer_case;

namespace {

constexpr int a_firstBrokerPort = 54010;

/** A dock that refuses to be closed. */
class StubbornDock : public QDockWidget {
  public:
    using QDockWidget::QDockWidget;

  protected:
    void closeEvent(QCloseEvent* event) override { event->ignore(); }
};

/** Returns the sentence of the kit's banner; empty if there is none. */
QString bannerOf(QWidget* viewer) {
    return labelText(viewer, "viewerBanner");
}

/** Returns the seconds of silence that the banner says; -1 if it says something else. */
int secondsWithoutAnswer(QWidget* viewer) {
    const QRegularExpression sentence(QStringLiteral("^No answer for (\\d+) s$"));
    const QRegularExpressionMatch match = sentence.match(bannerOf(viewer));
    return match.hasMatch() ? match.captured(1).toInt() : -1;
}

KVError::Cause causeOfFailure(PluginDriver& viewer, int port) {
    try {
        viewer.createWidget(port);
    } catch (const KVError& error) {
        return error.cause();
    }
    return KVError::Cause::Internal;
}

/** Connects to a robot, which answers. */
std::shared_ptr<KVConnection> visit(int port) {
    constexpr double timeOut = 30;
    return KVConnection::open(KVBroker::createBroker({"Visitor"}), "127.0.0.1", port, timeOut);
}

}  // namespace

/** Tests every viewer plugin's handling of ports, connections, losses and docks. */
class LifeCycleTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init();
    void cleanup();

    void needsARobot();

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
    void reportsARobotThatStaysSilent();
    void saysHowLongARobotHasNotAnswered();
    void connectsAgainWhenTheRobotReturns();
    void connectsAgainToARobotThatIsKilled();
    void givesUpWhenTheUserDoes();
    void asksBeforeItConnectsToAnotherRobot();
    void followsAnAnnouncedRobotToAnotherPort();
    void followsARobotWhoseAddressAnotherGot();
    void hasOneSettingForEveryOpenViewer();
    void closesWhileItTriesToConnectAgain();
    void survivesItsDeletionInsideTheReport();
    void survivesTheWidgetsDeletionInsideTheReport();
    void reportsTheLossesOfTwoRobotsWhileADialogIsOpen();

    void isSilentAfterThePluginIsDeleted();
    void isSilentWhenThePluginIsDeletedWithALossUnderWay();
    void closesEveryWidgetOfADeletedPlugin();
    void servesSeveralWidgetsOfOneObject();
    void endsItsConnectionWithItsDock();
    void isSilentWhenItsDockIsClosedWithALossUnderWay();
    void keepsItsConnectionWhenItsDockIsNotClosedAfterAll();
    void reportsALossThatADockHeldBack();
    void forgetsALossThatADockHeldBackWhenThePluginIsDeleted();
    void followsTheDockItIsMovedTo();
    void endsItsConnectionWhenDeleted();
    void closesWithoutWaitingForASilentRobot();

  private:
    /** Returns a viewer in a visible dock. */
    QWidget* xShow(const ShownRobot& robot);
    /** Returns one that shows the robot's value, and connects again when the robot is lost. */
    QWidget* xShowPersistent();
    void xLoseRobot();

    std::unique_ptr<ShownRobot> fRobot;
    std::unique_ptr<PluginDriver> fViewer;
};

void LifeCycleTest::init() {
    QSettings().clear();
    fRobot = makeRobot();
    fRobot->show(7);
    fViewer = std::make_unique<PluginDriver>(pluginName());
}

void LifeCycleTest::cleanup() {
    fViewer.reset();
    fRobot.reset();
}

QWidget* LifeCycleTest::xShow(const ShownRobot& robot) {
    QWidget* widget = fViewer->createWidget(robot.port());
    fViewer->dock(widget);
    return widget;
}

QWidget* LifeCycleTest::xShowPersistent() {
    QSettings().setValue(QStringLiteral("Viewers/reconnect"), true);
    QWidget* widget = xShow(*fRobot);
    return waitFor([&] { return shows(widget, 7); }) ? widget : nullptr;
}

void LifeCycleTest::xLoseRobot() {
    fRobot->stop();
    fRobot.reset();
}

void LifeCycleTest::needsARobot() {
    QVERIFY(fViewer->plugin()->needsRobotConnection());
}

void LifeCycleTest::takesTheFirstFreePort() {
    // Other programs may open and close ports at the same time; then it is tried again.
    std::unique_ptr<QWidget> widget;
    int first = 0;
    QVERIFY(waitFor([&] {
        widget.reset();
        first = firstFreePortFrom(a_firstBrokerPort);
        widget.reset(fViewer->createWidget(fRobot->port()));
        return listensOn("self", first);
    }));
    QVERIFY(waitFor([&] {
        const int second = firstFreePortFrom(a_firstBrokerPort);
        ChildProcess other(viewerProcess(pluginName(), "widget-live", fRobot->port()));
        return other.waitForOutput("ready\n") && listensOn(std::to_string(other.pid()), second);
    }));
}

void LifeCycleTest::takesTheGivenPortOnLoopbackOnly() {
    fViewer->plugin()->brokerPort = freePort();
    fViewer->createWidget(fRobot->port());
    const QStringList addresses = listeningAddresses(fViewer->plugin()->brokerPort);
    QCOMPARE(addresses.size(), 1);
    const QStringList loopback{QStringLiteral("0100007F"),
                               QStringLiteral("0000000000000000FFFF00000100007F")};
    QVERIFY2(loopback.contains(addresses.first()), qPrintable(addresses.first()));
}

void LifeCycleTest::refusesAGivenPortInUse() {
    QTcpServer occupant;
    QVERIFY(occupant.listen(QHostAddress::LocalHost));
    fViewer->plugin()->brokerPort = occupant.serverPort();
    QCOMPARE(causeOfFailure(*fViewer, fRobot->port()), KVError::Cause::AddressInUse);

    fViewer->plugin()->brokerPort = fRobot->port();
    QCOMPARE(causeOfFailure(*fViewer, fRobot->port()), KVError::Cause::AddressInUse);
}

void LifeCycleTest::refusesAPortOutOfRange_data() {
    QTest::addColumn<int>("port");
    QTest::newRow("negative") << -1;
    QTest::newRow("one too large") << 65536;
    QTest::newRow("would be 80 when cut to 16 bits") << 65616;
}

void LifeCycleTest::refusesAPortOutOfRange() {
    QFETCH(int, port);
    fViewer->plugin()->brokerPort = port;
    QCOMPARE(causeOfFailure(*fViewer, fRobot->port()), KVError::Cause::InvalidArgument);
}

void LifeCycleTest::closesItsPortWithTheLastWidget() {
    fViewer->plugin()->brokerPort = freePort();
    std::unique_ptr<QWidget> first(fViewer->createWidget(fRobot->port()));
    std::unique_ptr<QWidget> second(fViewer->createWidget(fRobot->port()));
    first.reset();
    QCOMPARE(listeningAddresses(fViewer->plugin()->brokerPort).size(), 1);
    second.reset();
    QCOMPARE(listeningAddresses(fViewer->plugin()->brokerPort), QStringList());
}

void LifeCycleTest::throwsWhenNothingListens() {
    QCOMPARE(causeOfFailure(*fViewer, freePort()), KVError::Cause::Refused);
    QCOMPARE(causeOfFailure(*fViewer, 0), KVError::Cause::InvalidArgument);
}

void LifeCycleTest::throwsWithinTheBoundWhenNothingAnswers() {
    QTcpServer mute;
    QVERIFY(mute.listen(QHostAddress::LocalHost));
    QElapsedTimer time;
    time.start();
    QCOMPARE(causeOfFailure(*fViewer, mute.serverPort()), KVError::Cause::TimedOut);
    // Five times 2.5 s, on a busy machine; the peer never answers.
    QVERIFY2(time.elapsed() < 12500, qPrintable(QString::number(time.elapsed())));
}

void LifeCycleTest::leavesNothingBehindWhenItFails() {
    fViewer->plugin()->brokerPort = freePort();
    const auto threadCount = [] {
        return QDir(QStringLiteral("/proc/self/task")).entryList(QDir::Dirs).size();
    };
    const int nobody = freePort();
    // The middleware's thread pool starts with the first use.
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

void LifeCycleTest::connectsAfterAFailure() {
    QCOMPARE(causeOfFailure(*fViewer, freePort()), KVError::Cause::Refused);
    QWidget* widget = xShow(*fRobot);
    QTRY_VERIFY(shows(widget, 7));
}

void LifeCycleTest::reportsALossOnce() {
    QWidget* widget = fViewer->createWidget(fRobot->port());
    QSignalSpy lost(widget, SIGNAL(disconnected(WidgetInterface*)));
    QTRY_VERIFY(isLive(widget));
    QCOMPARE(lost.size(), 0);
    fRobot->stop();
    QTRY_COMPARE(lost.size(), 1);
    QCOMPARE(lost.at(0).at(0).value<WidgetInterface*>(), fViewer->plugin());
    settle(widget);
    QCOMPARE(lost.size(), 1);
}

void LifeCycleTest::reportsARobotThatIsKilled() {
    RobotProcess robot;
    QWidget* widget = fViewer->createWidget(robot.port());
    QSignalSpy lost(widget, SIGNAL(disconnected(WidgetInterface*)));
    QTRY_VERIFY(isLive(widget));
    robot.kill();
    QTRY_COMPARE(lost.size(), 1);
}

void LifeCycleTest::reportsARobotThatStaysSilent() {
    fViewer.reset();
    qputenv("ROBAXI_SILENCE", "2000");  // of the broker that the plugin creates
    fViewer = std::make_unique<PluginDriver>(pluginName());
    RobotProcess robot;
    QWidget* widget = fViewer->createWidget(robot.port());
    QSignalSpy lost(widget, SIGNAL(disconnected(WidgetInterface*)));
    QTRY_VERIFY(isLive(widget));
    robot.suspend();
    QTRY_COMPARE(lost.size(), 1);
    robot.resume();
    visit(robot.port());
    settle(widget);
    QCOMPARE(lost.size(), 1);
    QVERIFY(saysLost(widget));
    qunsetenv("ROBAXI_SILENCE");
}

void LifeCycleTest::saysHowLongARobotHasNotAnswered() {
    RobotProcess robot;
    QWidget* widget = fViewer->createWidget(robot.port());
    QSignalSpy lost(widget, SIGNAL(disconnected(WidgetInterface*)));
    QTRY_VERIFY(isLive(widget));
    const auto* banner = widget->findChild<QLabel*>(QStringLiteral("viewerBanner"));
    QVERIFY(banner != nullptr);
    robot.suspend();
    QTRY_VERIFY(secondsWithoutAnswer(widget) >= 1);
    const int before = secondsWithoutAnswer(widget);
    QTRY_VERIFY(secondsWithoutAnswer(widget) > before);
    robot.resume();
    QTRY_VERIFY(!banner->text().contains(QLatin1String("No answer")));
    QTRY_VERIFY(isLive(widget));
    QCOMPARE(lost.size(), 0);
}

/** The number of returns can be set for tests by hand. */
void LifeCycleTest::connectsAgainWhenTheRobotReturns() {
    const int returns = std::max(qEnvironmentVariableIntValue("OBVISTA_TEST_RETURNS"), 3);
    QWidget* widget = xShowPersistent();
    QVERIFY(widget != nullptr);
    QSignalSpy lost(widget, SIGNAL(disconnected(WidgetInterface*)));
    const int port = fRobot->port();
    qint64 longest = 0;
    for (int i = 1; i <= returns; ++i) {
        xLoseRobot();
        QTRY_VERIFY(bannerOf(widget).startsWith(QLatin1String("Lost ")));
        QVERIFY2(bannerOf(widget).contains(QLatin1String(" s ago; trying again")),
                 qPrintable(bannerOf(widget)));
        fRobot = makeRobot("TestRobot", port);
        QElapsedTimer time;
        time.start();
        const int value = i % 100;
        QTRY_VERIFY2((fRobot->show(value), shows(widget, value)), qPrintable(bannerOf(widget)));
        longest = std::max(longest, time.elapsed());
        QTRY_COMPARE(bannerOf(widget), QString());
    }
    QCOMPARE(lost.size(), 0);
    qInfo("%d returns, values after %lld ms at most", returns, longest);
}

void LifeCycleTest::connectsAgainToARobotThatIsKilled() {
    const int returns = std::max(qEnvironmentVariableIntValue("OBVISTA_TEST_RETURNS"), 6);
    constexpr int firstReturns = 2;
    auto robot = std::make_unique<RobotProcess>();
    RobotProcess::Settings settings;
    settings.fPort = robot->port();
    QWidget* widget = fViewer->createWidget(robot->port());
    fViewer->dock(widget);
    auto* reconnect = widget->findChild<QAction*>(QStringLiteral("reconnectAction"));
    QVERIFY(!reconnect->isChecked());
    reconnect->trigger();
    QVERIFY(QSettings().value(QStringLiteral("Viewers/reconnect")).toBool());
    QSignalSpy lost(widget, SIGNAL(disconnected(WidgetInterface*)));
    QTRY_VERIFY(isLive(widget));
    std::size_t threads = 0;
    std::size_t descriptors = 0;
    qint64 longest = 0;
    for (int i = 1; i <= returns; ++i) {
        robot->kill();
        QTRY_VERIFY(bannerOf(widget).startsWith(QLatin1String("Lost ")));
        QCOMPARE(connectionsTo(settings.fPort), 0);
        robot = std::make_unique<RobotProcess>(settings);
        QElapsedTimer time;
        time.start();
        QTRY_VERIFY2(bannerOf(widget).isEmpty(), qPrintable(bannerOf(widget)));
        longest = std::max(longest, time.elapsed());
        // The middleware's pools grow to their size during the first returns.
        if (i == firstReturns) {
            threads = countThreads();
            descriptors = countDescriptors();
        }
    }
    qInfo("%d kills, live after %lld ms at most; threads %zu, then %zu; descriptors %zu, then %zu",
          returns, longest, threads, countThreads(), descriptors, countDescriptors());
    // Fewer than one for each return: a pool may still grow by one.
    const std::size_t leak = static_cast<std::size_t>(returns - firstReturns);
    QTRY_VERIFY(countThreads() < threads + leak);
    QTRY_VERIFY(countDescriptors() < descriptors + leak);
    QCOMPARE(lost.size(), 0);
}

void LifeCycleTest::givesUpWhenTheUserDoes() {
    QWidget* widget = xShowPersistent();
    QVERIFY(widget != nullptr);
    QSignalSpy lost(widget, SIGNAL(disconnected(WidgetInterface*)));
    const int port = fRobot->port();
    xLoseRobot();
    auto* giveUp = widget->findChild<QAbstractButton*>(QStringLiteral("giveUpButton"));
    QTRY_VERIFY(giveUp->isVisible());
    QVERIFY(!saysLost(widget));
    // It has tried several times then.
    QTRY_VERIFY(!bannerOf(widget).startsWith(QLatin1String("Lost 0 s")));
    QCOMPARE(lost.size(), 0);
    giveUp->click();
    QTRY_COMPARE(lost.size(), 1);
    QVERIFY(saysLost(widget));
    QVERIFY(!giveUp->isVisible());
    fRobot = makeRobot("TestRobot", port);
    const auto visitor = visit(port);
    settle(widget);
    QCOMPARE(lost.size(), 1);
    QCOMPARE(connectionsTo(port), 1);  // that of the visitor
}

void LifeCycleTest::asksBeforeItConnectsToAnotherRobot() {
    QWidget* widget = xShowPersistent();
    QVERIFY(widget != nullptr);
    const int port = fRobot->port();
    xLoseRobot();
    fRobot = makeRobot("OtherRobot", port);
    fRobot->show(9);
    QTRY_COMPARE(
        bannerOf(widget),
        QStringLiteral("\"OtherRobot\" answers in the place of \"TestRobot\". Connect to it?"));
    QWidget* other = xShow(*fRobot);
    QTRY_VERIFY(shows(other, 9));
    QVERIFY(shows(widget, 7));
    delete other;
    xLoseRobot();
    QTRY_VERIFY(bannerOf(widget).startsWith(QLatin1String("Lost ")));

    fRobot = makeRobot("OtherRobot", port);
    auto* connection = widget->findChild<QAbstractButton*>(QStringLiteral("connectButton"));
    QTRY_VERIFY(connection->isVisible());
    connection->click();
    QTRY_VERIFY((fRobot->show(9), shows(widget, 9)));
    QCOMPARE(labelText(widget, "robotName"), QStringLiteral("OtherRobot"));
    QCOMPARE(bannerOf(widget), QString());
}

void LifeCycleTest::followsAnAnnouncedRobotToAnotherPort() {
    Announced announced;
    announced.robot("robot.local", fRobot->port(), "127.0.0.1");
    QWidget* widget = xShowPersistent();
    QVERIFY(widget != nullptr);
    xLoseRobot();
    QTRY_VERIFY(bannerOf(widget).startsWith(QLatin1String("Lost ")));
    fRobot = makeRobot();
    announced.robot("robot.local", fRobot->port(), "127.0.0.1");
    QTRY_VERIFY((fRobot->show(8), shows(widget, 8)));
    const auto* address = widget->findChild<QLabel*>(QStringLiteral("robotAddress"));
    QCOMPARE(address->text(), QStringLiteral("127.0.0.1:%1").arg(fRobot->port()));
}

void LifeCycleTest::followsARobotWhoseAddressAnotherGot() {
    RobotProcess robot;
    Announced announced;
    announced.robot("robot.local", robot.port(), "127.0.0.1");
    QSettings().setValue(QStringLiteral("Viewers/reconnect"), true);
    QWidget* widget = fViewer->createWidget(robot.port());
    fViewer->dock(widget);
    QTRY_VERIFY(isLive(widget));
    robot.suspend();
    QTRY_VERIFY(secondsWithoutAnswer(widget) >= 1);
    announced.withdraw("robot.local");
    announced.robot("other.local", robot.port(), "127.0.0.1");
    const int before = secondsWithoutAnswer(widget);
    QTRY_VERIFY(secondsWithoutAnswer(widget) > before + 1);
    robot.kill();
    QTRY_VERIFY(bannerOf(widget).startsWith(QLatin1String("Lost ")));
    RobotProcess moved;
    announced.robot("robot.local", moved.port(), "127.0.0.1");
    QTRY_COMPARE(bannerOf(widget), QString());
    const auto* address = widget->findChild<QLabel*>(QStringLiteral("robotAddress"));
    QCOMPARE(address->text(), QStringLiteral("127.0.0.1:%1").arg(moved.port()));
}

void LifeCycleTest::hasOneSettingForEveryOpenViewer() {
    QWidget* first = xShow(*fRobot);
    QWidget* second = xShow(*fRobot);
    QTRY_VERIFY(isLive(first) && isLive(second));
    const auto actionOf = [](QWidget* viewer) {
        return viewer->findChild<QAction*>(QStringLiteral("reconnectAction"));
    };
    actionOf(first)->trigger();
    auto* button = second->findChild<QToolButton*>(QStringLiteral("connectionButton"));
    Q_EMIT button->menu()->aboutToShow();
    QVERIFY(actionOf(second)->isChecked());
    actionOf(second)->trigger();
    QVERIFY(actionOf(first)->isChecked());  // until its menu opens
    xLoseRobot();
    QTRY_VERIFY(saysLost(first) && saysLost(second));
}

void LifeCycleTest::closesWhileItTriesToConnectAgain() {
    constexpr qint64 attempt = 2000;  // until the viewer gives up a server that does not answer
    int losses = 0;
    QVERIFY(isOnceBelow(attempt - 500, [&] {
        cleanup();
        init();
        QWidget* widget = xShowPersistent();
        if (widget == nullptr) {
            return attempt;
        }
        QSignalSpy lost(widget, SIGNAL(disconnected(WidgetInterface*)));
        const int port = fRobot->port();
        xLoseRobot();
        QTcpServer mute;
        QSignalSpy visitors(&mute, &QTcpServer::newConnection);
        if (!mute.listen(QHostAddress::LocalHost, static_cast<quint16>(port)) ||
            !waitFor([&] { return !visitors.isEmpty(); })) {
            return attempt;
        }
        QElapsedTimer time;
        time.start();
        fViewer->deletePlugin();
        const bool isClosed = waitFor([&] { return saysClosed(widget); });
        losses += lost.size();
        return isClosed ? time.elapsed() : attempt;
    }));
    QCOMPARE(losses, 0);
}

void LifeCycleTest::survivesItsDeletionInsideTheReport() {
    QWidget* widget = fViewer->createWidget(fRobot->port());
    int reports = 0;
    fViewer->onDisconnected(widget, [&](WidgetInterface* plugin) {
        ++reports;
        QCOMPARE(plugin, fViewer->plugin());
        settle(widget);  // simulates a user who reads a dialog
        fViewer->deletePlugin();
    });
    QTRY_VERIFY(isLive(widget));
    fRobot->stop();
    QTRY_VERIFY(!fViewer->plugin());
    settle(widget);
    QCOMPARE(reports, 1);
    QVERIFY(saysLost(widget));
}

void LifeCycleTest::survivesTheWidgetsDeletionInsideTheReport() {
    QPointer<QWidget> widget = fViewer->createWidget(fRobot->port());
    fViewer->onDisconnected(widget, [&](WidgetInterface*) {
        delete widget;
        fViewer->deletePlugin();
    });
    fRobot->stop();
    QTRY_VERIFY(!fViewer->plugin());
    QVERIFY(!widget);
    QCoreApplication::sendPostedEvents();
}

void LifeCycleTest::reportsTheLossesOfTwoRobotsWhileADialogIsOpen() {
    const std::unique_ptr<ShownRobot> otherRobot = makeRobot();
    QWidget* first = fViewer->createWidget(fRobot->port());
    QWidget* second = fViewer->createWidget(otherRobot->port());
    int firstReports = 0;
    int secondReports = 0;
    QDialog dialog;
    fViewer->onDisconnected(first, [&](WidgetInterface*) {
        ++firstReports;
        otherRobot->stop();
        dialog.exec();
        fViewer->deletePlugin();
    });
    fViewer->onDisconnected(second, [&](WidgetInterface*) {
        ++secondReports;
        dialog.accept();
    });
    fRobot->stop();
    QTRY_VERIFY(!fViewer->plugin());
    settle(first);
    settle(second);
    QCOMPARE(firstReports, 1);
    QCOMPARE(secondReports, 1);
}

void LifeCycleTest::isSilentAfterThePluginIsDeleted() {
    QWidget* widget = fViewer->createWidget(fRobot->port());
    QSignalSpy lost(widget, SIGNAL(disconnected(WidgetInterface*)));
    QTRY_VERIFY(isLive(widget));
    fViewer->deletePlugin();
    QTRY_COMPARE(connectionsTo(fRobot->port()), 0);
    fRobot->stop();
    QTRY_VERIFY(saysClosed(widget));
    settle(widget);
    QCOMPARE(lost.size(), 0);
}

void LifeCycleTest::isSilentWhenThePluginIsDeletedWithALossUnderWay() {
    QWidget* widget = fViewer->createWidget(fRobot->port());
    QSignalSpy lost(widget, SIGNAL(disconnected(WidgetInterface*)));
    QTRY_VERIFY(isLive(widget));
    LossWitness witness(fRobot->port());
    fRobot->stop();
    QVERIFY(witness.wait());
    fViewer->deletePlugin();
    settle(widget);
    QCOMPARE(lost.size(), 0);
    QVERIFY(saysClosed(widget));
}

void LifeCycleTest::closesEveryWidgetOfADeletedPlugin() {
    QWidget* first = fViewer->createWidget(fRobot->port());
    QWidget* second = fViewer->createWidget(fRobot->port());
    fViewer->deletePlugin();
    for (QWidget* widget : {first, second}) {
        QTRY_VERIFY(saysClosed(widget));
    }
}

void LifeCycleTest::servesSeveralWidgetsOfOneObject() {
    const std::unique_ptr<ShownRobot> otherRobot = makeRobot();
    otherRobot->show(90);
    fViewer->plugin()->brokerPort = freePort();
    QWidget* first = xShow(*fRobot);
    QWidget* second = xShow(*otherRobot);
    QSignalSpy firstLost(first, SIGNAL(disconnected(WidgetInterface*)));
    QSignalSpy secondLost(second, SIGNAL(disconnected(WidgetInterface*)));
    QTRY_VERIFY(shows(second, 90));
    QTRY_VERIFY(shows(first, 7));

    otherRobot->stop();
    QTRY_COMPARE(secondLost.size(), 1);
    QCOMPARE(firstLost.size(), 0);
    fRobot->show(8);
    QTRY_VERIFY(shows(first, 8));
}

void LifeCycleTest::endsItsConnectionWithItsDock() {
    const std::unique_ptr<ShownRobot> otherRobot = makeRobot();
    otherRobot->show(1);
    QDockWidget* firstDock = fViewer->dock(fViewer->createWidget(fRobot->port()));
    QDockWidget* secondDock = fViewer->dock(fViewer->createWidget(otherRobot->port()));
    QSignalSpy firstLost(firstDock->widget(), SIGNAL(disconnected(WidgetInterface*)));
    QTRY_VERIFY(shows(secondDock->widget(), 1));
    QTRY_COMPARE(connectionsTo(fRobot->port()), 1);

    QVERIFY(firstDock->close());
    QTRY_COMPARE(connectionsTo(fRobot->port()), 0);
    QTRY_VERIFY(saysClosed(firstDock->widget()));
    fRobot->stop();
    otherRobot->show(2);
    QTRY_VERIFY(shows(secondDock->widget(), 2));
    QCOMPARE(firstLost.size(), 0);
}

void LifeCycleTest::isSilentWhenItsDockIsClosedWithALossUnderWay() {
    QDockWidget* dock = fViewer->dock(fViewer->createWidget(fRobot->port()));
    QSignalSpy lost(dock->widget(), SIGNAL(disconnected(WidgetInterface*)));
    QTRY_VERIFY(isLive(dock->widget()));
    LossWitness witness(fRobot->port());
    fRobot->stop();
    QVERIFY(witness.wait());
    QVERIFY(dock->close());
    settle(dock->widget());
    QCOMPARE(lost.size(), 0);
}

void LifeCycleTest::keepsItsConnectionWhenItsDockIsNotClosedAfterAll() {
    StubbornDock dock(QStringLiteral("stubborn"), &fViewer->window());
    QWidget* widget = fViewer->createWidget(fRobot->port());
    dock.setWidget(widget);
    fViewer->window().addDockWidget(Qt::TopDockWidgetArea, &dock);
    QVERIFY(!dock.close());
    settle(widget);
    fRobot->show(8);
    QTRY_VERIFY(shows(widget, 8));
}

void LifeCycleTest::reportsALossThatADockHeldBack() {
    StubbornDock dock(QStringLiteral("stubborn"), &fViewer->window());
    QWidget* widget = fViewer->createWidget(fRobot->port());
    QSignalSpy lost(widget, SIGNAL(disconnected(WidgetInterface*)));
    dock.setWidget(widget);
    fViewer->window().addDockWidget(Qt::TopDockWidgetArea, &dock);
    QTRY_VERIFY(isLive(widget));
    fRobot->stop();
    QVERIFY(!dock.close());
    QTRY_COMPARE(lost.size(), 1);
}

void LifeCycleTest::forgetsALossThatADockHeldBackWhenThePluginIsDeleted() {
    StubbornDock dock(QStringLiteral("stubborn"), &fViewer->window());
    QWidget* widget = fViewer->createWidget(fRobot->port());
    QSignalSpy lost(widget, SIGNAL(disconnected(WidgetInterface*)));
    dock.setWidget(widget);
    QTRY_VERIFY(isLive(widget));
    LossWitness witness(fRobot->port());
    fRobot->stop();
    QVERIFY(witness.wait());
    QVERIFY(!dock.close());
    fViewer->deletePlugin();
    settle(widget);
    QCOMPARE(lost.size(), 0);
}

void LifeCycleTest::followsTheDockItIsMovedTo() {
    QDockWidget* left = fViewer->dock(fViewer->createWidget(fRobot->port()));
    QWidget* widget = left->widget();
    QDockWidget* moved = fViewer->dock(widget);
    QVERIFY(left->close());
    settle(widget);
    fRobot->show(8);
    QTRY_VERIFY(shows(widget, 8));
    QVERIFY(moved->close());
    QTRY_COMPARE(connectionsTo(fRobot->port()), 0);
}

void LifeCycleTest::endsItsConnectionWhenDeleted() {
    std::unique_ptr<QWidget> widget(fViewer->createWidget(fRobot->port()));
    QTRY_VERIFY(isLive(widget.get()));
    widget.reset();
    QTRY_COMPARE(connectionsTo(fRobot->port()), 0);
    fViewer->deletePlugin();
}

/** A robot becomes silent at once, so that the viewer's first request is pending. */
void LifeCycleTest::closesWithoutWaitingForASilentRobot() {
    constexpr qint64 silence = 1500;  // until a robot is reported as silent
    QVERIFY(isOnceBelow(silence - 500, [&] {
        RobotProcess robot;
        std::unique_ptr<QWidget> widget(fViewer->createWidget(robot.port()));
        robot.suspend();
        QElapsedTimer time;
        time.start();
        widget.reset();
        return time.elapsed();
    }));
}

OBVISTA_QTEST_MAIN(LifeCycleTest)
#include "life_cycle_test.moc"

#include "memory_robot.h"
#include "sockets.h"
#include "viewer_driver.h"

#include <obvista/widget_interface.h>

#include <QDockWidget>
#include <QLabel>
#include <QMainWindow>
#include <QSignalSpy>
#include <QTreeView>
#include <QtTest>
#include <qt_test_main.h>

#include <memory>

using namespace obvista_test;

class PluginTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init();
    void cleanup();

    void showsTheKeysWithLiveValues();
    void showsKeysThatComeAndGo();
    void showsKeysAndActivityInTheStatusLine();
    void saysThatThereAreNoKeys();
    void saysWhyARobotGivesNoValues();
    void showsTextsOfTheRobotAsPlainText();
    void canBeReadByAScreenReader();
    void saysThatTheRobotIsLostAndKeepsItsValues();
    void keepsItsConnectionWhenHidden();
    void followsNothingBehindATab();

  private:
    QWidget* xShow(int port) { return fViewer->dock(fViewer->createWidget(port))->widget(); }

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

void PluginTest::showsTheKeysWithLiveValues() {
    QWidget* widget = xShow(fRobot->port());
    QTRY_COMPARE(valueOf(widget, "Uptime"), QStringLiteral("7"));
    auto* tree = treeOf(widget);
    QVERIFY(tree->isExpanded(indexOf(widget, "Joint")));
    QVERIFY(!tree->isExpanded(indexOf(widget, "Joint/HeadYaw")));
    QTRY_COMPARE(valueOf(widget, "Joint/HeadYaw/Position"), QStringLiteral("0.25"));
    fRobot->set("Joint/HeadYaw/Position", 0.5);
    QTRY_COMPARE(valueOf(widget, "Joint/HeadYaw/Position"), QStringLiteral("0.5"));
    QTRY_COMPARE(valueOf(widget, "Joint/HeadPitch/Position"), QStringLiteral("-1.5"));
}

void PluginTest::showsKeysThatComeAndGo() {
    QWidget* widget = xShow(fRobot->port());
    QTRY_VERIFY(indexOf(widget, "Uptime").isValid());
    fRobot->set("Battery/Charge", 93);
    QTRY_COMPARE(valueOf(widget, "Battery/Charge"), QStringLiteral("93"));
    fRobot->remove("Joint/HeadYaw/Position");
    QTRY_VERIFY(!indexOf(widget, "Joint/HeadYaw").isValid());
    QVERIFY(indexOf(widget, "Joint/HeadPitch/Position").isValid());
}

/** Name and address are in the header. */
void PluginTest::showsKeysAndActivityInTheStatusLine() {
    QWidget* widget = xShow(fRobot->port());
    QTRY_VERIFY2(statusOf(widget).startsWith(QString::fromUtf8("3 keys  ·  ")),
                 qPrintable(statusOf(widget)));
    QTRY_VERIFY(statusOf(widget).contains(QLatin1String("updates a second")));
    QTRY_VERIFY(statusOf(widget).contains(QLatin1String("round trip ")));
    // With a value that changes continuously, the rate rises above 0, and the newest value is never
    // old.
    int value = 0;
    QTRY_VERIFY2((fRobot->set("Uptime", ++value),
                  !statusOf(widget).contains(QString::fromUtf8("·  0 updates"))),
                 qPrintable(statusOf(widget)));
    QTRY_VERIFY2(
        (fRobot->set("Uptime", ++value), statusOf(widget).contains(QString::fromUtf8("·  age 0."))),
        qPrintable(statusOf(widget)));
}

void PluginTest::saysThatThereAreNoKeys() {
    MemoryRobot empty;
    QWidget* widget = xShow(empty.port());
    QTRY_COMPARE(messageOf(widget), QStringLiteral("The robot's memory contains no keys."));
    empty.set("First", 1);
    QTRY_COMPARE(valueOf(widget, "First"), QStringLiteral("1"));
    QCOMPARE(messageOf(widget), QString());
    empty.remove("First");
    QTRY_COMPARE(messageOf(widget), QStringLiteral("The robot's memory contains no keys."));
}

void PluginTest::saysWhyARobotGivesNoValues() {
    MemoryRobot without("Without", MemoryRobot::Memory::Missing);
    QWidget* widget = xShow(without.port());
    QSignalSpy lost(widget, SIGNAL(disconnected(WidgetInterface*)));
    QTRY_VERIFY2(messageOf(widget).startsWith(QLatin1String("The robot does not provide values: ")),
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
    QWidget* widget = xShow(hostile.port());
    QTRY_COMPARE(valueOf(widget, "Huge").size(), 1001);
    QTRY_COMPARE(valueOf(widget, R"(<img src='x'>/\x1b[31m)"),
                 QStringLiteral(R"(<b>bold</b>\r\n)"));
    QCOMPARE(labelText(widget, "robotName"), QStringLiteral("<h1>Robot</h1>\\n"));
    for (const QLabel* label : widget->findChildren<QLabel*>()) {
        QCOMPARE(label->textFormat(), Qt::PlainText);
        QVERIFY(!label->toolTip().contains(QLatin1String("<h1>")));
    }
}

void PluginTest::canBeReadByAScreenReader() {
    QWidget* widget = xShow(fRobot->port());
    QTRY_VERIFY(indexOf(widget, "Uptime").isValid());
    QCOMPARE(treeOf(widget)->accessibleName(), QStringLiteral("Values in the robot's memory"));
    auto* status = widget->findChild<QLabel*>(QStringLiteral("memoryStatus"));
    QTRY_COMPARE(status->accessibleName(), QStringLiteral("Status: ") + status->text());
    widget->setFocus();
    QCOMPARE(widget->window()->focusWidget(), static_cast<QWidget*>(treeOf(widget)));
}

void PluginTest::saysThatTheRobotIsLostAndKeepsItsValues() {
    QWidget* widget = xShow(fRobot->port());
    QTRY_COMPARE(valueOf(widget, "Uptime"), QStringLiteral("7"));
    QCOMPARE(noticeOf(widget), QString());
    fRobot->stop();
    QTRY_COMPARE(noticeOf(widget),
                 QStringLiteral("The robot is lost. These are the last values received."));
    QCOMPARE(valueOf(widget, "Uptime"), QStringLiteral("7"));
    QVERIFY(statusOf(widget).endsWith(QLatin1String("robot lost")));
}

void PluginTest::keepsItsConnectionWhenHidden() {
    QDockWidget* dock = fViewer->dock(fViewer->createWidget(fRobot->port()));
    QWidget* widget = dock->widget();
    QDockWidget* cover = fViewer->dock(new QLabel(QStringLiteral("cover")));
    int value = 100;
    const auto isLive = [&] {
        fRobot->set("Uptime", ++value);
        return waitFor([&] { return valueOf(widget, "Uptime") == QString::number(value); });
    };
    QVERIFY(isLive());
    dock->hide();
    settle(widget);
    dock->show();
    QVERIFY(isLive());
    fViewer->window().tabifyDockWidget(dock, cover);
    QTest::ignoreMessage(QtWarningMsg, "This plugin does not support raise()");
    cover->raise();
    settle(widget);
    dock->raise();
    QVERIFY(isLive());
    dock->setFloating(true);
    QVERIFY(isLive());
    dock->setFloating(false);  // in the background tab
    dock->raise();
    fViewer->window().close();
    settle(widget);
    fViewer->window().show();
    QVERIFY(isLive());
    QTRY_COMPARE(connectionsTo(fRobot->port()), 1);
}

void PluginTest::followsNothingBehindATab() {
    constexpr int aSecond = 1000;
    QDockWidget* dock = fViewer->dock(fViewer->createWidget(fRobot->port()));
    QTRY_COMPARE(valueOf(dock->widget(), "Uptime"), QStringLiteral("7"));
    const QPersistentModelIndex name = indexOf(dock->widget(), "Uptime");
    const auto shown = [&] { return name.sibling(name.row(), 1).data().toString(); };
    int value = 100;
    const auto isFollowed = [&] {
        fRobot->set("Uptime", ++value);
        return QTest::qWaitFor([&] { return shown() == QString::number(value); }, aSecond);
    };
    QDockWidget* cover = fViewer->dock(new QLabel(QStringLiteral("cover")));
    fViewer->window().tabifyDockWidget(dock, cover);
    cover->raise();
    QTRY_VERIFY(!isFollowed());
    QVERIFY(dock->widget()->isVisible());  // according to Qt
    dock->raise();
    QTRY_COMPARE(shown(), QString::number(value));
    fRobot->set("Uptime", ++value);
    QTRY_COMPARE(shown(), QString::number(value));
}

OBVISTA_QTEST_MAIN(PluginTest)
#include "plugin_test.moc"

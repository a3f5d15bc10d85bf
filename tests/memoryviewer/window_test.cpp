#include "memory_robot.h"
#include "viewer_driver.h"

#include <QAbstractButton>
#include <QDockWidget>
#include <QLabel>
#include <QSignalSpy>
#include <QTreeView>
#include <QWindow>
#include <QtTest>
#include <qt_test_main.h>

#include <memory>
#include <sockets.h>

using namespace obvista_test;

/** Tests the viewer with a real window manager. */
class WindowTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init();
    void cleanup();
    void keepsItsConnectionInAMinimisedWindow();
    void endsItsConnectionByTheDocksCloseButton();
    void endsItsConnectionWhenItsFloatingDockIsClosed();
    void isOperatedByKeyboard();
    void isNotForcedWideByALongRobotName();

  private:
    bool xStaysLive();

    std::unique_ptr<MemoryRobot> fRobot;
    std::unique_ptr<ViewerDriver> fViewer;
    QDockWidget* fDock = nullptr;
    int fValue = 0;
};

void WindowTest::init() {
    fRobot = std::make_unique<MemoryRobot>(std::string(2000, 'x'));
    fRobot->set("Joint/HeadYaw/Position", 0.25);
    fRobot->set("Joint/HeadYaw/Temperature", 40);
    fRobot->set("Uptime", 0);
    fViewer = std::make_unique<ViewerDriver>();
    fDock = fViewer->dock(fViewer->createWidget(fRobot->port()));
    QVERIFY(waitForActive(&fViewer->window()));
    QTRY_VERIFY(indexOf(fDock->widget(), "Uptime").isValid());
}

void WindowTest::cleanup() {
    fViewer.reset();
    fRobot.reset();
}

bool WindowTest::xStaysLive() {
    fRobot->set("Uptime", ++fValue);
    return waitFor(
        [this] { return valueOf(fDock->widget(), "Uptime") == QString::number(fValue); });
}

void WindowTest::keepsItsConnectionInAMinimisedWindow() {
    fViewer->window().showMinimized();
    QTRY_COMPARE(fViewer->window().windowState() & Qt::WindowMinimized, Qt::WindowMinimized);
    QTRY_VERIFY(!fViewer->window().windowHandle()->isExposed());
    settle(fDock->widget());
    QTRY_COMPARE(connectionsTo(fRobot->port()), 1);
    fViewer->window().showNormal();
    QVERIFY(waitForExposed(&fViewer->window()));
    QVERIFY(xStaysLive());
}

void WindowTest::endsItsConnectionByTheDocksCloseButton() {
    QSignalSpy lost(fDock->widget(), SIGNAL(disconnected(WidgetInterface*)));
    auto* button = fDock->findChild<QAbstractButton*>(QStringLiteral("qt_dockwidget_closebutton"));
    QVERIFY(button != nullptr);
    QTest::mouseClick(button, Qt::LeftButton);
    QTRY_COMPARE(connectionsTo(fRobot->port()), 0);
    QVERIFY(fDock->isHidden());
    fRobot->stop();
    settle(fDock->widget());
    QCOMPARE(lost.size(), 0);
}

void WindowTest::endsItsConnectionWhenItsFloatingDockIsClosed() {
    fDock->setFloating(true);
    QVERIFY(waitForExposed(fDock));
    QVERIFY(xStaysLive());
    fDock->windowHandle()->close();
    QTRY_COMPARE(connectionsTo(fRobot->port()), 0);
}

void WindowTest::isOperatedByKeyboard() {
    QWidget* viewer = fDock->widget();
    auto* tree = treeOf(viewer);
    viewer->setFocus();
    QTRY_VERIFY(tree->hasFocus());
    tree->setCurrentIndex(indexOf(viewer, "Joint"));
    QTest::keyClick(tree, Qt::Key_Down);
    QCOMPARE(tree->currentIndex(), indexOf(viewer, "Joint/HeadYaw"));
    QVERIFY(!tree->isExpanded(tree->currentIndex()));
    QTest::keyClick(tree, Qt::Key_Right);
    QVERIFY(tree->isExpanded(tree->currentIndex()));
    QTest::keyClick(tree, Qt::Key_Down);
    QCOMPARE(tree->currentIndex(), indexOf(viewer, "Joint/HeadYaw/Position"));
    QTest::keyClicks(tree, QStringLiteral("Upt"));
    QCOMPARE(tree->currentIndex(), indexOf(viewer, "Uptime"));
    QTest::keyClick(tree, Qt::Key_Home);
    QCOMPARE(tree->currentIndex(), indexOf(viewer, "Joint"));
    QTest::keyClick(tree, Qt::Key_Left);
    QVERIFY(!tree->isExpanded(indexOf(viewer, "Joint")));
}

void WindowTest::isNotForcedWideByALongRobotName() {
    QVERIFY(fDock->widget()->minimumSizeHint().width() < 300);
}

OBVISTA_QTEST_MAIN(WindowTest)
#include "window_test.moc"

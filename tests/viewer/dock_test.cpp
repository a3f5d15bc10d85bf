#include "viewer_case.h"

#include <QAction>
#include <QDialog>
#include <QDockWidget>
#include <QLabel>
#include <QMainWindow>
#include <QPointer>
#include <QScreen>
#include <QScrollBar>
#include <QShortcut>
#include <QTreeWidget>
#include <QWindow>
#include <QtTest>
#include <qt_test_main.h>

#include <held_key.h>
#include <memory>
#include <plugin_driver.h>

using namespace obvista_test;
using namespace obvista_test::viewer_case;

namespace {

/** Returns a control of the viewer that the keyboard reaches. */
QWidget* aControlOf(QWidget* viewer) {
    for (QWidget* part : viewer->findChildren<QWidget*>()) {
        if ((part->focusPolicy() & Qt::TabFocus) != 0 && part->isVisible() && part->isEnabled()) {
            return part;
        }
    }
    return nullptr;
}

QStringList textsOf(const QList<QKeySequence>& keys) {
    QStringList texts;
    for (const QKeySequence& each : keys) {
        texts += each.toString(QKeySequence::NativeText);
    }
    return texts;
}

/** Returns the keys of all shortcuts and actions of a viewer. */
QStringList shortcutsOf(const QWidget* viewer) {
    QStringList texts;
    for (const QShortcut* shortcut : viewer->findChildren<QShortcut*>()) {
        texts += textsOf({shortcut->key()});
    }
    for (const QAction* action : viewer->findChildren<QAction*>()) {
        texts += textsOf(action->shortcuts());
    }
    return texts;
}

/** Returns the first column of a list of keys, each key separately. */
QStringList listedKeys(const QTreeWidget* list) {
    QStringList keys;
    for (int group = 0; group < list->topLevelItemCount(); ++group) {
        const QTreeWidgetItem* item = list->topLevelItem(group);
        for (int row = 0; row < item->childCount(); ++row) {
            keys += item->child(row)->text(0).split(QStringLiteral(", "));
        }
    }
    return keys;
}

}  // namespace

/** A viewer in its dock, beside another one of the same plugin. */
class DockTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init();
    void cleanup();

    void showsTheRobotsNameInLargeLetters();
    void cutsALongNameInsteadOfForcingTheDockToBeWide();
    void isClosedByKeyboard();
    void isClosedAloneByAHeldKey();
    void isNotClosedByKeyboardWhereTheDockForbidsIt();
    void floatsByKeyboardAndKeepsTheFocus();
    void floatsOnceForAHeldKey();
    void listsTheKeysOfTheViewerWithTheFocus();
    void showsTheListOfKeysOnTheScreen();

  private:
    void xPress(const QWidget* viewer, int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);

    std::unique_ptr<ShownRobot> fRobot;
    std::unique_ptr<PluginDriver> fDriver;
    QDockWidget* fDock = nullptr;
    QDockWidget* fOther = nullptr;
};

void DockTest::init() {
    fRobot = makeRobot();
    fRobot->show(7);
    fDriver = std::make_unique<PluginDriver>(pluginName());
    fDock = fDriver->dock(fDriver->createWidget(fRobot->port()));
    fOther = fDriver->dock(fDriver->createWidget(fRobot->port()));
    QVERIFY(waitForActive(&fDriver->window()));
    for (QDockWidget* dock : {fDock, fOther}) {
        QTRY_VERIFY(isLive(dock->widget()));
    }
}

void DockTest::cleanup() {
    fDriver.reset();
    fRobot.reset();
}

/** Presses a key with the focus in one of the viewer's controls. */
void DockTest::xPress(const QWidget* viewer, int key, Qt::KeyboardModifiers modifiers) {
    QWidget* focus = viewer->window()->focusWidget();
    QVERIFY(viewer->isAncestorOf(focus));
    QTest::keyClick(focus, static_cast<Qt::Key>(key), modifiers);
}

void DockTest::showsTheRobotsNameInLargeLetters() {
    const QWidget* widget = fDock->widget();
    const auto* name = widget->findChild<QLabel*>(QStringLiteral("robotName"));
    QCOMPARE(name->text(), QStringLiteral("TestRobot"));
    QVERIFY(name->isVisible());
    QVERIFY(name->fontMetrics().height() >= widget->fontMetrics().height() * 5 / 4);
    QVERIFY(name->font().bold());
    QCOMPARE(name->mapTo(widget, QPoint(0, 0)).y(), 0);
    const auto* address = widget->findChild<QLabel*>(QStringLiteral("robotAddress"));
    QCOMPARE(address->text(), QStringLiteral("127.0.0.1:%1").arg(fRobot->port()));
    QCOMPARE(fDock->windowTitle(), pluginName());
}

void DockTest::cutsALongNameInsteadOfForcingTheDockToBeWide() {
    fOther->close();
    const QWidget* header = fDock->widget()->findChild<QLabel*>("robotName")->parentWidget();
    QVERIFY(header->minimumSizeHint().width() < 200);
    const auto* address = fDock->widget()->findChild<QLabel*>(QStringLiteral("robotAddress"));
    QVERIFY(address->isVisible());
    const_cast<QWidget*>(header)->resize(120, header->height());
    QVERIFY(!address->isVisible());
}

void DockTest::isClosedByKeyboard() {
    aControlOf(fDock->widget())->setFocus();
    xPress(fDock->widget(), Qt::Key_W, Qt::ControlModifier);
    QTRY_VERIFY(fDock->isHidden());
    QTRY_VERIFY(saysClosed(fDock->widget()));
    QVERIFY(fOther->isVisible());
    QVERIFY(!saysClosed(fOther->widget()));
}

void DockTest::isClosedAloneByAHeldKey() {
    aControlOf(fDock->widget())->setFocus();
    QTest::keyPress(aControlOf(fDock->widget()), Qt::Key_W, Qt::ControlModifier);
    QTRY_VERIFY(fDock->isHidden());
    aControlOf(fOther->widget())->setFocus();
    repeatKey(Qt::Key_W, Qt::ControlModifier);
    settle(fOther->widget());
    QVERIFY(fOther->isVisible());
}

void DockTest::isNotClosedByKeyboardWhereTheDockForbidsIt() {
    fDock->setFeatures(QDockWidget::NoDockWidgetFeatures);
    aControlOf(fDock->widget())->setFocus();
    xPress(fDock->widget(), Qt::Key_W, Qt::ControlModifier);
    xPress(fDock->widget(), Qt::Key_F, Qt::ControlModifier | Qt::ShiftModifier);
    settle(fDock->widget());
    QVERIFY(fDock->isVisible());
    QVERIFY(!fDock->isFloating());
}

void DockTest::floatsByKeyboardAndKeepsTheFocus() {
    QWidget* control = aControlOf(fDock->widget());
    control->setFocus();
    for (const bool isFloating : {true, false}) {
        xPress(fDock->widget(), Qt::Key_F, Qt::ControlModifier | Qt::ShiftModifier);
        QTRY_COMPARE(fDock->isFloating(), isFloating);
        QTRY_COMPARE(QApplication::focusWidget(), control);
        QTRY_VERIFY(control->window()->isActiveWindow());
    }
    QVERIFY(!fOther->isFloating());
}

void DockTest::floatsOnceForAHeldKey() {
    QWidget* control = aControlOf(fDock->widget());
    control->setFocus();
    xPress(fDock->widget(), Qt::Key_F, Qt::ControlModifier | Qt::ShiftModifier);
    QVERIFY(fDock->isFloating());
    QTRY_COMPARE(QApplication::focusWidget(), control);
    repeatKey(Qt::Key_F, Qt::ControlModifier | Qt::ShiftModifier);
    QVERIFY(fDock->isFloating());
}

void DockTest::listsTheKeysOfTheViewerWithTheFocus() {
    aControlOf(fOther->widget())->setFocus();
    xPress(fOther->widget(), Qt::Key_F1);
    const auto listOf = [](const QDockWidget* dock) {
        return dock->widget()->findChild<QDialog*>(QStringLiteral("keyList"));
    };
    QTRY_VERIFY(listOf(fOther) != nullptr && listOf(fOther)->isVisible());
    QVERIFY(listOf(fDock) == nullptr);
    QVERIFY(listOf(fOther)->windowTitle().endsWith(QStringLiteral("\u2013 TestRobot")));
    const QStringList listed = listedKeys(listOf(fOther)->findChild<QTreeWidget*>());
    const QStringList shortcuts = shortcutsOf(fOther->widget());
    QVERIFY(shortcuts.size() >= 5);
    for (const QString& keys : shortcuts) {
        QVERIFY2(listed.contains(keys), qPrintable(keys));
    }
    QTest::keyClick(listOf(fOther), Qt::Key_Escape);
    QTRY_VERIFY(listOf(fOther) == nullptr);
}

void DockTest::showsTheListOfKeysOnTheScreen() {
    const QFont font = QApplication::font();
    for (const double scale : {1.0, 3.0}) {
        QFont scaled = font;
        scaled.setPointSizeF(scale * font.pointSizeF());
        QApplication::setFont(scaled);
        QVERIFY(waitForActive(&fDriver->window()));
        aControlOf(fDock->widget())->setFocus();
        xPress(fDock->widget(), Qt::Key_F1);
        QPointer<QDialog> list;
        QTRY_VERIFY((list = fDock->widget()->findChild<QDialog*>(QStringLiteral("keyList"))));
        QVERIFY(waitForExposed(list));
        const QSize screen = list->screen()->availableGeometry().size();
        // A widget does not always learn that the window manager has changed the frame.
        const QWindow* window = list->windowHandle();
        QTRY_VERIFY(window->frameMargins().top() > 0 && window->frameMargins().bottom() > 0);
        QTRY_COMPARE(window->frameGeometry().size().boundedTo(screen),
                     window->frameGeometry().size());
        const auto* rows = list->findChild<QTreeWidget*>();
        const auto isWhole = [rows] { return rows->verticalScrollBar()->maximum() == 0; };
        QTRY_VERIFY(isWhole() || list->height() > screen.height() * 4 / 5);
        QTest::keyClick(list.data(), Qt::Key_Escape);
        QTRY_VERIFY(list == nullptr);
    }
    QApplication::setFont(font);
}

OBVISTA_QTEST_MAIN(DockTest)
#include "dock_test.moc"

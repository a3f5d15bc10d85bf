#include "viewer_driver.h"

#include <obvista/widget_interface.h>

#include <QClipboard>
#include <QComboBox>
#include <QDockWidget>
#include <QFile>
#include <QGuiApplication>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenu>
#include <QPointer>
#include <QSettings>
#include <QSignalSpy>
#include <QTimer>
#include <QToolButton>
#include <QTreeView>
#include <QtTest>
#include <qt_test_main.h>

#include <held_key.h>
#include <memory>
#include <robot_process.h>
#include <timers.h>

using namespace obvista_test;

/** Tests a user's actions in the window, with a real robot. */
class ViewingTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init();
    void cleanup();

    void filtersWhileTyping();
    void opensTheBranchesOfWhatChanges();
    void saysThatNothingFitsTheFilter();
    void saysWhatIsWrongWithTheFilter();
    void listsKeysByTheirWholeNames();
    void sortsByAColumn();
    void hidesColumnsByTheHeadersMenu();
    void hidesColumnsByKeyboard();
    void followsAllKeysForALiveSort();
    void keepsValuesWhilePaused();
    void remembersFilterFormAndRate();
    void remembersWhatIsWatchedForTheRobot();
    void savesChangesWhileItIsOpen();
    void savesNothingThatAnotherViewerHasChangedSince();
    void plotsWhatIsChosen();
    void writesAValueAndUndoesIt();
    void takesARefusedValueBack();
    void copiesRowsAsText();
    void stopsWhenNobodyCanSeeIt();

  private:
    void xOpen();
    QTreeView* xTree() const { return treeOf(fViewer); }
    QTreeView* xWatch() const { return watchOf(fViewer); }
    QLineEdit* xFilter() const { return filterOf(fViewer); }
    QStringList xTopNames() const;
    void xEdit(const char* path, const QString& text);
    QString xValue(const char* path) const { return valueOf(fViewer, path); }

    std::unique_ptr<RobotProcess> fRobot;
    std::unique_ptr<ViewerDriver> fDriver;
    QPointer<QDockWidget> fDock;
    QWidget* fViewer = nullptr;
};

void ViewingTest::init() {
    QSettings().clear();
    fRobot = std::make_unique<RobotProcess>();
    xOpen();
}

void ViewingTest::cleanup() {
    fDriver.reset();
    fRobot.reset();
}

void ViewingTest::xOpen() {
    delete fDock;
    fDriver.reset();
    fDriver = std::make_unique<ViewerDriver>();
    fDock = fDriver->dock(fDriver->createWidget(fRobot->port()));
    fViewer = fDock->widget();
    QVERIFY(waitForActive(&fDriver->window()));
    QTRY_VERIFY(xTree()->model()->rowCount() > 0);
}

QStringList ViewingTest::xTopNames() const {
    QStringList names;
    for (int row = 0; row < xTree()->model()->rowCount(); ++row) {
        names += xTree()->model()->index(row, 0).data().toString();
    }
    return names;
}

void ViewingTest::xEdit(const char* path, const QString& text) {
    QTRY_VERIFY(!xValue(path).isEmpty());
    editValue(fViewer, path, text);
}

void ViewingTest::filtersWhileTyping() {
    QTest::keyClick(fViewer, Qt::Key_F, Qt::ControlModifier);
    QTRY_VERIFY(xFilter()->hasFocus());
    QTest::keyClicks(xFilter(), QStringLiteral("battery charg"));
    QTRY_COMPARE(xTopNames(), QStringList{"Battery"});
    QVERIFY(indexOf(fViewer, "Battery/Charge").isValid());
    QVERIFY(!indexOf(fViewer, "Battery/Current").isValid());
    QTRY_VERIFY(!xValue("Battery/Charge").isEmpty());
    xFilter()->clear();
    QTRY_VERIFY(indexOf(fViewer, "Battery/Current").isValid());
}

void ViewingTest::opensTheBranchesOfWhatChanges() {
    typeFilter(fViewer, QStringLiteral("headyaw changed:5"));
    QTRY_VERIFY(!xTree()->visualRect(indexOf(fViewer, "Joint/HeadYaw/Position")).isEmpty());
    // A branch that the user collapses stays collapsed.
    const auto headYaw = [this] { return indexOf(fViewer, "Joint/HeadYaw/Position").parent(); };
    xTree()->collapse(headYaw());
    int arranged = 0;
    const auto counting = connect(xTree()->model(), &QAbstractItemModel::layoutChanged, this,
                                  [&arranged] { ++arranged; });
    QTRY_VERIFY(arranged >= 2);
    disconnect(counting);
    QVERIFY(headYaw().isValid());
    QVERIFY(!xTree()->isExpanded(headYaw()));
    // A restored filter applies before the keys arrive.
    typeFilter(fViewer, QStringLiteral("headyaw position"));
    xOpen();
    QTRY_VERIFY(!xTree()->visualRect(indexOf(fViewer, "Joint/HeadYaw/Position")).isEmpty());
}

void ViewingTest::saysThatNothingFitsTheFilter() {
    typeFilter(fViewer, QStringLiteral("nosuchkey"));
    QTRY_VERIFY2(messageOf(fViewer).contains(QLatin1String("matches the filter \"nosuchkey\"")),
                 qPrintable(messageOf(fViewer)));
    QVERIFY(statusOf(fViewer).contains(QLatin1String("0 of ")));
}

void ViewingTest::saysWhatIsWrongWithTheFilter() {
    typeFilter(fViewer, QStringLiteral("battery re:("));
    QTRY_VERIFY(noticeOf(fViewer).contains(QLatin1String("is not a valid regular expression")));
    QCOMPARE(xTopNames(), QStringList{"Battery"});
    typeFilter(fViewer, QStringLiteral("battery"));
    QTRY_COMPARE(noticeOf(fViewer), QString());
}

void ViewingTest::listsKeysByTheirWholeNames() {
    QTest::mouseClick(fViewer->findChild<QToolButton*>("memoryFlat"), Qt::LeftButton);
    QTRY_VERIFY(xTopNames().contains(QStringLiteral("Battery/Charge")));
    QVERIFY(!xTopNames().contains(QStringLiteral("Battery")));
}

void ViewingTest::sortsByAColumn() {
    QTest::mouseClick(fViewer->findChild<QToolButton*>("memoryFlat"), Qt::LeftButton);
    xTree()->sortByColumn(0, Qt::DescendingOrder);
    const QStringList names = xTopNames();
    QVERIFY(names.indexOf(QStringLiteral("Battery/Voltage")) <
            names.indexOf(QStringLiteral("Battery/Charge")));
}

void ViewingTest::hidesColumnsByTheHeadersMenu() {
    const auto* menu = fViewer->findChild<QMenu*>("memoryColumnMenu");
    QHeaderView* header = xTree()->header();
    const QPoint at = header->rect().center();
    QContextMenuEvent click(QContextMenuEvent::Mouse, at, header->viewport()->mapToGlobal(at));
    QApplication::sendEvent(header->viewport(), &click);
    QTRY_VERIFY(menu->isVisible());
    QStringList titles;
    for (const QAction* action : menu->actions()) {
        QVERIFY(action->isChecked());
        titles += action->text();
    }
    QCOMPARE(titles, QStringList({"Value", "Unit", "Type", "Rate", "Age"}));
    QTest::mouseClick(const_cast<QMenu*>(menu), Qt::LeftButton, {},
                      menu->actionGeometry(menu->actions().at(2)).center());
    QTRY_VERIFY(xTree()->isColumnHidden(3));
    QTRY_VERIFY(xWatch()->isColumnHidden(3));

    xOpen();
    QVERIFY(xTree()->isColumnHidden(3));
    QVERIFY(xWatch()->isColumnHidden(3));
    QVERIFY(!xTree()->isColumnHidden(2));
}

void ViewingTest::hidesColumnsByKeyboard() {
    auto* button = fViewer->findChild<QToolButton*>("memoryColumns");
    auto* menu = fViewer->findChild<QMenu*>("memoryColumnMenu");
    const auto chooseUnit = [&] {
        // The button does not return while its menu is open.
        QTimer whileOpen;
        connect(&whileOpen, &QTimer::timeout, menu, [menu] {
            if (menu->isVisible()) {
                const bool isUnit = menu->activeAction() == menu->actions().at(1);
                QTest::keyClick(menu, isUnit ? Qt::Key_Return : Qt::Key_Down);
            }
        });
        whileOpen.start(10);
        button->setFocus();
        QTest::keyClick(button, Qt::Key_Space);
        QTRY_VERIFY(!menu->isVisible());
    };
    chooseUnit();
    QTRY_VERIFY(xTree()->isColumnHidden(2));
    chooseUnit();
    QTRY_VERIFY(!xTree()->isColumnHidden(2));
    QVERIFY(xTree()->columnWidth(2) > 0);
}

void ViewingTest::followsAllKeysForALiveSort() {
    QTest::mouseClick(fViewer->findChild<QToolButton*>("memoryFlat"), Qt::LeftButton);
    xTree()->sortByColumn(1, Qt::AscendingOrder);
    const auto* model = xTree()->model();
    const auto isKnown = [&] {
        for (int row = 0; row < model->rowCount(); ++row) {
            if (model->index(row, 5).data().toString().isEmpty()) {
                return false;
            }
        }
        return true;
    };
    QTRY_VERIFY(isKnown());
}

void ViewingTest::keepsValuesWhilePaused() {
    QTRY_VERIFY(!xValue("Battery/Voltage").isEmpty());
    choose(fViewer, "Battery/Voltage");
    holdKey(Qt::Key_Space, Qt::ControlModifier);
    QTRY_VERIFY(noticeOf(fViewer).startsWith(QLatin1String("Paused.")));
    // A viewer beside it receives further values.
    QWidget* other = fDriver->dock(fDriver->createWidget(fRobot->port()))->widget();
    const auto otherChanges = [other] {
        const QString shown = valueOf(other, "Battery/Voltage");
        return waitFor([&] {
            const QString now = valueOf(other, "Battery/Voltage");
            return !now.isEmpty() && now != shown;
        });
    };
    QVERIFY(otherChanges());
    const QString before = xValue("Battery/Voltage");
    QSignalSpy changed(xTree()->model(), &QAbstractItemModel::dataChanged);
    QVERIFY(otherChanges());
    QVERIFY(otherChanges());
    QCOMPARE(changed.size(), 0);
    QCOMPARE(xValue("Battery/Voltage"), before);
    QTest::keyClick(xTree(), Qt::Key_Space, Qt::ControlModifier);
    QTRY_VERIFY(xValue("Battery/Voltage") != before);
    QCOMPARE(noticeOf(fViewer), QString());
}

void ViewingTest::remembersFilterFormAndRate() {
    typeFilter(fViewer, QStringLiteral("battery"));
    QTest::mouseClick(fViewer->findChild<QToolButton*>("memoryFlat"), Qt::LeftButton);
    auto* rate = fViewer->findChild<QComboBox*>("memoryRate");
    rate->setCurrentIndex(rate->findData(50));
    xOpen();
    QCOMPARE(xFilter()->text(), QStringLiteral("battery"));
    QCOMPARE(fViewer->findChild<QComboBox*>("memoryRate")->currentData().toInt(), 50);
    QTRY_VERIFY(xTopNames().contains(QStringLiteral("Battery/Charge")));
    QVERIFY(!xTopNames().contains(QStringLiteral("Button/Chest")));
}

void ViewingTest::remembersWhatIsWatchedForTheRobot() {
    choose(fViewer, "Battery/Voltage");
    QTest::keyClick(xTree(), Qt::Key_D, Qt::ControlModifier);
    QTRY_COMPARE(xWatch()->model()->rowCount(), 1);
    typeFilter(fViewer, QStringLiteral("joint"));
    const auto value = [this] { return xWatch()->model()->index(0, 1).data().toString(); };
    QTRY_VERIFY(!value().isEmpty());
    const QString before = value();
    QTRY_VERIFY(value() != before);
    xOpen();
    QCOMPARE(xWatch()->model()->index(0, 0).data().toString(), QStringLiteral("Battery/Voltage"));
    xWatch()->setFocus();
    xWatch()->setCurrentIndex(xWatch()->model()->index(0, 0));
    QTest::keyClick(xWatch(), Qt::Key_Delete);
    QCOMPARE(xWatch()->model()->rowCount(), 0);
}

/** Saved to the file, to survive a crash, and for a viewer that is opened beside this one. */
void ViewingTest::savesChangesWhileItIsOpen() {
    choose(fViewer, "Battery/Voltage");
    QTest::keyClick(xTree(), Qt::Key_D, Qt::ControlModifier);
    QTest::keyClick(xTree(), Qt::Key_P, Qt::ControlModifier);
    typeFilter(fViewer, QStringLiteral("battery"));
    xTree()->header()->hideSection(2);
    const auto file = [] {
        QFile settings(QSettings().fileName());
        return settings.open(QIODevice::ReadOnly) ? settings.readAll() : QByteArray();
    };
    auto* timer = fViewer->findChild<QTimer*>(QStringLiteral("saveTimer"));
    QVERIFY(timer->isActive());
    QVERIFY(!timer->isSingleShot());
    QVERIFY(timer->interval() < 1000);
    expire(*timer);
    QVERIFY(file().contains("filter=battery"));
    QVERIFY(file().contains("watched=Battery/Voltage"));
    QWidget* other = fDriver->dock(fDriver->createWidget(fRobot->port()))->widget();
    QCOMPARE(filterOf(other)->text(), QStringLiteral("battery"));
    QCOMPARE(watchOf(other)->model()->rowCount(), 1);
    QVERIFY(treeOf(other)->isColumnHidden(2));
    QCOMPARE(other->findChild<QTreeView*>("plotLegend")->model()->rowCount(), 1);
}

void ViewingTest::savesNothingThatAnotherViewerHasChangedSince() {
    QWidget* other = fDriver->dock(fDriver->createWidget(fRobot->port()))->widget();
    typeFilter(other, QStringLiteral("battery"));
    const auto* robot = other->findChild<QLabel*>(QStringLiteral("robotName"));
    const QString key = QStringLiteral("MemoryViewer/robots/%1/filter").arg(robot->text());
    QTRY_COMPARE(QSettings().value(key).toString(), QStringLiteral("battery"));
    QTest::mouseClick(fViewer->findChild<QToolButton*>("memoryFlat"), Qt::LeftButton);
    xOpen();
    QCOMPARE(xFilter()->text(), QStringLiteral("battery"));
    QVERIFY(fViewer->findChild<QToolButton*>("memoryFlat")->isChecked());
}

void ViewingTest::plotsWhatIsChosen() {
    choose(fViewer, "Battery/Voltage");
    QTest::keyClick(xTree(), Qt::Key_P, Qt::ControlModifier);
    auto* legend = fViewer->findChild<QTreeView*>("plotLegend");
    QTRY_VERIFY(legend->isVisible());
    const auto* model = legend->model();
    QTRY_VERIFY(!model
                     ->match(model->index(0, 0), Qt::DisplayRole, "Battery/Voltage", 1,
                             Qt::MatchContains | Qt::MatchRecursive)
                     .isEmpty());
}

void ViewingTest::writesAValueAndUndoesIt() {
    QTRY_VERIFY(!xValue("Joint/HeadYaw/Stiffness").isEmpty());
    const QString before = xValue("Joint/HeadYaw/Stiffness");
    xEdit("Joint/HeadYaw/Stiffness", QStringLiteral("0.25"));
    QTRY_COMPARE(xValue("Joint/HeadYaw/Stiffness"), QStringLiteral("0.25"));
    QTRY_VERIFY(
        (QTest::keyClick(xTree(), Qt::Key_Z, Qt::ControlModifier),
         QTest::qWaitFor([&] { return xValue("Joint/HeadYaw/Stiffness") == before; }, 1000)));
}

void ViewingTest::takesARefusedValueBack() {
    QTRY_VERIFY(!xValue("Joint/HeadYaw/Stiffness").isEmpty());
    const QString before = xValue("Joint/HeadYaw/Stiffness");
    xEdit("Joint/HeadYaw/Stiffness", QStringLiteral("7"));
    QTRY_VERIFY2(
        noticeOf(fViewer).startsWith(QLatin1String("Joint/HeadYaw/Stiffness keeps its value: ")),
        qPrintable(noticeOf(fViewer)));
    QVERIFY2(noticeOf(fViewer).contains(QLatin1String("0 to 1")), qPrintable(noticeOf(fViewer)));
    QCOMPARE(xValue("Joint/HeadYaw/Stiffness"), before);
}

void ViewingTest::copiesRowsAsText() {
    QTRY_VERIFY(!xValue("Audio/Volume").isEmpty());
    choose(fViewer, "Audio/Volume");
    QTest::keyClick(xTree(), Qt::Key_C, Qt::ControlModifier);
    QCOMPARE(QGuiApplication::clipboard()->text(),
             QStringLiteral("Audio/Volume\t%1\t%\tint").arg(xValue("Audio/Volume")));
}

void ViewingTest::stopsWhenNobodyCanSeeIt() {
    QTRY_VERIFY(!xValue("Battery/Voltage").isEmpty());
    QSignalSpy changed(xTree()->model(), &QAbstractItemModel::dataChanged);
    fDock->hide();
    // Silent for one second, within several seconds.
    QTRY_VERIFY((changed.clear(), QTest::qWait(1000), changed.isEmpty()));
    fDock->show();
    QTRY_VERIFY(!changed.isEmpty());
}

OBVISTA_QTEST_MAIN(ViewingTest)
#include "viewing_test.moc"

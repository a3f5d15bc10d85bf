#include "robot_window.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QLineEdit>
#include <QSettings>
#include <QtTest>
#include <qt_test_main.h>

#include <algorithm>
#include <memory>
#include <tab_ring.h>

using namespace obvista_test;

namespace {

constexpr char a_target[] = "Joint/HeadYaw/Target";
constexpr int a_mostParts = 100;

}  // namespace

/** Tests the window without a mouse, and with a screen reader. */
class KeyboardTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init();
    void cleanup();

    void namesWhateverTakesTheKeyboard();
    void isWalkedThroughInTheOrderOfReading();
    void reachesEveryControlInBothDirections();
    void leadsFromTheFilterToItsResult();
    void keepsTheChosenKeyWhenTheFilterIsLeft();
    void opensTheBranchesAgainThatWereOpenBeforeTheFilter();
    void editsTheValueOfTheChosenRow();
    void editsTheValueOfAWatchedKey();
    void saysThatNothingWasWrittenWhenTheFieldIsLeft();

  private:
    QTreeView* xTree() const { return fWindow->tree(); }
    QString xPartWithFocus() const;
    QWidget* xFocus() const { return fViewer->window()->focusWidget(); }
    void xPress(int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    void xFilter(const char* words);
    void xChooseTarget();
    void xChooseVolume();
    void xEnter(const char* text);
    void xPlotTarget();

    std::unique_ptr<RobotWindow> fWindow;
    QWidget* fViewer = nullptr;
};

void KeyboardTest::init() {
    QSettings().clear();
    fWindow = std::make_unique<RobotWindow>();
    QVERIFY(fWindow->open());
    fViewer = fWindow->viewer();
    QTRY_VERIFY(indexOf(fViewer, a_target).isValid());
}

void KeyboardTest::cleanup() {
    // The filter's clear button fades in and out, and Qt leaks running animations at exit.
    const auto* filter = fWindow->find<QLineEdit>("memoryFilter");
    const auto* button = filter->findChild<QAbstractButton*>();
    QTRY_COMPARE(button->property("opacity").toReal(), filter->text().isEmpty() ? 0.0 : 1.0);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    fWindow.reset();
}

/**
 * Returns the name for a screen reader. A combo box's name is its value there, so its label is
 * used.
 */
QString KeyboardTest::xPartWithFocus() const {
    const QString name = xFocus()->accessibleName();
    return name.isEmpty() ? QAccessible::queryAccessibleInterface(xFocus())->text(QAccessible::Name)
                          : name;
}

/** Presses a key in the focused widget. */
void KeyboardTest::xPress(int key, Qt::KeyboardModifiers modifiers) {
    QTest::keyClick(xFocus(), static_cast<Qt::Key>(key), modifiers);
}

void KeyboardTest::xFilter(const char* words) {
    xPress(Qt::Key_F, Qt::ControlModifier);
    QTRY_COMPARE(xFocus()->objectName(), QStringLiteral("memoryFilter"));
    QTest::keyClicks(xFocus(), QLatin1String(words));
}

void KeyboardTest::xChooseTarget() {
    xFilter("headyaw target");
    QTRY_VERIFY(!indexOf(fViewer, "Battery/Charge").isValid());
    xPress(Qt::Key_Return);
    QCOMPARE(xTree()->currentIndex(), indexOf(fViewer, a_target));
    QTRY_VERIFY(!fWindow->value(a_target).isEmpty());
}

void KeyboardTest::xChooseVolume() {
    xFilter("audio volume");
    QTRY_VERIFY(!indexOf(fViewer, a_target).isValid());
    xPress(Qt::Key_Return);
    QTRY_COMPARE(fWindow->value("Audio/Volume"), QStringLiteral("60"));
}

/** Types into the editor of the current row's value, and leaves it open. */
void KeyboardTest::xEnter(const char* text) {
    xPress(Qt::Key_F2);
    QTRY_COMPARE(xFocus()->objectName(), QStringLiteral("valueEditor"));
    QTest::keyClicks(xFocus(), QLatin1String(text));
}

void KeyboardTest::xPlotTarget() {
    xChooseTarget();
    xPress(Qt::Key_P, Qt::ControlModifier);
    QTRY_VERIFY(fWindow->find<QWidget>("plot") != nullptr &&
                fWindow->find<QWidget>("plot")->isVisible());
}

void KeyboardTest::namesWhateverTakesTheKeyboard() {
    xPlotTarget();
    int named = 0;
    for (QWidget* part : fViewer->findChildren<QWidget*>()) {
        if ((part->focusPolicy() & Qt::TabFocus) == 0 || !part->isVisibleTo(fViewer)) {
            continue;
        }
        QAccessibleInterface* access = QAccessible::queryAccessibleInterface(part);
        QVERIFY(access != nullptr);
        QVERIFY2(!access->text(QAccessible::Name).isEmpty(),
                 qPrintable(QStringLiteral("%1 %2").arg(part->metaObject()->className(),
                                                        part->objectName())));
        ++named;
    }
    QVERIFY(named >= 12);
}

void KeyboardTest::isWalkedThroughInTheOrderOfReading() {
    xPlotTarget();
    const auto* filter = fWindow->find<QLineEdit>("memoryFilter");
    fWindow->find<QLineEdit>("memoryFilter")->setFocus();
    QStringList parts;
    do {
        parts += xPartWithFocus();
        xPress(Qt::Key_Tab);
    } while (xFocus() != filter && parts.size() < a_mostParts);
    const QStringList expected{"Filter",
                               "List",
                               "Columns",
                               "Updates a second",
                               "Pause",
                               "Values in the robot's memory",
                               "Watched values",
                               "Follow",
                               "Time shown",
                               "Show all",
                               "New plot",
                               "Clear",
                               "Remove all",
                               "Save",
                               "Plot 1",
                               "Curves",
                               "Record to a file",
                               "Connection"};
    QCOMPARE(parts.join(QLatin1String(", ")), expected.join(QLatin1String(", ")));
}

void KeyboardTest::reachesEveryControlInBothDirections() {
    for (const bool hasPlot : {false, true}) {
        if (hasPlot) {
            xPlotTarget();
        }
        fWindow->find<QLineEdit>("memoryFilter")->setFocus();
        const QStringList forward = walkedByTab(*fViewer->window(), Qt::Key_Tab);
        QStringList backward = walkedByTab(*fViewer->window(), Qt::Key_Backtab);
        QStringList sorted = forward;
        sorted.sort();
        QCOMPARE(sorted.join(QLatin1String(", ")), tabStops(*fViewer).join(QLatin1String(", ")));
        std::reverse(backward.begin(), backward.end());
        backward.prepend(backward.takeLast());
        QCOMPARE(backward, forward);
    }
}

void KeyboardTest::leadsFromTheFilterToItsResult() {
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Down}) {
        xTree()->clearSelection();
        xFilter("battery charg");
        QTRY_VERIFY(!indexOf(fViewer, a_target).isValid());
        xPress(key);
        QVERIFY(xTree()->hasFocus());
        QCOMPARE(xTree()->currentIndex(), indexOf(fViewer, "Battery/Charge"));
        xPress(Qt::Key_F, Qt::ControlModifier);
        xPress(Qt::Key_Escape);
        QTRY_VERIFY(indexOf(fViewer, a_target).isValid());
    }
}

void KeyboardTest::keepsTheChosenKeyWhenTheFilterIsLeft() {
    xChooseTarget();
    xFilter("joint");
    QTRY_VERIFY(indexOf(fViewer, "Joint/HeadYaw/Position").isValid());
    xPress(Qt::Key_Return);
    QCOMPARE(xTree()->currentIndex(), indexOf(fViewer, a_target));
}

void KeyboardTest::opensTheBranchesAgainThatWereOpenBeforeTheFilter() {
    xTree()->collapse(indexOf(fViewer, "Audio"));
    xTree()->expand(indexOf(fViewer, "Joint/HeadPitch"));
    xChooseTarget();
    xPress(Qt::Key_F, Qt::ControlModifier);
    xPress(Qt::Key_Escape);
    QTRY_VERIFY(indexOf(fViewer, "Battery").isValid());
    QVERIFY(xTree()->isExpanded(indexOf(fViewer, "Battery")));
    QVERIFY(xTree()->isExpanded(indexOf(fViewer, "Joint/HeadPitch")));
    QVERIFY(xTree()->isExpanded(indexOf(fViewer, "Joint/HeadYaw")));
    QVERIFY(!xTree()->isExpanded(indexOf(fViewer, "Joint/LeftElbowYaw")));
    QVERIFY(!xTree()->isExpanded(indexOf(fViewer, "Audio")));
}

void KeyboardTest::editsTheValueOfTheChosenRow() {
    xChooseVolume();
    xEnter("35");
    xPress(Qt::Key_Return);
    QTRY_COMPARE(fWindow->value("Audio/Volume"), QStringLiteral("35"));
    QVERIFY(xTree()->hasFocus());
    xPress(Qt::Key_Z, Qt::ControlModifier);
    QTRY_COMPARE(fWindow->value("Audio/Volume"), QStringLiteral("60"));
}

void KeyboardTest::editsTheValueOfAWatchedKey() {
    xChooseVolume();
    xPress(Qt::Key_D, Qt::ControlModifier);
    xPress(Qt::Key_Tab);
    QCOMPARE(xFocus()->objectName(), QStringLiteral("memoryWatch"));
    xPress(Qt::Key_Home);
    xEnter("35");
    xPress(Qt::Key_Return);
    QTRY_COMPARE(fWindow->value("Audio/Volume"), QStringLiteral("35"));
    QCOMPARE(xFocus()->objectName(), QStringLiteral("memoryWatch"));
}

void KeyboardTest::saysThatNothingWasWrittenWhenTheFieldIsLeft() {
    xChooseVolume();
    xEnter("loud");
    fWindow->find<QLineEdit>("memoryFilter")->setFocus();
    QTRY_COMPARE(noticeOf(fViewer), QStringLiteral("Nothing was written. Enter a whole number, "
                                                   "for instance -12."));
    QCOMPARE(fWindow->value("Audio/Volume"), QStringLiteral("60"));
}

OBVISTA_QTEST_MAIN(KeyboardTest)
#include "keyboard_test.moc"

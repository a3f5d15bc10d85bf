#include "plots/plot_panel.h"

#include "plots/curve_legend.h"
#include "plots/key_mime.h"
#include "plots/plot_canvas.h"
#include "plots/plot_history.h"
#include "plots/plot_view.h"
#include "plots/plotted_keys.h"
#include "plots/time_axis.h"

#include <QAction>
#include <QDateTime>
#include <QFile>
#include <QLabel>
#include <QMenu>
#include <QMimeData>
#include <QMouseEvent>
#include <QSignalSpy>
#include <QSplitter>
#include <QTemporaryDir>
#include <QTimer>
#include <QToolBar>
#include <QWheelEvent>
#include <QtTest>
#include <qt_test_main.h>
#include <qwt_plot.h>
#include <qwt_scale_map.h>

#include <cmath>
#include <held_key.h>
#include <limits>
#include <memory>
#include <timers.h>

using namespace memoryviewer;

namespace {

constexpr qint64 a_second = 1000000;

qint64 timeOfThisComputer() {
    return QDateTime::currentMSecsSinceEpoch() * 1000;
}

/** Grid and texts are grey, and a curve has smoothed edges. */
bool isOfCurve(const QColor& pixel) {
    return pixel.saturation() > 60;
}

/** Waits long enough for some frames and for the panel's visibility check. */
void letFramesPass() {
    bool isOver = false;
    QTimer::singleShot(400, qApp, [&isOver] { isOver = true; });
    QTRY_VERIFY(isOver);
}

/** Counts the paint events of a widget. */
class PaintCounter : public QObject {
  public:
    explicit PaintCounter(QWidget* widget) { widget->installEventFilter(this); }
    int count() const { return fCount; }

  protected:
    bool eventFilter(QObject* /*watched*/, QEvent* event) override {
        fCount += event->type() == QEvent::Paint ? 1 : 0;
        return false;
    }

  private:
    int fCount = 0;
};

}  // namespace

/** Tests the panel in a real window. */
class PanelTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init();
    void cleanup();
    void saysWhatToDoWhenNothingIsPlotted();
    void tellsWhichKeysItNeeds();
    void plotsNoMoreKeysThanItCanShow();
    void followsTheNewestValues();
    void followsTimeWhileNothingChanges();
    void followsAClockThatIsSetBack();
    void isNotLedAstrayByAKeyWithNonsenseForATime();
    void leavesGapsWhereNothingIsKnown();
    void keepsTheLastValuesInTheLegend();
    void putsTheLegendBelowThePlotsWhereItIsNarrow();
    void ticksTheTimeShown();
    void drawsWhatItWasGiven();
    void alignsPlotsBelowEachOther();
    void fitsTheValuesAxis();
    void takesTheMostExtremeValues();
    void pausesAndFollowsByKeyboard();
    void zoomsAndPansByKeyboard();
    void zoomsByTheWheel();
    void pansByDragging();
    void zoomsIntoARectangle();
    void showsTheValuesAtTheCursor();
    void movesTheCursorByKeyboard();
    void removesAndMovesCurvesByKeyboard();
    void takesKeysThatAreDropped();
    void partsKeysThatAreChosenTogetherByUnit();
    void refusesWhatIsNoNumber();
    void showsNamesAsPlainText();
    void savesAPicture();
    void saysForTenSecondsWhereAPictureIs();
    void savesPoints();
    void saysWhatCannotBeSaved();
    void remembersItsPlots();
    void doesNotPaintWhileItCannotBeSeen();
    void paintsNoMoreOftenThanTheEyeSees();
    void changesItsColoursWithThePalette();
    void canBeReachedByTab();

  private:
    void xPlot(const QString& key) { QVERIFY(fPanel->addCurve(key, QStringLiteral("rad"))); }
    void xAppend(const QString& key, qint64 time, double value);
    /** Adds ten points a second from `seconds` before now to now. */
    void xFill(const QString& key, int seconds);
    PlotView* xView(int number = 0) const;
    PlotCanvas* xCanvas(int number = 0) const { return xView(number)->plotCanvas(); }
    TimeAxis& xTime() { return fPanel->timeAxis(); }
    CurveLegend* xLegend() const { return fPanel->findChild<CurveLegend*>(); }
    QString xNotice() const;
    QString xLegendValue(int plot, int row) const;
    void xPause();
    /** Waits until the picture matches the time axis. */
    bool xIsDrawn();
    void xDrop(QWidget* target, const QStringList& names);
    /** Moves the mouse over the first plot with the left button pressed. */
    void xDragTo(const QPoint& to);

    std::unique_ptr<PlotPanel> fPanel;
    qint64 fStart = 0;
};

void PanelTest::init() {
    // Numbers have a decimal point in every language.
    QLocale::setDefault(QLocale(QLocale::German));
    fStart = timeOfThisComputer();
    fPanel = std::make_unique<PlotPanel>();
    fPanel->resize(900, 500);
    fPanel->show();
    QVERIFY(obvista_test::waitForActive(fPanel.get()));
}

void PanelTest::cleanup() {
    fPanel.reset();
}

void PanelTest::xAppend(const QString& key, qint64 time, double value) {
    fPanel->append({{fPanel->keyHandle(key), time, value}});
}

void PanelTest::xFill(const QString& key, int seconds) {
    std::vector<PlotSample> samples;
    for (int i = -10 * seconds; i <= 0; ++i) {
        samples.push_back({fPanel->keyHandle(key), fStart + i * a_second / 10, double(i)});
    }
    fPanel->append(samples);
    QTRY_VERIFY(xTime().now() >= double(fStart));
}

PlotView* PanelTest::xView(int number) const {
    const auto* stack = fPanel->findChild<QSplitter*>(QStringLiteral("plotStack"));
    return qobject_cast<PlotView*>(stack->widget(number));
}

QString PanelTest::xNotice() const {
    const auto* notice = fPanel->findChild<QLabel*>(QStringLiteral("plotNotice"));
    return notice->isVisible() ? notice->text() : QString();
}

QString PanelTest::xLegendValue(int plot, int row) const {
    return xLegend()->topLevelItem(plot)->child(row)->text(CurveLegend::ValueColumn);
}

void PanelTest::xPause() {
    xTime().setFollowing(false);
}

bool PanelTest::xIsDrawn() {
    return obvista_test::waitFor([this] {
        const QwtScaleMap shown = xView()->canvasMap(QwtPlot::xBottom);
        return shown.s1() == xTime().left() && shown.s2() == xTime().right();
    });
}

void PanelTest::xDrop(QWidget* target, const QStringList& names) {
    const std::unique_ptr<QMimeData> data(keysToMime(names));
    const QPoint middle = target->rect().center();
    QDragEnterEvent enter(middle, Qt::CopyAction, data.get(), Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(target, &enter);
    QVERIFY(enter.isAccepted());
    QDropEvent drop(middle, Qt::CopyAction, data.get(), Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(target, &drop);
}

void PanelTest::xDragTo(const QPoint& to) {
    // A move of the cursor would arrive from the X server, perhaps after the release.
    QMouseEvent drag(QEvent::MouseMove, to, xCanvas()->mapToGlobal(to), Qt::NoButton,
                     Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(xCanvas(), &drag);
}

void PanelTest::saysWhatToDoWhenNothingIsPlotted() {
    auto* message = fPanel->findChild<QLabel*>(QStringLiteral("plotMessage"));
    QVERIFY(message->isVisible());
    QVERIFY(message->text().contains(QStringLiteral("Drag keys")));
    xPlot(QStringLiteral("A"));
    QVERIFY(!message->isVisible());
    QTRY_COMPARE(xLegendValue(0, 0), QStringLiteral("no value yet"));
    fPanel->removeCurve(QStringLiteral("A"));
    QVERIFY(message->isVisible());
}

void PanelTest::tellsWhichKeysItNeeds() {
    QSignalSpy changed(fPanel.get(), &PlotPanel::plottedKeysChanged);
    xPlot(QStringLiteral("A"));
    QCOMPARE(changed.size(), 1);
    xPlot(QStringLiteral("A"));
    QCOMPARE(changed.size(), 1);
    fPanel->addCurveToNewPlot(QStringLiteral("A"), QString());
    QCOMPARE(changed.size(), 1);
    fPanel->addCurveToNewPlot(QStringLiteral("B"), QString());
    QCOMPARE(changed.size(), 2);
    QCOMPARE(fPanel->plottedKeys(), (QStringList{QStringLiteral("A"), QStringLiteral("B")}));
    QCOMPARE(fPanel->keyHandle(QStringLiteral("C")), -1);
    fPanel->removeCurve(QStringLiteral("A"));
    QCOMPARE(changed.size(), 3);
    QCOMPARE(fPanel->plottedKeys(), QStringList(QStringLiteral("B")));
    fPanel->removeAll();
    QCOMPARE(changed.size(), 4);
    QVERIFY(fPanel->plottedKeys().isEmpty());
    QCOMPARE(fPanel->history().size(), std::size_t(0));
}

void PanelTest::plotsNoMoreKeysThanItCanShow() {
    for (int i = 0; i < PlottedKeys::a_most; ++i) {
        QVERIFY(fPanel->addCurve(QString::number(i), QString()));
    }
    QVERIFY(!fPanel->addCurve(QStringLiteral("another"), QString()));
    QCOMPARE(xNotice(), QStringLiteral("No more than 100 keys are plotted at a time."));
    QVERIFY(fPanel->addCurve(QStringLiteral("5"), QString()));
}

void PanelTest::followsTheNewestValues() {
    xPlot(QStringLiteral("A"));
    xAppend(QStringLiteral("A"), fStart, 1);
    QTRY_VERIFY(xTime().right() >= double(fStart));
    QVERIFY(xTime().right() < double(fStart + 5 * a_second));
    xAppend(QStringLiteral("A"), fStart + 5 * a_second, 2);
    QTRY_VERIFY(xTime().right() >= double(fStart + 5 * a_second));
    QCOMPARE(xTime().span(), 30.0 * a_second);
    QTRY_COMPARE(xLegendValue(0, 0), QStringLiteral("2"));
}

void PanelTest::followsTimeWhileNothingChanges() {
    xPlot(QStringLiteral("A"));
    xAppend(QStringLiteral("A"), fStart, 1);
    QTRY_VERIFY(xTime().right() > double(fStart + a_second / 2));
    fPanel->breakCurves();
    const std::size_t last = fPanel->history().curve(fPanel->keyHandle(QStringLiteral("A"))).size();
    QCOMPARE(last, std::size_t(2));
    QTRY_COMPARE(
        xTime().right(),
        double(fPanel->history().curve(fPanel->keyHandle(QStringLiteral("A"))).last().fTime));
}

void PanelTest::followsAClockThatIsSetBack() {
    xPlot(QStringLiteral("A"));
    xFill(QStringLiteral("A"), 20);
    const qint64 before = fStart - 3600 * a_second;
    xAppend(QStringLiteral("A"), before, 1);
    QTRY_VERIFY(xTime().right() < double(before + 60 * a_second));
}

void PanelTest::isNotLedAstrayByAKeyWithNonsenseForATime() {
    xPlot(QStringLiteral("A"));
    xPlot(QStringLiteral("B"));
    xFill(QStringLiteral("A"), 20);
    xAppend(QStringLiteral("B"), std::numeric_limits<qint64>::max(), 1);
    xAppend(QStringLiteral("B"), std::numeric_limits<qint64>::min(), 1);
    xAppend(QStringLiteral("A"), fStart + a_second, 1);
    QTRY_VERIFY(xTime().right() >= double(fStart + a_second));
    QVERIFY(xTime().right() < double(fStart + 60 * a_second));
    fPanel->showAll();
    QVERIFY(xIsDrawn());
}

void PanelTest::leavesGapsWhereNothingIsKnown() {
    xPlot(QStringLiteral("A"));
    xPlot(QStringLiteral("B"));
    xFill(QStringLiteral("A"), 10);
    xFill(QStringLiteral("B"), 10);
    fPanel->keyGone(QStringLiteral("A"));
    const auto curve = [this](const QString& key) -> const CurveHistory& {
        return fPanel->history().curve(fPanel->keyHandle(key));
    };
    QVERIFY(!curve(QStringLiteral("A")).isGoingOn());
    QVERIFY(curve(QStringLiteral("B")).isGoingOn());
    fPanel->breakCurves();
    QVERIFY(!curve(QStringLiteral("B")).isGoingOn());
}

void PanelTest::keepsTheLastValuesInTheLegend() {
    xPlot(QStringLiteral("A"));
    xFill(QStringLiteral("A"), 10);
    QTRY_COMPARE(xLegendValue(0, 0), QStringLiteral("0"));
    fPanel->breakCurves();
    QVERIFY(!fPanel->history().curve(fPanel->keyHandle(QStringLiteral("A"))).isGoingOn());
    QVERIFY(xIsDrawn());
    QCOMPARE(xLegendValue(0, 0), QStringLiteral("0"));
    xAppend(QStringLiteral("A"), fStart + a_second, 12);
    QTRY_COMPARE(xLegendValue(0, 0), QStringLiteral("12"));
    fPanel->endCurves(fStart + a_second);  // the robot is lost
    QVERIFY(xIsDrawn());
    QCOMPARE(xLegendValue(0, 0), QStringLiteral("12"));
}

void PanelTest::putsTheLegendBelowThePlotsWhereItIsNarrow() {
    xPlot(QStringLiteral("A"));
    fPanel->resize(420, 400);
    QTRY_VERIFY(xCanvas()->width() > 250);
    QVERIFY(xCanvas()->height() > 100);
    QVERIFY(xLegend()->mapTo(fPanel.get(), QPoint()).y() >
            xCanvas()->mapTo(fPanel.get(), QPoint(0, xCanvas()->height())).y());
    fPanel->resize(1200, 400);
    QTRY_VERIFY(xLegend()->mapTo(fPanel.get(), QPoint()).x() > 600);
}

void PanelTest::ticksTheTimeShown() {
    xPlot(QStringLiteral("A"));
    const auto* menu = fPanel->findChild<QAction*>(QStringLiteral("plotSpan"))->menu();
    const auto ticked = [menu] {
        Q_EMIT const_cast<QMenu*>(menu)->aboutToShow();
        QStringList texts;
        for (const QAction* action : menu->actions()) {
            if (action->isChecked()) {
                texts += action->text();
            }
        }
        return texts;
    };
    xTime().setSpan(10e6);
    QCOMPARE(ticked(), QStringList("&10 seconds"));
    xTime().setSpan(60e6);
    QCOMPARE(ticked(), QStringList("1 &minute"));
    xTime().setSpan(61e6);
    QCOMPARE(ticked(), QStringList());
}

/**
 * Checks the pixels: a curve of one value is a line at its height, in its colour, except for the
 * gap.
 */
void PanelTest::drawsWhatItWasGiven() {
    xPlot(QStringLiteral("A"));
    for (int i = -300; i <= 0; ++i) {
        const bool isGap = i > -200 && i < -100;
        xAppend(QStringLiteral("A"), fStart + i * a_second / 10, isGap ? std::nan("") : 4.3);
    }
    xPause();
    xTime().show(double(fStart - 30 * a_second), double(fStart));
    xView()->setValues(0, 10);
    QVERIFY(xIsDrawn());
    QTRY_COMPARE(xView()->canvasMap(QwtPlot::yLeft).s2(), 10.0);
    const QImage picture = xCanvas()->grab().toImage();
    const int y = int(xView()->canvasMap(QwtPlot::yLeft).transform(4.3));
    const auto isDrawnAt = [&](double secondsAgo) {
        const double time = double(fStart) - secondsAgo * double(a_second);
        const int x = int(xView()->canvasMap(QwtPlot::xBottom).transform(time));
        return isOfCurve(picture.pixelColor(x, y)) || isOfCurve(picture.pixelColor(x, y - 1));
    };
    QVERIFY(isDrawnAt(25));
    QVERIFY(isDrawnAt(5));
    QVERIFY(!isDrawnAt(15));
    QVERIFY(!isDrawnAt(11));
}

void PanelTest::alignsPlotsBelowEachOther() {
    xPlot(QStringLiteral("A"));
    QVERIFY(fPanel->addCurve(QStringLiteral("Of another unit"), QStringLiteral("m")));
    fPanel->addCurveToNewPlot(QStringLiteral("B"), QStringLiteral("rad"));
    fPanel->addCurveToNewPlot(QStringLiteral("C"), QStringLiteral("rad"));
    for (int i = 0; i < 40; ++i) {
        xAppend(QStringLiteral("A"), fStart + i * a_second, i);
        xAppend(QStringLiteral("B"), fStart + i * a_second, 1e6 * i);
        xAppend(QStringLiteral("C"), fStart + i * a_second, i);
    }
    xPause();
    // For any labels close to the ends of the axis.
    for (int step = 0; step < 12; ++step) {
        xTime().show(double(fStart) + step * 0.7 * a_second, double(fStart) + 25.0 * a_second);
        QVERIFY(xIsDrawn());
        const auto edges = [this](int plot) {
            const PlotCanvas* canvas = xCanvas(plot);
            const int left = canvas->mapTo(fPanel.get(), QPoint()).x();
            return std::make_pair(left, left + canvas->width());
        };
        QTRY_VERIFY(std::abs(edges(1).first - edges(0).first) <= 1);
        QTRY_VERIFY(std::abs(edges(2).first - edges(0).first) <= 1);
        QTRY_COMPARE(edges(1).second, edges(0).second);
        QTRY_COMPARE(edges(2).second, edges(0).second);
    }
}

void PanelTest::fitsTheValuesAxis() {
    xPlot(QStringLiteral("A"));
    xAppend(QStringLiteral("A"), fStart - a_second, 20);
    xAppend(QStringLiteral("A"), fStart, 80);
    const auto low = [this] { return xView()->canvasMap(QwtPlot::yLeft).s1(); };
    const auto high = [this] { return xView()->canvasMap(QwtPlot::yLeft).s2(); };
    QTRY_VERIFY(low() < 20 && low() > 0 && high() > 80 && high() < 100);
    QTest::keyClick(xCanvas(), Qt::Key_Plus, Qt::ControlModifier);
    QVERIFY(xView()->chosenValues().has_value());
    xAppend(QStringLiteral("A"), fStart + a_second, 500);
    QTRY_VERIFY(xTime().right() >= double(fStart + a_second));
    QVERIFY(high() < 100);
    QTest::keyClick(xCanvas(), Qt::Key_F);
    QTRY_VERIFY(high() > 500);
}

void PanelTest::takesTheMostExtremeValues() {
    xPlot(QStringLiteral("A"));
    const double infinity = std::numeric_limits<double>::infinity();
    qint64 time = fStart - 20 * a_second;
    for (const double value : {1e308, -1e308, infinity, 5e-324, -infinity, 0.0, 1e-300, 1e300}) {
        xAppend(QStringLiteral("A"), time += a_second, value);
        xAppend(QStringLiteral("A"), time += a_second / 10, value);
    }
    QTRY_VERIFY(xTime().right() >= double(time));
    for (int i = 0; i < 600; ++i) {
        QTest::keyClick(xCanvas(), i < 300 ? Qt::Key_Plus : Qt::Key_Minus,
                        i % 2 == 0 ? Qt::ControlModifier : Qt::NoModifier);
    }
    QVERIFY(xTime().span() > 0);
    QVERIFY(std::isfinite(xTime().left()));
    xPause();
    QVERIFY(xIsDrawn());
    const QwtScaleMap values = xView()->canvasMap(QwtPlot::yLeft);
    QVERIFY(std::isfinite(values.s1()) && std::isfinite(values.s2()) && values.s1() < values.s2());
}

void PanelTest::pausesAndFollowsByKeyboard() {
    xPlot(QStringLiteral("A"));
    xFill(QStringLiteral("A"), 60);
    const auto* follow = fPanel->findChild<QAction*>(QStringLiteral("plotFollow"));
    xCanvas()->setFocus();
    QTRY_VERIFY(xCanvas()->hasFocus());
    obvista_test::holdKey(Qt::Key_Space);
    QVERIFY(!xTime().isFollowing());
    QVERIFY(!follow->isChecked());
    const double right = xTime().right();
    xAppend(QStringLiteral("A"), fStart + 10 * a_second, 1);
    auto* status = fPanel->findChild<QLabel*>(QStringLiteral("plotStatus"));
    QTRY_VERIFY(status->text().contains(QStringLiteral("602 of 1\u202F000\u202F000 points")));
    QVERIFY(status->text().startsWith(QStringLiteral("paused")));
    QCOMPARE(xTime().right(), right);
    QTest::keyClick(xCanvas(), Qt::Key_End);
    QVERIFY(xTime().isFollowing());
    QVERIFY(follow->isChecked());
    QTRY_VERIFY(xTime().right() >= double(fStart + 10 * a_second));
}

void PanelTest::zoomsAndPansByKeyboard() {
    xPlot(QStringLiteral("A"));
    xFill(QStringLiteral("A"), 60);
    QTest::keyClick(xCanvas(), Qt::Key_Plus);
    QVERIFY(xTime().isFollowing());
    QCOMPARE(xTime().span(), 24.0 * a_second);
    QTest::keyClick(xCanvas(), Qt::Key_Minus);
    QCOMPARE(xTime().span(), 30.0 * a_second);
    const double right = xTime().right();
    QTest::keyClick(xCanvas(), Qt::Key_Left);
    QVERIFY(!xTime().isFollowing());
    QCOMPARE(xTime().right(), right - 3.0 * a_second);
    QTest::keyClick(xCanvas(), Qt::Key_PageUp);
    QCOMPARE(xTime().right(), right - 33.0 * a_second);
    QTest::keyClick(xCanvas(), Qt::Key_Home);
    QCOMPARE(xTime().left(), double(fStart - 60 * a_second));
    QCOMPARE(xTime().right(), double(fStart));
    QVERIFY(xIsDrawn());
    const double low = xView()->canvasMap(QwtPlot::yLeft).s1();
    QTest::keyClick(xCanvas(), Qt::Key_Up);
    QVERIFY(xView()->chosenValues()->fMinimum > low);
}

void PanelTest::zoomsByTheWheel() {
    xPlot(QStringLiteral("A"));
    xFill(QStringLiteral("A"), 60);
    xPause();
    QVERIFY(xIsDrawn());
    const auto turn = [this](Qt::KeyboardModifiers modifiers) {
        const QPointF position(xCanvas()->width() / 4.0, xCanvas()->height() / 4.0);
        QWheelEvent event(position, xCanvas()->mapToGlobal(position.toPoint()), {}, {0, 120},
                          Qt::NoButton, modifiers, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(xCanvas(), &event);
    };
    const double anchor = xTime().left() + xTime().span() / 4;
    turn(Qt::NoModifier);
    QCOMPARE(xTime().span(), 24.0 * a_second);
    QVERIFY(std::fabs(xTime().left() + xTime().span() / 4 - anchor) < xTime().span() / 100);
    QVERIFY(xIsDrawn());
    const QwtScaleMap before = xView()->canvasMap(QwtPlot::yLeft);
    turn(Qt::ControlModifier);
    QVERIFY(std::fabs(xView()->chosenValues()->fMaximum - xView()->chosenValues()->fMinimum -
                      (before.s2() - before.s1()) / 1.25) < 1e-9);
}

void PanelTest::pansByDragging() {
    xPlot(QStringLiteral("A"));
    xFill(QStringLiteral("A"), 60);
    xPause();
    QVERIFY(xIsDrawn());
    const double right = xTime().right();
    const QPoint middle = xCanvas()->rect().center();
    const int distance = xCanvas()->width() / 4;
    QTest::mousePress(xCanvas(), Qt::LeftButton, Qt::NoModifier, middle);
    xDragTo(middle + QPoint(distance, 2));
    QTest::mouseRelease(xCanvas(), Qt::LeftButton, Qt::NoModifier, middle + QPoint(distance, 2));
    const double moved = (right - xTime().right()) / xTime().span();
    QVERIFY(std::fabs(moved - double(distance) / xCanvas()->width()) < 0.01);
    QVERIFY2(!xView()->chosenValues(), "a little up and down leaves the values axis alone");
}

void PanelTest::zoomsIntoARectangle() {
    xPlot(QStringLiteral("A"));
    xFill(QStringLiteral("A"), 60);
    xPause();
    QVERIFY(xIsDrawn());
    const QwtScaleMap times = xView()->canvasMap(QwtPlot::xBottom);
    const QwtScaleMap values = xView()->canvasMap(QwtPlot::yLeft);
    const QPoint from(100, 40);
    const QPoint to(200, 120);
    QTest::mousePress(xCanvas(), Qt::LeftButton, Qt::ShiftModifier, from);
    xDragTo(to);
    QTest::mouseRelease(xCanvas(), Qt::LeftButton, Qt::ShiftModifier, to);
    QCOMPARE(xTime().left(), times.invTransform(from.x()));
    QCOMPARE(xTime().right(), times.invTransform(to.x()));
    QCOMPARE(xView()->chosenValues()->fMaximum, values.invTransform(from.y()));
    QCOMPARE(xView()->chosenValues()->fMinimum, values.invTransform(to.y()));
    QTest::mouseDClick(xCanvas(), Qt::LeftButton, Qt::NoModifier, to);
    QVERIFY(!xView()->chosenValues());
}

void PanelTest::showsTheValuesAtTheCursor() {
    xPlot(QStringLiteral("A"));
    fPanel->addCurveToNewPlot(QStringLiteral("B"), QString());
    xFill(QStringLiteral("A"), 20);
    xPause();
    QVERIFY(xIsDrawn());
    const double time = double(fStart - 5 * a_second) + 1;
    const int x = qRound(xView()->canvasMap(QwtPlot::xBottom).transform(time));
    QTest::mouseMove(xCanvas(), QPoint(x + 1, 20));
    QTRY_VERIFY(xTime().cursor().has_value());
    const double cursor = *xTime().cursor();
    const double expected = std::floor((cursor - double(fStart)) / (a_second / 10.0));
    QCOMPARE(xLegendValue(0, 0), QString::number(expected));
    QCOMPARE(xLegendValue(1, 0), QStringLiteral("no value yet"));
    QVERIFY(xLegend()->headerItem()->text(CurveLegend::ValueColumn).contains(QLatin1Char(':')));
    xTime().setCursor(double(fStart - 100 * a_second));
    QCOMPARE(xLegendValue(0, 0), QStringLiteral("none"));
}

void PanelTest::movesTheCursorByKeyboard() {
    xPlot(QStringLiteral("A"));
    xFill(QStringLiteral("A"), 20);
    xPause();
    QTest::keyClick(xCanvas(), Qt::Key_Left, Qt::ShiftModifier);
    QVERIFY(xTime().cursor().has_value());
    const double first = *xTime().cursor();
    QTest::keyClick(xCanvas(), Qt::Key_Right, Qt::ShiftModifier);
    QCOMPARE(*xTime().cursor(), first + xTime().span() / 100);
    for (int i = 0; i < 200; ++i) {
        QTest::keyClick(xCanvas(), Qt::Key_Right, Qt::ShiftModifier);
    }
    QCOMPARE(*xTime().cursor(), xTime().right());
    QTest::keyClick(xCanvas(), Qt::Key_Escape);
    QVERIFY(!xTime().cursor().has_value());
}

void PanelTest::removesAndMovesCurvesByKeyboard() {
    xPlot(QStringLiteral("A"));
    xPlot(QStringLiteral("B"));
    fPanel->addCurveToNewPlot(QStringLiteral("C"), QString());
    xFill(QStringLiteral("B"), 20);
    const std::size_t points = fPanel->history().size();
    CurveLegend* legend = xLegend();
    legend->setFocus();
    legend->setCurrentItem(legend->topLevelItem(0)->child(1));
    QContextMenuEvent menuKey(QContextMenuEvent::Keyboard, QPoint(), QPoint());
    QCoreApplication::sendEvent(legend, &menuKey);
    auto* menu = fPanel->findChild<QMenu*>(QStringLiteral("plotMenu"));
    QTRY_VERIFY(menu != nullptr && menu->isVisible());
    QTest::keyClick(menu, Qt::Key_M);
    auto* targets = menu->findChild<QMenu*>();
    QTRY_VERIFY(targets->isVisible());
    QTest::keyClick(targets, Qt::Key_N);
    QTRY_COMPARE(legend->topLevelItemCount(), 3);
    QCOMPARE(legend->topLevelItem(0)->childCount(), 1);
    QCOMPARE(legend->topLevelItem(2)->child(0)->text(0), QStringLiteral("B [rad]"));
    QCOMPARE(fPanel->history().size(), points);

    legend->setCurrentItem(legend->topLevelItem(0)->child(0));
    QTest::keyClick(legend, Qt::Key_Delete);
    QCOMPARE(fPanel->plottedKeys(), (QStringList{QStringLiteral("B"), QStringLiteral("C")}));
    QCOMPARE(legend->topLevelItemCount(), 2);
    legend->setCurrentItem(legend->topLevelItem(0));
    QTest::keyClick(legend, Qt::Key_Delete);
    QCOMPARE(fPanel->plottedKeys(), QStringList(QStringLiteral("B")));
}

void PanelTest::takesKeysThatAreDropped() {
    QSignalSpy changed(fPanel.get(), &PlotPanel::plottedKeysChanged);
    xDrop(fPanel.get(), {QStringLiteral("A"), QStringLiteral("B")});
    QCOMPARE(changed.size(), 2);
    QCOMPARE(xLegend()->topLevelItemCount(), 1);
    fPanel->addPlot();
    xDrop(xView(0), {QStringLiteral("C")});
    xDrop(xView(1), {QStringLiteral("A")});
    QCOMPARE(xLegend()->topLevelItem(0)->childCount(), 3);
    QCOMPARE(xLegend()->topLevelItem(1)->childCount(), 1);
    fPanel->describeKey(QStringLiteral("A"), QStringLiteral("m"), CurveShape::Line);
    QCOMPARE(xLegend()->topLevelItem(1)->child(0)->text(0), QStringLiteral("A [m]"));
}

void PanelTest::partsKeysThatAreChosenTogetherByUnit() {
    // The unit precedes the dot.
    fPanel->setKeyLookup([](const QString& key) {
        return std::optional(PlottedKey{key, key.section(QLatin1Char('.'), 0, 0)});
    });
    const auto names = [this](int plot) {
        QStringList shown;
        const QTreeWidgetItem* item = xLegend()->topLevelItem(plot);
        for (int row = 0; item != nullptr && row < item->childCount(); ++row) {
            shown += item->child(row)->text(0).section(QLatin1Char(' '), 0, 0);
        }
        return shown;
    };
    const QStringList branch{"V.1", "A.1", "V.2", ".1"};
    xDrop(fPanel.get(), branch);
    QCOMPARE(xLegend()->topLevelItemCount(), 3);
    QCOMPARE(names(0), QStringList({"V.1", "V.2"}));
    QCOMPARE(names(1), QStringList("A.1"));
    QCOMPARE(names(2), QStringList(".1"));
    // Again, and with further keys, into the plots of these units.
    fPanel->addCurves(branch, false);
    QCOMPARE(xLegend()->topLevelItemCount(), 3);
    xDrop(xView(0), {QStringLiteral("A.2"), QStringLiteral("V.3"), QStringLiteral("K.1")});
    QCOMPARE(xLegend()->topLevelItemCount(), 4);
    QCOMPARE(names(0), QStringList({"V.1", "V.2", "V.3"}));
    QCOMPARE(names(1), QStringList({"A.1", "A.2"}));
    QCOMPARE(names(3), QStringList("K.1"));
    // Keys of a single unit go to the plot on which they are dropped.
    xDrop(xView(0), {QStringLiteral("A.3")});
    QCOMPARE(names(0), QStringList({"V.1", "V.2", "V.3", "A.3"}));
    fPanel->addCurves({QStringLiteral("V.4"), QStringLiteral("A.4")}, true);
    QCOMPARE(xLegend()->topLevelItemCount(), 6);
    QCOMPARE(names(5), QStringList("A.4"));
}

void PanelTest::refusesWhatIsNoNumber() {
    fPanel->setKeyLookup([](const QString& key) {
        return key == QStringLiteral("Text") ? std::nullopt : std::optional(PlottedKey{key, {}});
    });
    xDrop(fPanel.get(), {QStringLiteral("Text"), QStringLiteral("Number")});
    QCOMPARE(fPanel->plottedKeys(), QStringList(QStringLiteral("Number")));
    QCOMPARE(xNotice(), QStringLiteral("Not plotted, since the values are not numbers: Text."));
    QMimeData text;
    text.setText(QStringLiteral("Number"));
    QVERIFY(keysFromMime(&text).isEmpty());
    text.setData(QLatin1String(a_keyMimeType), "\x7f\xff\xff\xff nonsense");
    QVERIFY(keysFromMime(&text).isEmpty());
}

void PanelTest::showsNamesAsPlainText() {
    const QString name = QStringLiteral("<b>bold</b>\n&amp;");
    QVERIFY(fPanel->addCurve(name, QStringLiteral("<i>m</i>")));
    QCOMPARE(xLegend()->topLevelItem(0)->child(0)->text(0),
             QStringLiteral("<b>bold</b>\\n&amp; [<i>m</i>]"));
    QVERIFY(
        xLegend()->topLevelItem(0)->child(0)->toolTip(0).contains(QStringLiteral("&lt;b&gt;bold")));
    QCOMPARE(xView()->axisTitle(QwtPlot::yLeft).text(), QStringLiteral("<i>m</i>"));
    QCOMPARE(xView()->axisTitle(QwtPlot::yLeft).renderFlags() & Qt::TextExpandTabs, 0);
    QCOMPARE(fPanel->plottedKeys(), QStringList(name));
}

void PanelTest::savesAPicture() {
    xPlot(QStringLiteral("A"));
    xFill(QStringLiteral("A"), 20);
    QVERIFY(xIsDrawn());
    const QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("plot.png"));
    fPanel->savePicture(file);
    QCOMPARE(xNotice(), QStringLiteral("Picture saved in %1.").arg(file));
    const QImage picture(file);
    QCOMPARE(picture.width(), qRound(xView()->width() * fPanel->devicePixelRatioF()));
    QVERIFY(picture.height() > xView()->height());
    int inPlot = 0;
    int inLegend = 0;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            (y < xView()->height() ? inPlot : inLegend) += isOfCurve(picture.pixelColor(x, y));
        }
    }
    QVERIFY(inPlot > 100);
    QVERIFY(inLegend > 10);
}

void PanelTest::saysForTenSecondsWhereAPictureIs() {
    xPlot(QStringLiteral("A"));
    const auto* timer = fPanel->findChild<QTimer*>(QStringLiteral("savedTimer"));
    const QTemporaryDir folder;
    fPanel->savePicture(QStringLiteral("/none/plot.png"));
    QVERIFY(!xNotice().isEmpty());
    QVERIFY(!timer->isActive());  // a failure remains until the next response
    fPanel->savePicture(folder.filePath(QStringLiteral("plot.png")));
    QVERIFY2(xNotice().contains(folder.path()), qPrintable(xNotice()));
    QVERIFY(timer->isActive());
    QCOMPARE(timer->interval(), 10000);
    obvista_test::expire(const_cast<QTimer&>(*timer));
    QCOMPARE(xNotice(), QString());
    QVERIFY(!timer->isActive());
}

void PanelTest::savesPoints() {
    fPanel->addCurve(QStringLiteral("=A"), QStringLiteral("rad"));
    xAppend(QStringLiteral("=A"), a_second, 0.5);
    xAppend(QStringLiteral("=A"), 2 * a_second, std::nan(""));
    fPanel->keyGone(QStringLiteral("=A"));
    xAppend(QStringLiteral("=A"), 9 * a_second, -1.25);
    QTRY_VERIFY(xTime().right() >= 9.0 * a_second);
    const QTemporaryDir folder;
    const auto saved = [&](bool onlyShown) {
        QFile file(folder.filePath(QStringLiteral("points.csv")));
        fPanel->savePoints(file.fileName(), onlyShown);
        return obvista_test::waitFor([this] {
                   return xNotice().contains(QStringLiteral("saved in"));
               }) && file.open(QIODevice::ReadOnly)
                   ? file.readAll()
                   : QByteArray();
    };
    const QByteArray header = "time_us,time_utc,key,value,unit,type\r\n";
    const QByteArray last = "9000000,1970-01-01T00:00:09.000000Z,'=A,-1.25,rad,float\r\n";
    QCOMPARE(saved(false), header +
                               "1000000,1970-01-01T00:00:01.000000Z,'=A,0.5,rad,float\r\n"
                               "2000000,1970-01-01T00:00:02.000000Z,'=A,nan,rad,float\r\n"
                               "2000000,1970-01-01T00:00:02.000000Z,'=A,,rad,gap\r\n" +
                               last);
    QCOMPARE(xNotice(), QStringLiteral("4 points saved in %1.").arg(folder.filePath("points.csv")));
    xTime().show(8.0 * a_second, 10.0 * a_second);
    fPanel->addPlot();
    fPanel->removeCurve(QStringLiteral("none"));
    xView(0)->plotCanvas()->setFocus();
    QTRY_VERIFY(xView(0)->plotCanvas()->hasFocus());
    fPanel->savePoints(folder.filePath(QStringLiteral("points.csv")), true);
    QTRY_COMPARE(xNotice(),
                 QStringLiteral("1 point saved in %1.").arg(folder.filePath("points.csv")));
}

void PanelTest::saysWhatCannotBeSaved() {
    xPlot(QStringLiteral("A"));
    xFill(QStringLiteral("A"), 20);
    fPanel->savePoints(QStringLiteral("/dev/full"), false);
    QTRY_COMPARE(xNotice(), QStringLiteral("full cannot be written: The disk is full."));
    fPanel->savePicture(QStringLiteral("/none/plot.png"));
    QVERIFY2(xNotice().startsWith(QStringLiteral("plot.png cannot be written: ")),
             qPrintable(xNotice()));
}

void PanelTest::remembersItsPlots() {
    fPanel->addCurve(QStringLiteral("A"), QStringLiteral("rad"));
    fPanel->addCurve(QStringLiteral("B"), QStringLiteral("m"), CurveShape::Steps);
    fPanel->addCurveToNewPlot(QStringLiteral("A"), QStringLiteral("rad"));
    xTime().setSpan(5.0 * a_second);
    const QVariantMap state = fPanel->saveState();

    PlotPanel other;
    other.restoreState(state);
    QCOMPARE(other.saveState(), state);
    QCOMPARE(other.plottedKeys(), (QStringList{QStringLiteral("A"), QStringLiteral("B")}));
    QCOMPARE(other.timeAxis().span(), 5.0 * a_second);
    other.restoreState({{QStringLiteral("plots"), 5}, {QStringLiteral("span"), QString()}});
    QVERIFY(other.plottedKeys().isEmpty());
}

void PanelTest::doesNotPaintWhileItCannotBeSeen() {
    xPlot(QStringLiteral("A"));
    xFill(QStringLiteral("A"), 20);
    fPanel->hide();
    const PaintCounter paints(xCanvas());
    const double right = xTime().right();
    for (int i = 1; i <= 20; ++i) {
        xAppend(QStringLiteral("A"), fStart + i * a_second, i);
    }
    letFramesPass();
    QCOMPARE(paints.count(), 0);
    QCOMPARE(xTime().right(), right);
    fPanel->show();
    QTRY_VERIFY(xTime().right() >= double(fStart + 20 * a_second));
    QTRY_VERIFY(paints.count() > 0);

    fPanel->showMinimized();
    QTRY_VERIFY(!fPanel->windowHandle()->isExposed());
    const double before = xTime().right();
    xAppend(QStringLiteral("A"), fStart + 60 * a_second, 1);
    letFramesPass();
    QCOMPARE(xTime().right(), before);
    fPanel->showNormal();
    QTRY_VERIFY(xTime().right() >= double(fStart + 60 * a_second));
}

void PanelTest::paintsNoMoreOftenThanTheEyeSees() {
    xPlot(QStringLiteral("A"));
    xFill(QStringLiteral("A"), 20);
    QVERIFY(xIsDrawn());
    const PaintCounter paints(xCanvas());
    QElapsedTimer time;
    time.start();
    for (int i = 0; time.elapsed() < 1000; ++i) {
        xAppend(QStringLiteral("A"), fStart + i * 1000, i);
        QTest::qWait(1);
    }
    const double perSecond = double(paints.count()) / (double(time.elapsed()) / 1000);
    QVERIFY2(perSecond > 1 && perSecond < 28, qPrintable(QString::number(perSecond)));
}

void PanelTest::changesItsColoursWithThePalette() {
    xPlot(QStringLiteral("A"));
    const int key = fPanel->keyHandle(QStringLiteral("A"));
    const QColor onLight = xView()->penOf(key).color();
    QPalette dark;
    dark.setColor(QPalette::Base, QColor(30, 30, 30));
    dark.setColor(QPalette::Text, Qt::white);
    fPanel->setPalette(dark);
    QVERIFY(xView()->penOf(key).color() != onLight);
    QVERIFY(xView()->penOf(key).color().lightness() > 128);
    QTRY_COMPARE(xCanvas()->grab().toImage().pixelColor(3, 3), QColor(30, 30, 30));
}

void PanelTest::canBeReachedByTab() {
    xPlot(QStringLiteral("A"));
    QStringList reached;
    fPanel->findChild<QToolBar*>()
        ->widgetForAction(fPanel->findChild<QAction*>(QStringLiteral("plotFollow")))
        ->setFocus();
    for (int i = 0; i < 20; ++i) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        reached += QApplication::focusWidget()->accessibleName();
    }
    QVERIFY(reached.contains(QStringLiteral("Plot 1")));
    QVERIFY(reached.contains(QStringLiteral("Curves")));
}

OBVISTA_QTEST_MAIN(PanelTest)
#include "plot_panel_test.moc"

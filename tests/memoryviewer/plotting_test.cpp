#include "robot_window.h"

#include <QDropEvent>
#include <QElapsedTimer>
#include <QFile>
#include <QLabel>
#include <QMimeData>
#include <QMouseEvent>
#include <QSettings>
#include <QTemporaryDir>
#include <QToolBar>
#include <QToolButton>
#include <QTreeWidget>
#include <QWheelEvent>
#include <QtTest>
#include <qt_test_main.h>
#include <qwt_plot.h>
#include <qwt_scale_map.h>

#include <memory>
#include <utility>

using namespace obvista_test;

namespace {

constexpr int a_nameColumn = 0;
constexpr int a_valueColumn = 1;

std::pair<double, double> timesOf(const QwtPlot* plot) {
    const QwtScaleMap map = plot->canvasMap(QwtPlot::xBottom);
    return {map.s1(), map.s2()};
}

double middleOf(const std::pair<double, double>& span) {
    return (span.first + span.second) / 2;
}

/** Returns the longest time between two times in which no curve is drawn, in microseconds. */
double longestGap(const QImage& picture, const QwtScaleMap& map, double from, double to) {
    double begin = from;
    double longest = 0;
    for (int x = qCeil(map.transform(from)); x <= map.transform(to); ++x) {
        if (isCurveAt(picture, x)) {
            begin = map.invTransform(x);
        }
        longest = qMax(longest, map.invTransform(x) - begin);
    }
    return longest;
}

}  // namespace

/** Tests plots in the viewer's window with values of a robot. */
class PlottingTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init();
    void cleanup();
    void plotsSeveralCurvesInSeveralPlots();
    void takesKeysThatAreDraggedFromTheTree();
    void showsTheSameTimesInAllPlots();
    void pausesWhileValuesGoOn();
    void showsTheValuesAtTheCursorOfAllPlots();
    void drawsAGapWhereNothingWasFollowed();
    void drawsAGapWhereTheRobotDidNotAnswer();
    void continuesItsCurvesWhenTheRobotReturns();
    void keepsItsCurvesWhenTheRobotIsLost();
    void plotsTheSameKeysWhenTheRobotIsBack();
    void savesAPictureOfAPlot();
    void savesPointsWithTheRobotsTimes();

  private:
    void xPlot(const char* key);
    void xPlotByItself(const char* key);
    /** Plots a key for two seconds. @return their start; 0 if there are no values */
    double xPlotForAWhile(const char* key);
    void xVerifyGap(double begin);
    QWidget* xCanvas(int plot = 0) const { return fWindow->plots().at(plot)->canvas(); }
    void xSave(const QString& way);
    QString xNotice() const { return labelText(fWindow->viewer(), "plotNotice"); }
    QString xStatus() const { return labelText(fWindow->viewer(), "plotStatus"); }

    std::unique_ptr<RobotWindow> fWindow;
};

void PlottingTest::init() {
    QSettings().clear();
    fWindow = std::make_unique<RobotWindow>();
    QVERIFY(fWindow->open());
}

void PlottingTest::cleanup() {
    fWindow.reset();
}

void PlottingTest::xPlot(const char* key) {
    QTRY_VERIFY(!fWindow->value(key).isEmpty());
    fWindow->choose(key);
    QTest::keyClick(fWindow->tree(), Qt::Key_P, Qt::ControlModifier);
}

double PlottingTest::xPlotForAWhile(const char* key) {
    xPlot(key);
    const auto newest = [this] { return timesOf(fWindow->plots().first()).second; };
    const bool hasBegun = waitFor([&] { return newest() > 1e15; });
    const double begin = newest();
    const bool hasPoints = waitFor([&] { return newest() > begin + 2e6; });
    return hasBegun && hasPoints ? begin : 0;
}

void PlottingTest::xPlotByItself(const char* key) {
    QTRY_VERIFY(!fWindow->value(key).isEmpty());
    fWindow->choose(key);
    fWindow->chooseFromRowMenu(fWindow->tree(), QStringLiteral("Plot separately"));
}

/** Selects one of the ways to save the current plot. */
void PlottingTest::xSave(const QString& way) {
    auto* bar = fWindow->viewer()->findChild<QToolBar*>();
    auto* button =
        qobject_cast<QToolButton*>(bar->widgetForAction(fWindow->find<QAction>("plotSave")));
    QTimer::singleShot(0, fWindow->viewer(), [this, way] { fWindow->chooseFromMenu(way); });
    button->click();
}

void PlottingTest::plotsSeveralCurvesInSeveralPlots() {
    xPlot("Battery/Voltage");
    xPlot("Battery/Current");
    xPlotByItself("Battery/TimeLeft");
    QTRY_COMPARE(fWindow->plots().size(), 2);
    QCOMPARE(fWindow->legend(0, 0, a_nameColumn), QStringLiteral("Battery/Voltage [V]"));
    QCOMPARE(fWindow->legend(0, 1, a_nameColumn), QStringLiteral("Battery/Current [A]"));
    QCOMPARE(fWindow->legend(1, 0, a_nameColumn), QStringLiteral("Battery/TimeLeft [s]"));
    for (const auto& [plot, row] : {std::pair(0, 0), std::pair(0, 1), std::pair(1, 0)}) {
        const QString before = fWindow->legend(plot, row, a_valueColumn);
        QTRY_VERIFY(fWindow->legend(plot, row, a_valueColumn) != before);
    }
}

void PlottingTest::takesKeysThatAreDraggedFromTheTree() {
    xPlot("Battery/Voltage");
    QTRY_VERIFY(!fWindow->value("Audio/Volume").isEmpty());
    const QModelIndex dragged = indexOf(fWindow->viewer(), "Audio/Volume");
    const std::unique_ptr<QMimeData> data(dragged.model()->mimeData({dragged}));
    QwtPlot* plot = fWindow->plots().first();
    const QPoint middle = plot->rect().center();
    QDragEnterEvent enter(middle, Qt::CopyAction, data.get(), Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(plot, &enter);
    QVERIFY(enter.isAccepted());
    QDropEvent drop(middle, Qt::CopyAction, data.get(), Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(plot, &drop);
    // It does not change, but its value is known.
    QTRY_COMPARE(fWindow->legend(0, 1, a_nameColumn), QStringLiteral("Audio/Volume [%]"));
    QTRY_COMPARE(fWindow->legend(0, 1, a_valueColumn), fWindow->value("Audio/Volume"));
}

void PlottingTest::showsTheSameTimesInAllPlots() {
    xPlot("Battery/Voltage");
    xPlotByItself("Battery/Current");
    QTRY_COMPARE(fWindow->plots().size(), 2);
    const auto span = [this](int plot) {
        const auto times = timesOf(fWindow->plots().at(plot));
        return times.second - times.first;
    };
    QTRY_COMPARE(span(0), 30e6);
    const QPointF middle = xCanvas()->rect().center();
    QWheelEvent in(middle, xCanvas()->mapToGlobal(middle.toPoint()), QPoint(), QPoint(0, 240),
                   Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(xCanvas(), &in);
    QTRY_VERIFY(span(0) < 25e6);
    QTRY_COMPARE(timesOf(fWindow->plots()[1]), timesOf(fWindow->plots()[0]));
    // A pan moves both, and stops following.
    const QPoint from = middle.toPoint();
    const QPoint to = from + QPoint(30, 0);
    QTest::mousePress(xCanvas(1), Qt::LeftButton, Qt::NoModifier, from);
    // A move of the cursor would arrive from the X server, perhaps after the release.
    QMouseEvent drag(QEvent::MouseMove, to, xCanvas(1)->mapToGlobal(to), Qt::NoButton,
                     Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(xCanvas(1), &drag);
    QTest::mouseRelease(xCanvas(1), Qt::LeftButton, Qt::NoModifier, to);
    QTRY_VERIFY(xStatus().startsWith(QLatin1String("paused")));
    QTRY_COMPARE(timesOf(fWindow->plots()[0]), timesOf(fWindow->plots()[1]));
}

void PlottingTest::pausesWhileValuesGoOn() {
    xPlot("Battery/Voltage");
    QTRY_VERIFY(timesOf(fWindow->plots().first()).second > 1e15);
    QTest::keyClick(xCanvas(), Qt::Key_Space);
    QTRY_VERIFY(xStatus().startsWith(QLatin1String("paused")));
    QTest::keyClick(xCanvas(), Qt::Key_Left);
    const QString points = xStatus();
    QTRY_VERIFY(xStatus() != points);
    const auto shown = timesOf(fWindow->plots().first());
    const QString morePoints = xStatus();
    QTRY_VERIFY(xStatus() != morePoints);
    QCOMPARE(timesOf(fWindow->plots().first()), shown);
    QTest::keyClick(xCanvas(), Qt::Key_Space);
    QTRY_VERIFY(timesOf(fWindow->plots().first()).second > shown.second);
    QVERIFY(xStatus().startsWith(QLatin1String("following")));
}

void PlottingTest::showsTheValuesAtTheCursorOfAllPlots() {
    xPlot("Battery/Voltage");
    xPlotByItself("Battery/TimeLeft");
    QTRY_COMPARE(fWindow->plots().size(), 2);
    const QString first = fWindow->legend(1, 0, a_valueColumn);
    QTRY_VERIFY(fWindow->legend(1, 0, a_valueColumn) != first);
    auto* legend = fWindow->find<QTreeWidget>("plotLegend");
    QCOMPARE(legend->headerItem()->text(a_valueColumn), QStringLiteral("Newest value"));
    QTest::keyClick(xCanvas(), Qt::Key_Space);
    QTest::keyClick(xCanvas(), Qt::Key_Home);
    // Before the last change the value was different.
    QTRY_VERIFY(xStatus().startsWith(QLatin1String("paused")));
    // Near the end of the visible time, where both curves have begun.
    QTest::mouseMove(xCanvas(), QPoint(xCanvas()->width() - 3, xCanvas()->height() / 2));
    QTRY_VERIFY(legend->headerItem()->text(a_valueColumn).contains(QLatin1Char(':')));
    QTRY_VERIFY(QLocale().toDouble(fWindow->legend(1, 0, a_valueColumn)) > 0);
    QVERIFY(fWindow->legend(0, 0, a_valueColumn).toDouble() > 20);
}

void PlottingTest::drawsAGapWhereNothingWasFollowed() {
    const double begin = xPlotForAWhile("Battery/Voltage");
    QTest::keyClick(fWindow->tree(), Qt::Key_Space, Qt::ControlModifier);
    QTRY_VERIFY(noticeOf(fWindow->viewer()).startsWith(QLatin1String("Paused.")));
    const QString last = fWindow->legend(0, 0, a_valueColumn);
    QVERIFY2(last.toDouble() > 20, qPrintable(last));
    const double from = timesOf(fWindow->plots().first()).second;
    QElapsedTimer gap;
    gap.start();
    QTRY_VERIFY(gap.elapsed() > 1500);
    QTest::keyClick(fWindow->tree(), Qt::Key_Space, Qt::ControlModifier);
    QTRY_VERIFY(timesOf(fWindow->plots().first()).second > from + 2e6);
    xVerifyGap(begin);
}

/** Shows all points from `begin` on, of which there are none for a second or more. */
void PlottingTest::xVerifyGap(double begin) {
    QTest::keyClick(xCanvas(), Qt::Key_Home);
    QTRY_VERIFY(timesOf(fWindow->plots().first()).first > begin - 5e6);
    const QImage picture = xCanvas()->grab().toImage();
    const QwtScaleMap map = fWindow->plots().first()->canvasMap(QwtPlot::xBottom);
    const double newest = map.s2() - 0.2e6;
    QVERIFY(isCurveAt(picture, int(map.transform(begin + 1e6))));
    QVERIFY(longestGap(picture, map, begin + 1e6, newest) > 1e6);
    QVERIFY(isCurveAt(picture, int(map.transform(newest))));
}

void PlottingTest::drawsAGapWhereTheRobotDidNotAnswer() {
    const double begin = xPlotForAWhile("Battery/Voltage");
    const double from = timesOf(fWindow->plots().first()).second;
    fWindow->robot().suspend();
    // On a busy machine the robot may seem silent already before.
    QElapsedTimer gap;
    gap.start();
    QTRY_VERIFY(gap.elapsed() > 1500 &&
                noticeOf(fWindow->viewer()).startsWith(QLatin1String("No answer for ")));
    fWindow->robot().resume();
    QTRY_VERIFY(timesOf(fWindow->plots().first()).second > from + 4e6);
    xVerifyGap(begin);
}

void PlottingTest::continuesItsCurvesWhenTheRobotReturns() {
    fWindow->find<QAction>("reconnectAction")->trigger();
    const double begin = xPlotForAWhile("Battery/Voltage");
    const double from = timesOf(fWindow->plots().first()).second;
    fWindow->robot().kill();
    const auto notice = [this] { return noticeOf(fWindow->viewer()); };
    QTRY_VERIFY(notice().startsWith(QLatin1String("Lost ")) &&
                !notice().startsWith(QLatin1String("Lost 0 s")));
    const QString last = fWindow->legend(0, 0, a_valueColumn);
    QVERIFY2(last.toDouble() > 20, qPrintable(last));
    fWindow->restartRobot();
    QTRY_VERIFY(timesOf(fWindow->plots().first()).second > from + 4e6);
    xVerifyGap(begin);
}

void PlottingTest::keepsItsCurvesWhenTheRobotIsLost() {
    xPlotForAWhile("Battery/Voltage");
    fWindow->robot().kill();
    QTRY_VERIFY(statusOf(fWindow->viewer()).contains(QLatin1String("robot lost")));
    const QString last = fWindow->legend(0, 0, a_valueColumn);
    QVERIFY2(last.toDouble() > 20, qPrintable(last));
    // The curve then ends at the last value, in a repaint after the report. Time stands still when
    // it has not moved for a second.
    auto shown = timesOf(fWindow->plots().first());
    QElapsedTimer sinceMove;
    sinceMove.start();
    const auto standsStill = [&] {
        const auto before = std::exchange(shown, timesOf(fWindow->plots().first()));
        if (shown != before) {
            sinceMove.restart();
        }
        return sinceMove.hasExpired(1000);
    };
    QTRY_VERIFY(standsStill());
    const QwtScaleMap map = fWindow->plots().first()->canvasMap(QwtPlot::xBottom);
    QVERIFY(isCurveAt(xCanvas()->grab().toImage(), int(map.transform(shown.second - 0.5e6))));
    // The curves are still visible.
    QTest::keyClick(xCanvas(), Qt::Key_Plus);
    QTRY_VERIFY(middleOf(timesOf(fWindow->plots().first())) > middleOf(shown));
    QCOMPARE(timesOf(fWindow->plots().first()).second, shown.second);
}

void PlottingTest::plotsTheSameKeysWhenTheRobotIsBack() {
    xPlot("Battery/Voltage");
    xPlotByItself("Battery/Current");
    QTRY_COMPARE(fWindow->plots().size(), 2);
    fWindow->robot().kill();
    QTRY_VERIFY(statusOf(fWindow->viewer()).contains(QLatin1String("robot lost")));
    fWindow->restartRobot();
    QVERIFY(fWindow->open());
    QTRY_COMPARE(fWindow->plots().size(), 2);
    QCOMPARE(fWindow->legend(1, 0, a_nameColumn), QStringLiteral("Battery/Current [A]"));
    const QString before = fWindow->legend(1, 0, a_valueColumn);
    QTRY_VERIFY(fWindow->legend(1, 0, a_valueColumn) != before);
}

void PlottingTest::savesAPictureOfAPlot() {
    xPlotForAWhile("Battery/Voltage");
    const QTemporaryDir folder;
    xSave(QString::fromUtf8("Save picture (PNG)\u2026"));
    QVERIFY(fWindow->answerFileQuestion(folder.filePath(QStringLiteral("plot.png"))));
    QTRY_COMPARE(xNotice(),
                 QStringLiteral("Picture saved in %1.").arg(folder.filePath("plot.png")));
    const QImage picture(folder.filePath(QStringLiteral("plot.png")));
    QVERIFY(picture.height() > fWindow->plots().first()->height());
    bool isCurve = false;
    for (int x = picture.width() / 2; x < picture.width(); ++x) {
        isCurve = isCurve || isCurveAt(picture, x);
    }
    QVERIFY(isCurve);
}

void PlottingTest::savesPointsWithTheRobotsTimes() {
    xPlotForAWhile("Battery/Voltage");
    const QTemporaryDir folder;
    xSave(QString::fromUtf8("Save all points (CSV)\u2026"));
    QVERIFY(fWindow->answerFileQuestion(folder.filePath(QStringLiteral("points.csv"))));
    QTRY_VERIFY2(xNotice().endsWith(QLatin1String("/points.csv.")), qPrintable(xNotice()));
    QFile file(folder.filePath(QStringLiteral("points.csv")));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QList<QByteArray> rows = file.readAll().split('\n');
    QCOMPARE(rows.first(), QByteArray("time_us,time_utc,key,value,unit,type\r"));
    QVERIFY(rows.size() > 3);
    qint64 before = 0;
    const qint64 now = QDateTime::currentMSecsSinceEpoch() * 1000;
    for (const QByteArray& row : rows.mid(1, rows.size() - 2)) {
        const QList<QByteArray> fields = row.trimmed().split(',');
        QCOMPARE(fields.mid(4), (QList<QByteArray>{"V", "float"}));
        QCOMPARE(fields[2], QByteArray("Battery/Voltage"));
        QVERIFY(fields[0].toLongLong() > before);
        QVERIFY(qAbs(fields[0].toLongLong() - now) < 60'000'000);
        before = fields[0].toLongLong();
    }
}

OBVISTA_QTEST_MAIN(PlottingTest)
#include "plotting_test.moc"

// The plots and ages of a viewer whose robot is the replay of a recording.
#include "robot_window.h"

#include <base/time.h>
#include <robaxi/kv_broker.h>
#include <robaxi/kv_connection.h>
#include <robaxi/kv_proxy.h>

#include <QFile>
#include <QImage>
#include <QLabel>
#include <QSettings>
#include <QTemporaryDir>
#include <QToolBar>
#include <QToolButton>
#include <QTreeWidget>
#include <QtTest>
#include <qt_test_main.h>
#include <qwt_plot.h>
#include <qwt_scale_map.h>

#include <algorithm>
#include <cmath>
#include <loopback_broker.h>
#include <memory>
#include <recorded_walk.h>

using namespace obvista_test;
using robot_test::a_millisecond;
using robot_test::a_start;
using robot_test::RecordedWalk;

namespace {

constexpr int a_valueColumn = 1;
constexpr std::uint64_t a_second = 1000 * a_millisecond;
constexpr std::uint64_t a_period = 50 * a_millisecond;
constexpr std::uint64_t a_length = 600 * a_second;
constexpr std::uint64_t a_spikeTime = 300 * a_second + a_period;
constexpr double a_spike = 50;

double waveAt(std::uint64_t time) {
    return time == a_spikeTime ? a_spike : std::sin(static_cast<double>(time) * 1e-10);
}

/** Ten minutes of a robot whose clock is an hour slow. */
std::string recordWalk() {
    RecordedWalk walk("viewer_replay.mcap");
    for (std::uint64_t time = 0; time <= a_length; time += a_period) {
        walk.set(time, "Wave", waveAt(time));
        if (time % a_second == 0) {
            walk.set(time, "Group/Count", static_cast<std::int64_t>(time / a_second));
        }
        if (time == 100 * a_second || time == 250 * a_second) {
            walk.set(time, "Few", static_cast<double>(time / a_second));
        }
    }
    walk.finish();
    return walk.path();
}

QwtScaleMap timesOf(const QwtPlot* plot) {
    return plot->canvasMap(QwtPlot::xBottom);
}

/** Returns true if a column of pixels is filled by the line of the position, except for curves. */
bool isPositionAt(const QImage& picture, int x, const QColor& colour) {
    int pixels = 0;
    for (int y = 0; y < picture.height(); ++y) {
        pixels += picture.pixelColor(x, y) == colour ? 1 : 0;
    }
    return pixels > picture.height() * 3 / 4;
}

}  // namespace

class ReplayTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init();
    void cleanup();
    void plotsTheWholeRecordingAtOnce();
    void marksThePositionForwardAndBack();
    void plotsKeysThatAreAddedLater();
    void hasEveryPointWhereTheUserLooks();
    void keepsItsCurvesInALoopAtAnySpeed();
    void agesAreThoseAtThePosition();
    void plotsTheLastTimeShownForOtherRobots();
    void plotsNewValuesOfARobotThatIsNotAReplay();

  private:
    void xPlot(const char* key);
    /** Plots a key, and waits for its curve and the number of its points. */
    void xPlotWave();
    void xSeek(std::uint64_t time);
    double xHighest() const { return xPlotView()->canvasMap(QwtPlot::yLeft).s2(); }
    QwtPlot* xPlotView() const { return fWindow->plots().first(); }
    QImage xPicture() const { return xPlotView()->canvas()->grab().toImage(); }
    int xColumn(std::uint64_t time) const;
    bool xIsPositionAt(std::uint64_t time) const;
    QString xPoints() const;
    QList<QByteArray> xSavedPoints();

    std::unique_ptr<RobotWindow> fWindow;
    boost::shared_ptr<KVBroker> fBroker;
    std::shared_ptr<KVProxy> fControls;
};

void ReplayTest::init() {
    QSettings().clear();
    static const std::string file = recordWalk();
    RobotProcess::Settings settings;
    settings.fArguments = {"--replay", file, "--paused"};
    fWindow = std::make_unique<RobotWindow>(settings);
    QVERIFY(fWindow->open());
    fBroker = createTestBroker("controls");
    const auto connection =
        KVConnection::open(fBroker, RobotProcess::address(), fWindow->robot().port(), 60);
    fControls = std::make_shared<KVProxy>("KVReplay", connection, 60.0);
}

void ReplayTest::cleanup() {
    fControls.reset();
    fBroker.reset();
    fWindow.reset();
}

void ReplayTest::xPlot(const char* key) {
    QTRY_VERIFY(indexOf(fWindow->viewer(), key).isValid());
    fWindow->choose(key);
    QTest::keyClick(fWindow->tree(), Qt::Key_P, Qt::ControlModifier);
}

void ReplayTest::xPlotWave() {
    xPlot("Wave");
    QTRY_VERIFY(xHighest() >= a_spike);
    QTRY_VERIFY(xPoints().size() > 3);
}

void ReplayTest::xSeek(std::uint64_t time) {
    fControls->callValue("seek", {static_cast<std::int64_t>((a_start + time) / 1000)});
}

/** Returns the column of pixels of a time after the beginning. */
int ReplayTest::xColumn(std::uint64_t time) const {
    const double x =
        timesOf(xPlotView()).transform(static_cast<double>(robot_test::robotTime(time)));
    return static_cast<int>(std::clamp(x, 0.0, xPlotView()->canvas()->width() - 1.0));
}

bool ReplayTest::xIsPositionAt(std::uint64_t time) const {
    const QColor colour = xPlotView()->palette().color(QPalette::Highlight);
    const QImage picture = xPicture();
    for (int x = std::max(0, xColumn(time) - 1); x <= xColumn(time); ++x) {
        if (isPositionAt(picture, x, colour)) {
            return true;
        }
    }
    return false;
}

/** Returns the number of stored points, as the status line shows it. */
QString ReplayTest::xPoints() const {
    const QString status = labelText(fWindow->viewer(), "plotStatus");
    // The thousands are parted.
    const QRegularExpressionMatch match =
        QRegularExpression(QStringLiteral("([0-9][^a-z]*) of [^a-z]* points")).match(status);
    return match.captured(1);
}

void ReplayTest::plotsTheWholeRecordingAtOnce() {
    xPlot("Wave");
    QTRY_COMPARE(fWindow->plots().size(), 1);
    // It has not played yet.
    QCOMPARE(fControls->callValue("getState", {}).toMap().at("position").toInt(),
             static_cast<std::int64_t>(a_start / 1000));
    QTRY_COMPARE(timesOf(xPlotView()).s1(), static_cast<double>(robot_test::robotTime(0)));
    QTRY_COMPARE(timesOf(xPlotView()).s2(), static_cast<double>(robot_test::robotTime(a_length)));
    for (const int percent : {5, 25, 60, 95}) {
        QTRY_VERIFY2(isCurveAt(xPicture(), xColumn(a_length / 100 * percent)),
                     qPrintable(QString::number(percent)));
    }
    // One number of twelve thousand, which is not lost.
    QTRY_VERIFY(xHighest() >= a_spike);
    QTRY_COMPARE(fWindow->legend(0, 0, a_valueColumn), QStringLiteral("0"));
}

void ReplayTest::marksThePositionForwardAndBack() {
    xPlot("Few");
    QTRY_VERIFY(xIsPositionAt(0));
    for (const std::uint64_t seconds : {300, 600, 20, 450, 449, 120}) {
        xSeek(seconds * a_second);
        QTRY_VERIFY2(xIsPositionAt(seconds * a_second), qPrintable(QString::number(seconds)));
        const QString value = seconds < 100   ? QStringLiteral("none")
                              : seconds < 250 ? QStringLiteral("100")
                                              : QStringLiteral("250");
        QTRY_COMPARE(fWindow->legend(0, 0, a_valueColumn), value);
    }
    QVERIFY(!xIsPositionAt(450 * a_second));
}

void ReplayTest::plotsKeysThatAreAddedLater() {
    xPlotWave();
    xSeek(200 * a_second);
    // A key of a group, which has no separate channel.
    xPlot("Group/Count");
    QTRY_VERIFY(xHighest() >= 600);
    QTRY_COMPARE(fWindow->legend(0, 1, a_valueColumn), QStringLiteral("200"));
}

QList<QByteArray> ReplayTest::xSavedPoints() {
    auto* bar = fWindow->viewer()->findChild<QToolBar*>();
    auto* button =
        qobject_cast<QToolButton*>(bar->widgetForAction(fWindow->find<QAction>("plotSave")));
    QTimer::singleShot(0, fWindow->viewer(), [this] {
        fWindow->chooseFromMenu(QString::fromUtf8("Save points shown (CSV)\u2026"));
    });
    button->click();
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("points.csv"));
    if (!fWindow->answerFileQuestion(path) || !waitFor([this] {
            return labelText(fWindow->viewer(), "plotNotice")
                .endsWith(QLatin1String("/points.csv."));
        })) {
        return {};
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    QList<QByteArray> rows = file.readAll().split('\n');
    return rows.mid(1, rows.size() - 2);
}

void ReplayTest::hasEveryPointWhereTheUserLooks() {
    xPlotWave();
    const QString thinned = xPoints();
    // The keys zoom into the middle of the plot, which is close to the spike.
    xPlotView()->canvas()->setFocus();
    const auto span = [this] { return timesOf(xPlotView()).sDist(); };
    while (span() > 10e6) {
        const double before = span();
        QTest::keyClick(xPlotView()->canvas(), Qt::Key_Plus);
        QTRY_VERIFY(span() < before);
    }
    // The answer for this span has come when there are more points.
    QTRY_VERIFY(xPoints() != thinned);
    const double left = timesOf(xPlotView()).s1();
    const double right = timesOf(xPlotView()).s2();
    QMap<qint64, double> expected;
    for (std::uint64_t time = 0; time <= a_length; time += a_period) {
        const auto at = static_cast<double>(robot_test::robotTime(time));
        if (at >= left && at <= right) {
            expected[robot_test::robotTime(time)] = waveAt(time);
        }
    }
    QVERIFY(expected.size() > 100);
    QVERIFY(expected.contains(robot_test::robotTime(a_spikeTime)));
    const auto saved = [this] {
        QMap<qint64, double> points;
        for (const QByteArray& row : xSavedPoints()) {
            const QList<QByteArray> fields = row.trimmed().split(',');
            points[fields[0].toLongLong()] = fields[3].toDouble();
        }
        return points;
    };
    // The answer for a wider span may have come before.
    QMap<qint64, double> points;
    const bool isSaved = waitFor([&] {
        points = saved();
        return points == expected;
    });
    QVERIFY2(isSaved,
             qPrintable(QStringLiteral("%1 of %2 points").arg(points.size()).arg(expected.size())));
}

void ReplayTest::keepsItsCurvesInALoopAtAnySpeed() {
    xPlotWave();
    const QString points = xPoints();
    fControls->callValue("setSpeed", {50.0});
    fControls->callValue("setLoop", {true});
    xSeek(590 * a_second);
    fControls->callValue("play", {});
    const auto value = [this] { return fWindow->legend(0, 0, a_valueColumn).toDouble(); };
    QTRY_VERIFY(std::fabs(value() - waveAt(590 * a_second)) < 0.9);
    // Past the end, and at the beginning again.
    QTRY_VERIFY(fControls->callValue("getState", {}).toMap().at("position").toInt() <
                static_cast<std::int64_t>((a_start + 500 * a_second) / 1000));
    fControls->callValue("pause", {});
    xSeek(200 * a_second);
    QTRY_VERIFY(xIsPositionAt(200 * a_second));
    QTRY_COMPARE(fWindow->legend(0, 0, a_valueColumn),
                 QString::number(waveAt(200 * a_second), 'g', 7));
    QCOMPARE(xPoints(), points);
    QCOMPARE(timesOf(xPlotView()).s1(), static_cast<double>(robot_test::robotTime(0)));
}

void ReplayTest::agesAreThoseAtThePosition() {
    xSeek(400 * a_second);
    QTRY_COMPARE(fWindow->value("Few"), QStringLiteral("250"));
    QTRY_COMPARE(cellOf(fWindow->viewer(), "Few", "Age"), QStringLiteral("2:30 min"));
    QTRY_COMPARE(cellOf(fWindow->viewer(), "Wave", "Age"), QStringLiteral("0.000 s"));
    QTRY_VERIFY2(statusOf(fWindow->viewer()).contains(QLatin1String("replay paused")),
                 qPrintable(statusOf(fWindow->viewer())));
    QTRY_VERIFY(statusOf(fWindow->viewer()).endsWith(QLatin1String("age 0.000 s")));
    // Back, to where other values are the newest.
    xSeek(101 * a_second);
    QTRY_COMPARE(cellOf(fWindow->viewer(), "Few", "Age"), QStringLiteral("1.00 s"));
    QTRY_VERIFY(statusOf(fWindow->viewer()).endsWith(QLatin1String("age 0.000 s")));
    fControls->callValue("setSpeed", {0.5});
    fControls->callValue("play", {});
    QTRY_VERIFY2(statusOf(fWindow->viewer()).contains(QString::fromUtf8("replay at 0.5\u00D7")),
                 qPrintable(statusOf(fWindow->viewer())));
}

void ReplayTest::plotsTheLastTimeShownForOtherRobots() {
    xPlot("Wave");
    QTRY_COMPARE(timesOf(xPlotView()).sDist(), static_cast<double>(a_length / 1000));
    fWindow->close();
    // The span of the recording is not that which the user wants to see of a robot.
    const QSettings settings;
    QVariant plots;
    for (const QString& key : settings.allKeys()) {
        plots = key.endsWith(QLatin1String("/plots")) ? settings.value(key) : plots;
    }
    QCOMPARE(plots.toMap().value(QStringLiteral("span")).toDouble(), 30e6);
}

void ReplayTest::plotsNewValuesOfARobotThatIsNotAReplay() {
    xPlotWave();
    fWindow->find<QAction>("reconnectAction")->trigger();
    RobotProcess::Settings settings;
    settings.fPort = fWindow->robot().port();
    settings.fArguments = {"--name", "walker"};
    fWindow->robot().kill();
    const RobotProcess robot(settings);
    QTRY_VERIFY(!fWindow->find<QWidget>("timeBar")->isVisible());
    xPlot("Battery/Voltage");
    QTRY_VERIFY(fWindow->legend(0, 1, a_valueColumn).toDouble() > 20);
    // The plot follows at its next repaint.
    QTRY_COMPARE(timesOf(xPlotView()).sDist(), 30e6);
    QTRY_VERIFY(timesOf(xPlotView()).s2() > static_cast<double>(base::microsecondsNow()) - 60e6);
    // The curve of the recording is gone.
    QTRY_COMPARE(fWindow->legend(0, 0, a_valueColumn), QStringLiteral("no value yet"));
    QTRY_VERIFY2(statusOf(fWindow->viewer()).contains(QLatin1String("updates a second")),
                 qPrintable(statusOf(fWindow->viewer())));
}

OBVISTA_QTEST_MAIN(ReplayTest)
#include "replay_test.moc"

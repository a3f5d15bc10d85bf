#include "view/key_curves.h"

#include "plots/plot_history.h"
#include "plots/plot_panel.h"
#include "session/key_store.h"

#include <base/time.h>

#include <QtTest>
#include <qt_test_main.h>

#include <cstdint>
#include <memory>
#include <vector>

using namespace memoryviewer;

namespace {

constexpr std::uint32_t a_key = 1;
constexpr char a_name[] = "Position";
constexpr std::int64_t a_second = base::a_microsecondsPerSecond;
/** In the place of the value of an interruption. */
constexpr double a_gap = -1;

}  // namespace

/** Tests the curve of a key when the robot does not answer for a while. */
class KeyCurvesTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init();
    void cleanup();
    void drawsLateValuesBeforeTheGap();
    void drawsTheGapBehindALateValueThatIsTheLast();
    void continuesWithAValueOfTheSilence();
    void drawsNoValueAsLateAfterTheSilence();

  private:
    void xAppend(std::int64_t time, double value);
    void xFallSilent();
    /** Returns the values of the curve, in the order of their arrival. */
    std::vector<double> xValues() const;
    const CurveHistory& xCurve() const {
        return fPlots->history().curve(fPlots->keyHandle(a_name));
    }

    std::unique_ptr<KeyStore> fKeys;
    std::unique_ptr<PlotPanel> fPlots;
    std::unique_ptr<KeyCurves> fCurves;
    std::int64_t fNow = 0;
};

void KeyCurvesTest::init() {
    fKeys = std::make_unique<KeyStore>();
    fPlots = std::make_unique<PlotPanel>();
    fCurves = std::make_unique<KeyCurves>(fKeys.get(), fPlots.get());
    fNow = base::microsecondsNow();
    KVKeyInfo info;
    info.fId = a_key;
    info.fName = a_name;
    info.fType = KVValue::Type::Float;
    fKeys->add({info});
    fCurves->plot({a_name}, KeyCurves::Place::CurrentPlot);
    xAppend(fNow, 1);
    xAppend(fNow + 1, 2);
}

void KeyCurvesTest::cleanup() {
    fCurves.reset();
    fPlots.reset();
    fKeys.reset();
}

void KeyCurvesTest::xAppend(std::int64_t time, double value) {
    const KVChange change{a_key, KVValue(value), time};
    fKeys->change({change});
    fCurves->append({change});
}

/** After the values up to fNow + 1. */
void KeyCurvesTest::xFallSilent() {
    QTRY_VERIFY(base::microsecondsNow() > fNow + 10);
    fPlots->endCurves(fNow + 1);
    fCurves->beginSilence();
}

std::vector<double> KeyCurvesTest::xValues() const {
    std::vector<double> values;
    for (std::size_t i = 0; i < xCurve().size(); ++i) {
        values.push_back(xCurve().isInterruption(i) ? a_gap : xCurve().at(i).fValue);
    }
    return values;
}

void KeyCurvesTest::drawsLateValuesBeforeTheGap() {
    xFallSilent();
    xAppend(fNow + 2, 3);
    xAppend(fNow + 3, 4);
    QVERIFY(xValues() == std::vector<double>({1, 2, a_gap, 3, 4}));
    QCOMPARE(xCurve().last().fTime, fNow + 3);
    const std::int64_t later = fNow + 100 * a_second;
    xAppend(later, 5);
    xAppend(later + 1, 6);
    QVERIFY(xValues() == std::vector<double>({1, 2, a_gap, 3, 4, a_gap, 5, 6}));
    QCOMPARE(xCurve().at(5).fTime, fNow + 3);
    fCurves->endSilence();
    fCurves->begin({a_key});
    QVERIFY(xValues() == std::vector<double>({1, 2, a_gap, 3, 4, a_gap, 5, 6}));
}

void KeyCurvesTest::drawsTheGapBehindALateValueThatIsTheLast() {
    xFallSilent();
    xAppend(fNow + 2, 3);
    fCurves->endSilence();
    fCurves->begin({a_key});
    QVERIFY(xValues() == std::vector<double>({1, 2, a_gap, 3, a_gap, 3}));
    QCOMPARE(xCurve().at(4).fTime, fNow + 2);
}

void KeyCurvesTest::continuesWithAValueOfTheSilence() {
    xFallSilent();
    xAppend(fNow + 100 * a_second, 3);
    fCurves->endSilence();
    xAppend(fNow + 101 * a_second, 4);
    QVERIFY(xValues() == std::vector<double>({1, 2, a_gap, 3, 4}));
}

/** A clock may have been set back. */
void KeyCurvesTest::drawsNoValueAsLateAfterTheSilence() {
    xFallSilent();
    fCurves->endSilence();
    xAppend(fNow + 2, 3);
    xAppend(fNow + 3, 4);
    QVERIFY(xValues() == std::vector<double>({1, 2, a_gap, 3, 4}));
    xAppend(fNow + 4, 5);
    QVERIFY(xValues() == std::vector<double>({1, 2, a_gap, 3, 4, 5}));
}

OBVISTA_QTEST_MAIN(KeyCurvesTest)
#include "key_curves_test.moc"

#include <QtTest>
#include <qt_test_main.h>

#include <change_rate.h>
#include <key_text.h>
#include <robot_clock.h>

using namespace memoryviewer;

namespace {

constexpr std::int64_t a_second = 1'000'000;
constexpr std::int64_t a_start = 1'700'000'000 * a_second;

/** The rate shown after some seconds of changes every `period` microseconds, with turns of a
 *  second that begin anywhere. */
double rateAfter(int seconds, std::int64_t period) {
    ChangeRate rate;
    std::int64_t next = a_start;
    for (int turn = 1; turn <= seconds; ++turn) {
        const std::int64_t now = a_start + turn * a_second + 123'456;
        for (; next <= now; next += period) {
            rate.add(next);
        }
        rate.endTurn(now);
    }
    return rate.perSecond();
}

bool isNear(double actual, double expected) {
    return qAbs(actual - expected) <= 0.05 * expected;
}

}  // namespace

/** Rates and ages of keys, from the robot's time stamps. */
class FiguresTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void measuresRatesWithinFivePerCent();
    void countsChangesThatWereMerged();
    void isNothingBeforeTheSecondChange();
    void fallsWhenAKeyStandsStill();
    void beginsAnewWhenTheClockIsSetBack();
    void takesClocksThatAgreeAsTheyAre();
    void seesADifferenceOfTheClocks();
    void takesAStampOfTheFutureForADifference();
    void writesAgesSoThatMillisecondsCount();
};

void FiguresTest::measuresRatesWithinFivePerCent() {
    for (const double rate : {0.3, 1.0, 2.5, 10.0, 49.0, 50.0}) {
        const auto period = static_cast<std::int64_t>(a_second / rate);
        const double shown = rateAfter(10, period);
        QVERIFY2(isNear(shown, rate), qPrintable(QStringLiteral("%1 for %2").arg(shown).arg(rate)));
    }
    QVERIFY(isNear(rateAfter(2, a_second / 50), 50));
}

void FiguresTest::countsChangesThatWereMerged() {
    ChangeRate rate;
    for (int i = 0; i <= 25; ++i) {
        rate.add(a_start + i * a_second / 25, 2);
    }
    rate.endTurn(a_start + a_second);
    QCOMPARE(rate.perSecond(), 50.0);
}

void FiguresTest::isNothingBeforeTheSecondChange() {
    ChangeRate rate;
    rate.endTurn(a_start);
    QCOMPARE(rate.perSecond(), 0.0);
    rate.add(a_start);
    rate.endTurn(a_start + a_second);
    QCOMPARE(rate.perSecond(), 0.0);
}

void FiguresTest::fallsWhenAKeyStandsStill() {
    ChangeRate rate;
    for (int i = 0; i <= 50; ++i) {
        rate.add(a_start + i * a_second / 50);
    }
    rate.endTurn(a_start + a_second);
    QVERIFY(isNear(rate.perSecond(), 50));
    rate.endTurn(a_start + 5 * a_second);
    QCOMPARE(rate.perSecond(), 0.25);
    rate.endTurn(a_start + 12 * a_second);
    QCOMPARE(rate.perSecond(), 0.0);
}

void FiguresTest::beginsAnewWhenTheClockIsSetBack() {
    ChangeRate rate;
    rate.add(a_start);
    rate.add(a_start + a_second);
    rate.add(a_start - 100 * a_second);
    rate.add(a_start - 99 * a_second);
    rate.endTurn(a_start - 99 * a_second);
    QCOMPARE(rate.perSecond(), 1.0);
}

void FiguresTest::takesClocksThatAgreeAsTheyAre() {
    RobotClock clock;
    const std::int64_t before = RobotClock::localNow();
    clock.see(before - 20'000, before);
    const std::int64_t now = clock.now();
    QVERIFY(now >= before && now <= RobotClock::localNow());
}

void FiguresTest::seesADifferenceOfTheClocks() {
    RobotClock clock;
    const std::int64_t before = RobotClock::localNow();
    clock.see(before - 3600 * a_second - 70'000, before);
    clock.see(before - 3600 * a_second, before);
    const std::int64_t now = clock.now() + 3600 * a_second;
    QVERIFY(now >= before && now <= RobotClock::localNow());
}

void FiguresTest::takesAStampOfTheFutureForADifference() {
    RobotClock clock;
    const std::int64_t before = RobotClock::localNow();
    clock.see(before + 5 * a_second, before);
    QVERIFY(clock.now() >= before + 5 * a_second);
}

void FiguresTest::writesAgesSoThatMillisecondsCount() {
    QCOMPARE(ageText(-0.5), QStringLiteral("0.000 s"));
    QCOMPARE(ageText(0.0184), QStringLiteral("0.018 s"));
    QCOMPARE(ageText(2.506), QStringLiteral("2.51 s"));
    QCOMPARE(ageText(59.9), QStringLiteral("59.9 s"));
    QCOMPARE(ageText(185), QStringLiteral("3:05 min"));
    QCOMPARE(ageText(7200), QStringLiteral("2.0 h"));
    QCOMPARE(ageText(36 * 3600), QStringLiteral("1.5 d"));
}

OBVISTA_QTEST_MAIN(FiguresTest)
#include "figures_test.moc"

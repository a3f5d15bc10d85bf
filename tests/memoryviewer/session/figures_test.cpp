#include "model/key_cells.h"
#include "session/change_rate.h"
#include "session/robot_clock.h"

#include <base/time.h>

#include <QtTest>
#include <qt_test_main.h>

#include <algorithm>

using namespace memoryviewer;

namespace {

constexpr std::int64_t a_second = base::a_microsecondsPerSecond;
constexpr std::int64_t a_start = 1'700'000'000 * a_second;

/**
 * A robot that changes a key every `fPeriod`, and sends the newest change, if there is one, with
 * each of its updates; it arrives `fDelay` later. A turn ends every second, by another clock.
 */
struct EvenKey {
    std::int64_t fPeriod;
    double fUpdateRate;
    std::int64_t fDelay = 0;

    /** Runs for that many turns. @return the lowest displayed rate of the last 20 turns */
    double lowestRate(ChangeRate& rate, int turns) const {
        rate.setUpdateRate(fUpdateRate);
        const auto update = static_cast<std::int64_t>(a_second / fUpdateRate);
        std::int64_t sent = 0;
        std::int64_t turnEnd = 123'456;
        double lowest = 1e9;
        for (std::int64_t now = 0; turns > 0; now += 1'000) {
            const std::int64_t instant = now - fDelay;
            if (instant >= 0 && instant % update == 0) {
                const std::int64_t newest = a_start + instant - instant % fPeriod;
                if (newest > sent) {
                    rate.add(ChangeTimes(newest), now);
                    sent = newest;
                }
            }
            if (now >= turnEnd) {
                rate.endTurn(now);
                turnEnd += a_second;
                --turns;
                lowest = turns < 20 ? std::min(lowest, rate.perSecond()) : lowest;
            }
        }
        return lowest;
    }
};

bool isNear(double actual, double expected) {
    return qAbs(actual - expected) <= 0.05 * expected;
}

}  // namespace

/** Tests rates and ages of keys, calculated from the robot's time stamps. */
class FiguresTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void measuresRatesWithinFivePerCent_data();
    void measuresRatesWithinFivePerCent();
    void countsChangesThatWereMerged();
    void measuresBurstsByTheirMean();
    void measuresAKeyThatBeginsToChange();
    void isNothingBeforeTheSecondChange();
    void fallsWhenAKeyStandsStill();
    void beginsAgainWhenTheClockIsSetBack();
    void staysWhileTheKeyIsNotSubscribedTo();
    void takesClocksThatAgreeAsTheyAre();
    void seesADifferenceOfTheClocks();
    void takesAStampOfTheFutureForADifference();
    void writesAgesSoThatMillisecondsCount();
};

void FiguresTest::measuresRatesWithinFivePerCent_data() {
    QTest::addColumn<int>("period");
    QTest::addColumn<double>("updateRate");
    QTest::addColumn<int>("delay");
    QTest::addColumn<double>("expected");
    QTest::addColumn<bool>("isLowerBound");
    const auto add = [](const char* name, int period, double updateRate, int delay, double expected,
                        bool isLowerBound) {
        QTest::newRow(name) << period << updateRate << delay << expected << isLowerBound;
    };
    add("less than one in five seconds", 7'000'000, 10, 0, 1 / 7.0, false);
    add("0.3 a second", 3'333'000, 10, 0, 0.3, false);
    add("2.5 a second", 400'000, 10, 0, 2.5, false);
    add("waits for the update", 333'000, 10, 90'000, 3, false);
    add("as fast as it is asked", 100'000, 10, 90'000, 10, true);
    add("a little faster", 93'000, 10, 90'000, 10, true);
    add("five times as fast", 21'000, 10, 190'000, 10, true);
    add("slower than it is asked", 25'000, 50, 60'000, 40, false);
    add("fast", 20'000, 50, 60'000, 50, true);
    add("among all keys", 21'000, 1, 60'000, 1, true);
    add("seldom among all keys", 3'000'000, 1, 60'000, 1 / 3.0, false);
}

/**
 * A change that waits for the robot's next update, or for this program, must not count as a
 * standstill.
 */
void FiguresTest::measuresRatesWithinFivePerCent() {
    QFETCH(int, period);
    QFETCH(double, updateRate);
    QFETCH(int, delay);
    QFETCH(double, expected);
    QFETCH(bool, isLowerBound);
    ChangeRate rate;
    const double lowest = EvenKey{period, updateRate, delay}.lowestRate(rate, 40);
    QVERIFY2(isNear(lowest, expected), qPrintable(QString::number(lowest)));
    QVERIFY2(isNear(rate.perSecond(), expected), qPrintable(QString::number(rate.perSecond())));
    QCOMPARE(rate.isLowerBound(), isLowerBound);
}

void FiguresTest::countsChangesThatWereMerged() {
    ChangeRate rate;
    rate.setUpdateRate(50);
    rate.add(ChangeTimes(a_start), 0);
    for (int i = 0; i < 25; ++i) {
        ChangeTimes times(a_start + (2 * i + 1) * a_second / 50);
        times.add(a_start + (2 * i + 2) * a_second / 50);
        times.add(a_start + (2 * i + 2) * a_second / 50);  // the same change
        rate.add(times, (i + 1) * a_second / 25);
    }
    rate.endTurn(a_second);
    QCOMPARE(rate.perSecond(), 50.0);
    QVERIFY(rate.isLowerBound());
}

/** Five changes within half a second, every three seconds. */
void FiguresTest::measuresBurstsByTheirMean() {
    ChangeRate rate;
    rate.setUpdateRate(50);
    for (int second = 0; second < 30; ++second) {
        for (int i = 0; i < 5 && second % 3 == 0; ++i) {
            const std::int64_t time = second * a_second + i * a_second / 10;
            rate.add(ChangeTimes(a_start + time), time);
        }
        rate.endTurn((second + 1) * a_second);
        QVERIFY2(second < 6 || qAbs(rate.perSecond() - 5 / 3.0) < 0.5,
                 qPrintable(QString::number(rate.perSecond())));
    }
}

/** A key that did not change for a minute is not treated as changing evenly. */
void FiguresTest::measuresAKeyThatBeginsToChange() {
    ChangeRate rate;
    rate.setUpdateRate(50);
    rate.add(ChangeTimes(a_start - 60 * a_second), 0);
    for (int i = 1; i <= 50; ++i) {
        rate.add(ChangeTimes(a_start + i * a_second / 10), i * a_second / 10);
        if (i % 10 == 0) {
            rate.endTurn(i * a_second / 10);
            QVERIFY2(isNear(rate.perSecond(), i / 5.0),
                     qPrintable(QString::number(rate.perSecond())));
        }
    }
}

void FiguresTest::isNothingBeforeTheSecondChange() {
    ChangeRate rate;
    rate.setUpdateRate(10);
    rate.endTurn(0);
    QCOMPARE(rate.perSecond(), 0.0);
    rate.add(ChangeTimes(a_start), a_second / 2);
    rate.endTurn(a_second);
    QCOMPARE(rate.perSecond(), 0.0);
}

void FiguresTest::fallsWhenAKeyStandsStill() {
    ChangeRate rate;
    QVERIFY(isNear(EvenKey{a_second / 40, 50}.lowestRate(rate, 10), 40));
    double last = rate.perSecond();
    // The tenth turn ended at 9.1 s.
    for (int second = 10; second <= 18; ++second) {
        rate.endTurn(second * a_second + 123'456);
        QVERIFY2(rate.perSecond() < last, qPrintable(QString::number(rate.perSecond())));
        last = rate.perSecond();
        QVERIFY(last > 0);
    }
    QVERIFY2(last < 0.2, qPrintable(QString::number(last)));
    rate.endTurn(20 * a_second);
    QCOMPARE(rate.perSecond(), 0.0);
}

void FiguresTest::beginsAgainWhenTheClockIsSetBack() {
    ChangeRate rate;
    rate.setUpdateRate(10);
    rate.add(ChangeTimes(a_start), 0);
    rate.add(ChangeTimes(a_start + a_second), a_second);
    rate.add(ChangeTimes(a_start - 100 * a_second), 2 * a_second);
    rate.add(ChangeTimes(a_start - 99 * a_second), 3 * a_second);
    rate.endTurn(3 * a_second);
    QCOMPARE(rate.perSecond(), 1.0);
}

void FiguresTest::staysWhileTheKeyIsNotSubscribedTo() {
    ChangeRate rate;
    EvenKey{a_second / 2, 10}.lowestRate(rate, 10);
    rate.setUpdateRate(0);
    rate.endTurn(100 * a_second);
    QCOMPARE(rate.perSecond(), 2.0);
    rate.setUpdateRate(10);
    QCOMPARE(rate.perSecond(), 0.0);
}

void FiguresTest::takesClocksThatAgreeAsTheyAre() {
    RobotClock clock;
    const std::int64_t before = base::microsecondsNow();
    clock.see(before - 20'000, before);
    const std::int64_t now = clock.now();
    QVERIFY(now >= before && now <= base::microsecondsNow());
}

void FiguresTest::seesADifferenceOfTheClocks() {
    RobotClock clock;
    const std::int64_t before = base::microsecondsNow();
    clock.see(before - 3600 * a_second - 70'000, before);
    clock.see(before - 3600 * a_second, before);
    const std::int64_t now = clock.now() + 3600 * a_second;
    QVERIFY(now >= before && now <= base::microsecondsNow());
}

void FiguresTest::takesAStampOfTheFutureForADifference() {
    RobotClock clock;
    const std::int64_t before = base::microsecondsNow();
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

#include "plots/thinning.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <map>
#include <random>

using namespace memoryviewer;

namespace {

constexpr double a_nan = std::numeric_limits<double>::quiet_NaN();

class History {
  public:
    History& add(std::int64_t time, double value) {
        fCurve.append({time, value}, ++fOrder);
        return *this;
    }
    const CurveHistory& curve() const { return fCurve; }

  private:
    CurveHistory fCurve;
    std::uint64_t fOrder = 0;
};

DrawnPart part(double left, double right, int columns) {
    DrawnPart part;
    part.fLeft = left;
    part.fRight = right;
    part.fColumns = columns;
    part.fNow = -std::numeric_limits<double>::infinity();
    return part;
}

/** Returns the drawn lines, each as times and values. */
std::vector<std::vector<std::pair<double, double>>> lines(const DrawnCurve& drawn) {
    std::vector<std::vector<std::pair<double, double>>> result;
    for (std::size_t line = 0; line < drawn.fLines.size(); ++line) {
        result.emplace_back();
        for (std::size_t i = drawn.fLines[line]; i < drawn.endOf(line); ++i) {
            result.back().emplace_back(drawn.fPoints[i].fTime, drawn.fPoints[i].fValue);
        }
    }
    return result;
}

using Lines = std::vector<std::vector<std::pair<double, double>>>;

/** Minimum and maximum in each column. */
using Extents = std::map<int, std::pair<double, double>>;

void addTo(Extents& extents, const DrawnPart& part, double time, double value) {
    if (time < part.fLeft || time > part.fRight || !std::isfinite(value)) {
        return;
    }
    const double share = (time - part.fLeft) / (part.fRight - part.fLeft);
    const int column = std::min(static_cast<int>(share * part.fColumns), part.fColumns - 1);
    const auto extent = extents.emplace(column, std::make_pair(value, value)).first;
    extent->second.first = std::min(extent->second.first, value);
    extent->second.second = std::max(extent->second.second, value);
}

Extents extentsOf(const CurveHistory& curve, const DrawnPart& part) {
    Extents extents;
    for (std::size_t i = 0; i < curve.size(); ++i) {
        addTo(extents, part, double(curve.at(i).fTime), curve.at(i).fValue);
    }
    return extents;
}

Extents extentsOf(const DrawnCurve& drawn, const DrawnPart& part) {
    Extents extents;
    for (const DrawnPoint& point : drawn.fPoints) {
        addTo(extents, part, point.fTime, point.fValue);
    }
    return extents;
}

}  // namespace

TEST(Thinning, DrawsFewPointsAsTheyAre) {
    const History history = History().add(0, 1).add(10, 3).add(20, 2);
    EXPECT_EQ(lines(thinOut(history.curve(), part(-10, 30, 400))),
              (Lines{{{0, 1}, {10, 3}, {20, 2}}}));
}

TEST(Thinning, LeavesAGapWhereThereIsNoNumber) {
    const double infinity = std::numeric_limits<double>::infinity();
    const History history =
        History().add(0, 1).add(10, a_nan).add(20, 2).add(30, infinity).add(40, 3).add(50, 4);
    EXPECT_EQ(lines(thinOut(history.curve(), part(0, 100, 400))),
              (Lines{{{0, 1}}, {{20, 2}}, {{40, 3}, {50, 4}}}));
}

TEST(Thinning, BeginsAnotherLineWhereTheTimeGoesBack) {
    const History history = History().add(50, 1).add(60, 2).add(10, 3).add(20, 4);
    EXPECT_EQ(lines(thinOut(history.curve(), part(0, 100, 400))),
              (Lines{{{50, 1}, {60, 2}}, {{10, 3}, {20, 4}}}));
}

TEST(Thinning, DrawsTheLinesThatComeFromAndGoOutOfTheView) {
    const History history = History().add(-200, 9).add(-100, 1).add(50, 2).add(200, 3).add(300, 9);
    EXPECT_EQ(lines(thinOut(history.curve(), part(0, 100, 10))),
              (Lines{{{-100, 1}, {50, 2}, {200, 3}}}));
    EXPECT_EQ(lines(thinOut(history.curve(), part(60, 100, 10))), (Lines{{{50, 2}, {200, 3}}}));
    EXPECT_TRUE(thinOut(history.curve(), part(400, 500, 10)).fPoints.empty());
    EXPECT_TRUE(thinOut(history.curve(), part(-500, -400, 10)).fPoints.empty());
}

TEST(Thinning, DrawsStepsThatHoldUntilTheNextValue) {
    const History history = History().add(0, 1).add(10, 3).add(20, 3);
    DrawnPart steps = part(0, 100, 1000);
    steps.fShape = CurveShape::Steps;
    EXPECT_EQ(lines(thinOut(history.curve(), steps)), (Lines{{{0, 1}, {10, 1}, {10, 3}, {20, 3}}}));
}

TEST(Thinning, DrawsAPauseOfALineAsAValueThatHeld) {
    const History history = History().add(0, 1).add(10, 2).add(90, 3);
    DrawnPart held = part(0, 100, 1000);
    held.fHoldTime = 20;
    EXPECT_EQ(lines(thinOut(history.curve(), held)), (Lines{{{0, 1}, {10, 2}, {90, 2}, {90, 3}}}));
}

TEST(Thinning, HoldsTheLastValueUntilNow) {
    const History history = History().add(0, 1).add(10, 2);
    DrawnPart held = part(0, 100, 1000);
    held.fNow = 80;
    EXPECT_EQ(lines(thinOut(history.curve(), held)), (Lines{{{0, 1}, {10, 2}, {80, 2}}}));
    held.fLeft = 50;
    EXPECT_EQ(lines(thinOut(history.curve(), held)), (Lines{{{10, 2}, {80, 2}}}));
}

TEST(Thinning, HoldsNothingAfterAGap) {
    History history = History().add(0, 1).add(10, 2);
    history.add(20, a_nan);
    DrawnPart held = part(0, 100, 1000);
    held.fNow = 80;
    EXPECT_EQ(lines(thinOut(history.curve(), held)), (Lines{{{0, 1}, {10, 2}}}));
}

TEST(Thinning, HoldsAValueUntilTheGapThatEndsIt) {
    const History history = History().add(0, 1).add(10, 2).add(60, a_nan).add(90, 3);
    DrawnPart held = part(0, 100, 1000);
    EXPECT_EQ(lines(thinOut(history.curve(), held)), (Lines{{{0, 1}, {10, 2}}, {{90, 3}}}));
    held.fHoldTime = 20;
    const Lines expected{{{0, 1}, {10, 2}, {60, 2}}, {{90, 3}}};
    EXPECT_EQ(lines(thinOut(history.curve(), held)), expected);
    held.fLeft = 30;
    EXPECT_EQ(lines(thinOut(history.curve(), held)), (Lines{{{10, 2}, {60, 2}}, {{90, 3}}}));
    held.fRight = 50;
    EXPECT_EQ(lines(thinOut(history.curve(), held)), (Lines{{{10, 2}, {60, 2}}}));
}

TEST(Thinning, RefusesAViewOfNothing) {
    const History history = History().add(0, 1);
    EXPECT_TRUE(thinOut(history.curve(), part(10, 10, 10)).fPoints.empty());
    EXPECT_TRUE(thinOut(history.curve(), part(a_nan, 10, 10)).fPoints.empty());
}

TEST(Thinning, DoesNotJoinLinesOverAGapThatIsWiderThanAColumn) {
    History history;
    for (int i = 0; i < 100000; ++i) {
        const bool isGap = i >= 40000 && i < 60000;
        if (i != 40000 && isGap) {
            continue;
        }
        history.add(i, isGap ? a_nan : std::sin(i));
    }
    const Lines drawn = lines(thinOut(history.curve(), part(0, 100000, 100)));
    ASSERT_EQ(drawn.size(), 2U);
    EXPECT_LT(drawn[0].back().first, 40000);
    EXPECT_GE(drawn[1].front().first, 60000);
}

/** For any input each column shows exactly the minimum and maximum of all its points. */
TEST(Thinning, KeepsThePeaksOfEveryColumn) {
    std::mt19937 random(42);
    for (int round = 0; round < 120; ++round) {
        History history;
        std::int64_t time = 0;
        const int count = std::uniform_int_distribution<int>(1, 12000)(random);
        const int longestStep = std::uniform_int_distribution<int>(1, 50)(random);
        std::uniform_int_distribution<int> step(0, longestStep);
        std::uniform_int_distribution<int> rare(0, 2000);
        std::normal_distribution<double> noise(0, 1);
        for (int i = 0; i < count; ++i) {
            time += step(random);
            const int event = rare(random);
            time -= event == 0 ? 300 : 0;
            const double value = event < 3   ? a_nan
                                 : event < 6 ? 1000 * noise(random)
                                             : noise(random);
            history.add(time, value);
        }
        const auto end = double(time) + 1;
        std::uniform_real_distribution<double> times(-end / 4, end * 5 / 4);
        const double one = times(random);
        const double other = times(random);
        const DrawnPart seen = part(std::min(one, other), std::max(one, other) + 1,
                                    std::uniform_int_distribution<int>(1, 900)(random));
        ASSERT_EQ(extentsOf(thinOut(history.curve(), seen), seen), extentsOf(history.curve(), seen))
            << "round " << round;
    }
}

TEST(Thinning, DrawsNoMoreThanTheWidthAsksFor) {
    History history;
    std::mt19937 random(3);
    std::normal_distribution<double> noise(0, 1);
    for (int i = 0; i < 200000; ++i) {
        history.add(i, noise(random));
    }
    EXPECT_LE(thinOut(history.curve(), part(0, 200000, 1000)).fPoints.size(), 4 * 1000U);
    DrawnPart steps = part(0, 200000, 1000);
    steps.fShape = CurveShape::Steps;
    EXPECT_LE(thinOut(history.curve(), steps).fPoints.size(), 8 * 1000U);
}

TEST(Thinning, ShowsTheExtentOfACurveWhoseClockKeepsGoingBack) {
    History history;
    std::mt19937 random(5);
    std::uniform_int_distribution<int> times(0, 10000);
    for (int i = 0; i < 50000; ++i) {
        history.add(times(random), i % 100);
    }
    const DrawnPart seen = part(0, 10000, 100);
    const DrawnCurve drawn = thinOut(history.curve(), seen);
    EXPECT_LE(drawn.fPoints.size(), 200U);
    EXPECT_EQ(extentsOf(drawn, seen), extentsOf(history.curve(), seen));
}

TEST(Thinning, TakesTheMostExtremeTimes) {
    const auto first = std::numeric_limits<std::int64_t>::min();
    const auto last = std::numeric_limits<std::int64_t>::max();
    const History history = History().add(first, 1).add(0, 2).add(last, 3);
    EXPECT_EQ(lines(thinOut(history.curve(), part(-1, 1, 10))),
              (Lines{{{double(first), 1}, {0, 2}, {double(last), 3}}}));
}

TEST(Values, AreThoseOfWhatIsSeen) {
    const History history = History().add(0, 0).add(100, 100).add(200, -50);
    const DrawnCurve drawn = thinOut(history.curve(), part(20, 40, 100));
    ValueSpan span;
    addValues(span, drawn, 20, 40);
    EXPECT_DOUBLE_EQ(span.fMinimum, 20);
    EXPECT_DOUBLE_EQ(span.fMaximum, 40);
    ValueSpan none;
    addValues(none, DrawnCurve(), 0, 1);
    EXPECT_TRUE(none.isEmpty());
}

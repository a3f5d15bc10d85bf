#include "plots/curve_history.h"

#include "plots/plot_history.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

using namespace memoryviewer;

namespace {

constexpr auto a_chunk = CurveHistory::a_chunkSize;

CurveHistory ascending(std::size_t count) {
    CurveHistory history;
    for (std::size_t i = 0; i < count; ++i) {
        history.append({static_cast<std::int64_t>(i) * 10, static_cast<double>(i)}, i);
    }
    return history;
}

/** Reference implementation of pointAt(), which examines every point. */
std::optional<CurvePoint> searched(const CurveHistory& history, double time) {
    std::optional<CurvePoint> best;
    for (std::size_t i = 0; i < history.size(); ++i) {
        const CurvePoint point = history.at(i);
        if (static_cast<double>(point.fTime) <= time && (!best || point.fTime >= best->fTime)) {
            best = point;
        }
    }
    return best;
}

}  // namespace

TEST(CurveHistory, GivesBackEveryPointInTheOrderInWhichItCame) {
    const CurveHistory history = ascending(3 * a_chunk + 7);
    ASSERT_EQ(history.size(), 3 * a_chunk + 7);
    for (std::size_t i = 0; i < history.size(); ++i) {
        ASSERT_EQ(history.at(i), (CurvePoint{static_cast<std::int64_t>(i) * 10, double(i)}));
    }
    EXPECT_EQ(history.last().fValue, 3 * a_chunk + 6);
    EXPECT_EQ(history.earliest(), 0);
    EXPECT_EQ(history.latest(), static_cast<std::int64_t>(history.size() - 1) * 10);
}

TEST(CurveHistory, FindsTheValueThatHoldsAtATime) {
    const CurveHistory history = ascending(2 * a_chunk);
    EXPECT_FALSE(history.pointAt(-1));
    EXPECT_EQ(history.pointAt(0)->fValue, 0);
    EXPECT_EQ(history.pointAt(99)->fValue, 9);
    EXPECT_EQ(history.pointAt(100)->fValue, 10);
    EXPECT_EQ(history.pointAt(1e300)->fValue, 2 * a_chunk - 1);
}

TEST(CurveHistory, FindsTheValueWhateverTheClockDoes) {
    std::mt19937 random(7);
    std::uniform_int_distribution<int> step(-30, 60);
    CurveHistory history;
    std::int64_t time = 0;
    for (int i = 0; i < 5000; ++i) {
        time += step(random) * (i % 900 == 0 ? 1000 : 1);
        history.append({time, double(i)}, static_cast<std::uint64_t>(i));
    }
    std::uniform_real_distribution<double> times(double(history.earliest()) - 10,
                                                 double(history.latest()) + 10);
    for (int i = 0; i < 300; ++i) {
        const double asked = times(random);
        ASSERT_EQ(history.pointAt(asked), searched(history, asked)) << asked;
    }
}

TEST(CurveHistory, TellsAnInterruptionFromANotANumberOfTheRobot) {
    CurveHistory history;
    history.interrupt(5, 1);
    EXPECT_TRUE(history.isEmpty()) << "there is nothing to interrupt";
    history.append({10, 1.0}, 2);
    history.append({20, std::nan("")}, 3);
    EXPECT_TRUE(history.isGoingOn());
    history.interrupt(30, 4);
    history.interrupt(40, 5);
    ASSERT_EQ(history.size(), 3U) << "one interruption is enough";
    EXPECT_FALSE(history.isInterruption(1));
    EXPECT_TRUE(history.isInterruption(2));
    EXPECT_FALSE(history.isGoingOn());
    history.append({50, 2.0}, 6);
    EXPECT_TRUE(history.isGoingOn());
}

TEST(CurveHistory, IsCopiedAsItIsAtThatMoment) {
    CurveHistory history = ascending(a_chunk + 5);
    const CurveHistory copy = history;
    history.append({99999999, 1.0}, 9999);
    history.forgetOldest();
    EXPECT_EQ(copy.size(), a_chunk + 5);
    EXPECT_EQ(copy.at(0).fTime, 0);
    EXPECT_EQ(copy.last().fValue, a_chunk + 4);
}

TEST(CurveHistory, TakesTheMostExtremeTimesAndValues) {
    CurveHistory history;
    history.append({std::numeric_limits<std::int64_t>::max(), 1e308}, 1);
    history.append({std::numeric_limits<std::int64_t>::min(), -1e308}, 2);
    history.append({0, std::numeric_limits<double>::infinity()}, 3);
    EXPECT_EQ(history.earliest(), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(history.latest(), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(history.pointAt(-1)->fValue, -1e308);
}

TEST(PlotHistory, NeverHoldsMoreThanItsBound) {
    PlotHistory history;
    history.setMaximum(10 * a_chunk);
    history.add(1);
    history.add(2);
    for (std::size_t i = 0; i < 30 * a_chunk; ++i) {
        history.append(i % 3 == 0 ? 1 : 2, {static_cast<std::int64_t>(i), 0});
        ASSERT_LE(history.size(), history.maximum());
    }
    EXPECT_EQ(history.curve(1).size() + history.curve(2).size(), history.size());
    EXPECT_GT(history.size(), 8 * a_chunk) << "and not much less, since it forgets by the chunk";
    EXPECT_EQ(history.curve(1).last().fTime, static_cast<std::int64_t>(30 * a_chunk) - 3);
}

TEST(PlotHistory, ForgetsWhatIsOldestSoThatAllCurvesReachBackEquallyFar) {
    PlotHistory history;
    history.setMaximum(20 * a_chunk);
    history.add(1);
    history.add(2);
    for (std::size_t i = 0; i < 60 * a_chunk; ++i) {
        history.append(i % 4 == 0 ? 1 : 2, {static_cast<std::int64_t>(i), 0});
    }
    const std::int64_t difference =
        std::abs(history.curve(1).earliest() - history.curve(2).earliest());
    EXPECT_LT(difference, static_cast<std::int64_t>(5 * a_chunk));
}

TEST(PlotHistory, GivesBackWhatARemovedKeyTook) {
    PlotHistory history;
    history.add(1);
    history.add(2);
    history.append(1, {1, 1});
    history.append(2, {1, 1});
    history.append(3, {1, 1});
    EXPECT_EQ(history.size(), 2U) << "what is not contained is not kept";
    history.remove(1);
    EXPECT_EQ(history.size(), 1U);
    history.clear();
    EXPECT_EQ(history.size(), 0U);
    EXPECT_TRUE(history.contains(2));
}

TEST(PlotHistory, StaysBoundedWithManyCurvesOfFewPoints) {
    PlotHistory history;
    history.setMaximum(a_chunk);
    for (int key = 0; key < 40; ++key) {
        history.add(key);
    }
    for (std::size_t i = 0; i < 4 * a_chunk; ++i) {
        history.append(static_cast<int>(i % 40), {static_cast<std::int64_t>(i), 0});
        ASSERT_LE(history.size(), a_chunk);
    }
}

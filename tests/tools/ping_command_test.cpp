#include "commands/ping_command.h"

#include <gtest/gtest.h>

#include <numeric>

namespace robaxi_tool {
namespace {

TEST(RoundTrips, OneIsEverything) {
    const RoundTripStatistics statistics = statisticsOf({2.5});
    EXPECT_EQ(2.5, statistics.fMinimum);
    EXPECT_EQ(2.5, statistics.fMean);
    EXPECT_EQ(2.5, statistics.fMedian);
    EXPECT_EQ(2.5, statistics.fPercentile99);
    EXPECT_EQ(2.5, statistics.fMaximum);
}

TEST(RoundTrips, TheOrderDoesNotMatter) {
    const RoundTripStatistics statistics = statisticsOf({4, 1, 3, 12});
    EXPECT_EQ(1, statistics.fMinimum);
    EXPECT_EQ(5, statistics.fMean);
    EXPECT_EQ(3.5, statistics.fMedian);
    EXPECT_EQ(12, statistics.fPercentile99);
    EXPECT_EQ(12, statistics.fMaximum);
}

TEST(RoundTrips, ThePercentileLeavesOutOneOfAHundred) {
    std::vector<double> times(100);
    std::iota(times.begin(), times.end(), 1);
    EXPECT_EQ(99, statisticsOf(times).fPercentile99);
    times.push_back(101);
    EXPECT_EQ(100, statisticsOf(times).fPercentile99);
    times.resize(99);
    EXPECT_EQ(99, statisticsOf(times).fPercentile99);
}

}  // namespace
}  // namespace robaxi_tool

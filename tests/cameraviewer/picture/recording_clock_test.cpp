#include <gtest/gtest.h>

#include <limits>
#include <matroska/recording_clock.h>

using matroska::RecordingClock;

namespace {

constexpr std::int64_t a_second = 1'000'000;
constexpr std::int64_t a_day = 86'400 * a_second;
constexpr std::int64_t a_stamp = 1'700'000'000 * a_second;

TEST(RecordingClock, FollowsTheStampsAndNotTheDelaysOfTheNetwork) {
    RecordingClock clock;
    EXPECT_EQ(clock.next(a_stamp, 0), 0);
    EXPECT_EQ(clock.next(a_stamp + 33'333, 900'000), 33'333);
    EXPECT_EQ(clock.next(a_stamp + 66'667, 900'010), 66'667);
}

TEST(RecordingClock, KeepsAPauseOfTheStream) {
    RecordingClock clock;
    clock.next(a_stamp, 0);
    EXPECT_EQ(clock.next(a_stamp + 60 * a_second, 60 * a_second + 5000), 60 * a_second);
}

TEST(RecordingClock, GoesOnByArrivalWhereTheRobotsClockIsSet) {
    for (const std::int64_t jump : {-a_day, -a_second, a_day}) {
        RecordingClock clock;
        clock.next(a_stamp, 0);
        clock.next(a_stamp + 33'000, 30'000);
        EXPECT_EQ(clock.next(a_stamp + 66'000 + jump, 70'000), 33'000 + 40'000);
        EXPECT_EQ(clock.next(a_stamp + 99'000 + jump, 150'000), 33'000 + 40'000 + 33'000);
    }
}

TEST(RecordingClock, GoesOnByArrivalWhereTheRobotHasNoClock) {
    RecordingClock clock;
    EXPECT_EQ(clock.next(0, 5), 0);
    EXPECT_EQ(clock.next(0, 40'005), 40'000);
    EXPECT_EQ(clock.next(0, 80'005), 80'000);
}

TEST(RecordingClock, AlwaysGoesForward) {
    RecordingClock clock;
    EXPECT_EQ(clock.next(0, 5), 0);
    EXPECT_EQ(clock.next(0, 5), 1000);
    EXPECT_EQ(clock.next(0, 5), 2000);
}

TEST(RecordingClock, TakesAnyStampAtAll) {
    constexpr auto least = std::numeric_limits<std::int64_t>::min();
    constexpr auto most = std::numeric_limits<std::int64_t>::max();
    RecordingClock clock;
    EXPECT_EQ(clock.next(least, 0), 0);
    EXPECT_EQ(clock.next(most, 10'000), 10'000);
    EXPECT_EQ(clock.next(least, 20'000), 20'000);
    EXPECT_EQ(clock.next(0, 30'000), 30'000);
    EXPECT_EQ(clock.next(most, 40'000), 40'000);
}

}  // namespace

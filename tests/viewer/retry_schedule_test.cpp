#include <gtest/gtest.h>

#include <chrono>
#include <retry_schedule.h>
#include <vector>

using obvista::RetrySchedule;
using std::chrono::milliseconds;

namespace {

const RetrySchedule::Clock::time_point a_lost(std::chrono::hours(1));

/** Returns the delays, in milliseconds, of attempts that take no time and fail. */
std::vector<int> delays(RetrySchedule& schedule, RetrySchedule::Clock::time_point now, int count) {
    std::vector<int> result;
    while (static_cast<int>(result.size()) < count) {
        int waited = 0;
        for (; !schedule.isDue(now); now += milliseconds(1)) {
            ++waited;
        }
        result.push_back(waited);
        schedule.attemptFailed(now);
    }
    return result;
}

}  // namespace

TEST(RetrySchedule, DoublesItsDelaysUpToFiveSeconds) {
    RetrySchedule schedule(a_lost, [] { return 0.0; });
    EXPECT_EQ(delays(schedule, a_lost, 6), (std::vector{500, 1000, 2000, 4000, 5000, 5000}));
}

TEST(RetrySchedule, ShortensEachDelayAtRandomByAQuarterAtMost) {
    double random = 1;
    RetrySchedule schedule(a_lost, [&random] {
        random = 1 - random;
        return random;
    });
    EXPECT_EQ(delays(schedule, a_lost, 6), (std::vector{500, 750, 2000, 3000, 5000, 3750}));
}

TEST(RetrySchedule, BeginsAgainWhenTheRobotSeemsToBeThere) {
    RetrySchedule schedule(a_lost, [] { return 0.0; });
    delays(schedule, a_lost, 5);
    const auto later = a_lost + std::chrono::minutes(1);
    schedule.attemptFailed(later);
    EXPECT_FALSE(schedule.isDue(later));
    schedule.hurry(later);
    EXPECT_EQ(delays(schedule, later, 3), (std::vector{0, 1000, 2000}));
}

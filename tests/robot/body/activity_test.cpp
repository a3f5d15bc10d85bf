#include "body/activity.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

using robot::Activity;

namespace {

/** Returns times from shortly before the start on, in steps of a hundredth of a second. */
std::vector<double> momentsOfTwoRounds() {
    std::vector<double> moments(17000);
    for (std::size_t i = 0; i < moments.size(); ++i) {
        moments[i] = static_cast<double>(i) / 100 - 0.5;
    }
    return moments;
}

TEST(Activity, weightsStayBetweenNothingAndFull) {
    const Activity activity(3);
    for (const double time : momentsOfTwoRounds()) {
        EXPECT_GE(activity.walking(time), 0);
        EXPECT_LE(activity.walking(time), 1);
        EXPECT_GE(activity.gesturing(time), 0);
        EXPECT_LE(activity.gesturing(time), 1);
    }
}

TEST(Activity, walkingAndGesturingNeverMix) {
    const Activity activity(11);
    for (const double time : momentsOfTwoRounds()) {
        EXPECT_EQ(activity.walking(time) * activity.gesturing(time), 0) << "at " << time;
    }
}

TEST(Activity, everyRoundStandsWalksAndGestures) {
    const Activity activity(2);
    std::set<std::string> seen;
    for (const double time : momentsOfTwoRounds()) {
        seen.insert(activity.name(time));
    }
    EXPECT_EQ(seen, (std::set<std::string>{"standing", "walking", "gesturing"}));
}

TEST(Activity, walkedTimeIsTheSumOfTheWalkingWeight) {
    const Activity activity(17);
    double sum = 0;
    const double step = 0.001;
    for (int i = 0; i < 250000; ++i) {
        sum += activity.walking((i + 0.5) * step) * step;
    }
    EXPECT_EQ(activity.walkedTime(0), 0);
    EXPECT_NEAR(activity.walkedTime(250), sum, 0.01);
}

}  // namespace

#include "activity.h"

#include <gtest/gtest.h>

#include <cmath>
#include <set>
#include <string>

using robot::Activity;

namespace {

TEST(Activity, weightsStayBetweenNothingAndFull) {
    const Activity activity(3);
    for (double time = -0.5; time < 200; time += 0.01) {
        EXPECT_GE(activity.walking(time), 0);
        EXPECT_LE(activity.walking(time), 1);
        EXPECT_GE(activity.gesturing(time), 0);
        EXPECT_LE(activity.gesturing(time), 1);
    }
}

TEST(Activity, walkingAndGesturingNeverMix) {
    const Activity activity(11);
    for (double time = 0; time < 200; time += 0.01) {
        EXPECT_EQ(activity.walking(time) * activity.gesturing(time), 0) << "at " << time;
    }
}

TEST(Activity, everyRoundStandsWalksAndGestures) {
    const Activity activity(2);
    std::set<std::string> seen;
    for (double time = 0; time < 80; time += 1) {
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

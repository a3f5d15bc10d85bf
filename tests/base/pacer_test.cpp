#include <base/pacer.h>

#include <gtest/gtest.h>

using base::Pacer;

namespace {

const Pacer::Clock::time_point a_start = Pacer::Clock::time_point() + std::chrono::hours(1);

TEST(Pacer, thirtyASecondDoNotDriftInAnHour) {
    Pacer pacer;
    pacer.start(a_start, 30);
    for (int frame = 0; frame < 30 * 3600; ++frame) {
        ASSERT_EQ(pacer.take(pacer.due()), 0U) << frame;
    }
    EXPECT_LT(std::chrono::abs(pacer.due() - (a_start + std::chrono::hours(1))),
              std::chrono::microseconds(1));
}

TEST(Pacer, whatIsTooLateIsLeftOutAndCounted) {
    Pacer pacer;
    pacer.start(a_start, 10);
    EXPECT_EQ(pacer.take(a_start), 0U);
    EXPECT_EQ(pacer.take(a_start + std::chrono::milliseconds(450)), 3U);
    EXPECT_EQ(pacer.due(), a_start + std::chrono::milliseconds(500));
}

TEST(Pacer, anotherRateHoldsFromTheLastFrameOn) {
    Pacer pacer;
    pacer.start(a_start, 1);
    pacer.take(a_start);
    pacer.setRate(a_start + std::chrono::milliseconds(10), 10);
    EXPECT_EQ(pacer.due(), a_start + std::chrono::milliseconds(100));
    pacer.take(pacer.due());
    pacer.setRate(a_start + std::chrono::milliseconds(110), 1);
    EXPECT_EQ(pacer.due(), a_start + std::chrono::milliseconds(1100));
}

TEST(Pacer, aFasterRateLeavesNoFrameOutForTheTimeBeforeIt) {
    Pacer pacer;
    pacer.start(a_start, 1);
    pacer.take(a_start);
    const auto later = a_start + std::chrono::milliseconds(500);
    pacer.setRate(later, 30);
    EXPECT_EQ(pacer.due(), later);
    EXPECT_EQ(pacer.take(later), 0U);
}

TEST(Pacer, ofManyRatesBetweenTwoFramesTheLastHolds) {
    Pacer pacer;
    pacer.start(a_start, 1);
    pacer.take(a_start);
    pacer.setRate(a_start + std::chrono::milliseconds(10), 0.001);
    pacer.setRate(a_start + std::chrono::milliseconds(20), 10);
    EXPECT_EQ(pacer.due(), a_start + std::chrono::milliseconds(100));
}

TEST(Pacer, theFirstFrameStaysDueWhateverTheRateBecomes) {
    Pacer pacer;
    pacer.start(a_start, 30);
    pacer.setRate(a_start + std::chrono::milliseconds(1), 0.001);
    EXPECT_EQ(pacer.due(), a_start);
    EXPECT_EQ(pacer.take(a_start + std::chrono::milliseconds(2)), 0U);
    EXPECT_EQ(pacer.due(), a_start + std::chrono::seconds(1000));
}

}  // namespace

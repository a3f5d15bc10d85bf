#include <obvista/viewer/notice.h>

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

using obvista::Notice;

namespace {

TEST(Notice, IsGivenOnceUntilItIsCleared) {
    Notice notice;
    int calls = 0;
    notice.set([&] { ++calls; });
    EXPECT_EQ(calls, 0);
    notice.give();
    notice.give();
    EXPECT_EQ(calls, 1);
    notice.clear();
    EXPECT_EQ(calls, 1);
    notice.give();
    EXPECT_EQ(calls, 2);
}

TEST(Notice, IsGivenAtOnceForWhatCameBefore) {
    Notice notice;
    notice.give();
    int calls = 0;
    notice.set([&] { ++calls; });
    EXPECT_EQ(calls, 1);
}

TEST(Notice, IsNotGivenAfterItsFunctionIsTakenAway) {
    Notice notice;
    int calls = 0;
    notice.set([&] { ++calls; });
    notice.set(nullptr);
    notice.give();
    EXPECT_EQ(calls, 0);
}

TEST(Notice, CallsNoFunctionThatIsTakenAwayUnderFire) {
    for (int round = 0; round < 50; ++round) {
        Notice notice;
        std::atomic<bool> isGone{false};
        std::atomic<bool> isCalledLate{false};
        std::atomic<bool> hasStarted{false};
        notice.set([&] { isCalledLate = isCalledLate || isGone; });
        std::thread robot([&] {
            for (int i = 0; i < 200; ++i) {
                notice.give();
                hasStarted = true;
            }
        });
        while (!hasStarted) {
            notice.clear();
        }
        notice.set(nullptr);
        isGone = true;
        robot.join();
        EXPECT_FALSE(isCalledLate);
    }
}

}  // namespace

#include "snapshot/fresh_frame.h"

#include "process/failure.h"

#include <gtest/gtest.h>

#include <thread>

namespace robaxi_tool {
namespace {

constexpr std::chrono::hours a_long(1);
constexpr std::chrono::milliseconds a_moment(1);

class FreshFrameTest : public ::testing::Test {
  protected:
    static KVFrame frame(std::uint64_t number) {
        KVFrame made;
        made.fNumber = number;
        return made;
    }

    Interruption fInterruption;
    Bell fBell{fInterruption};
    FreshFrame fFresh{fBell};
};

TEST_F(FreshFrameTest, TheFirstFrameMayBeOldAndTheNextIsTaken) {
    std::thread robot([this] {
        for (const std::uint64_t number : {7, 7, 8, 9}) {
            fFresh.frameReceived(frame(number));
        }
    });
    const auto result = fFresh.wait(Clock::now() + a_long, a_long);
    robot.join();
    ASSERT_TRUE(result);
    EXPECT_EQ(8U, result->fFrame.fNumber);
    EXPECT_TRUE(result->fIsNew);
}

TEST_F(FreshFrameTest, AStoppedCameraHasItsLastFrame) {
    fFresh.frameReceived(frame(7));
    fFresh.frameReceived(frame(7));
    const auto result = fFresh.wait(Clock::now() + a_long, a_moment);
    ASSERT_TRUE(result);
    EXPECT_EQ(7U, result->fFrame.fNumber);
    EXPECT_FALSE(result->fIsNew);
}

TEST_F(FreshFrameTest, ACameraThatSendsNothingHasNone) {
    EXPECT_FALSE(fFresh.wait(Clock::now() + a_moment, a_long));
}

TEST_F(FreshFrameTest, TheEndOfTheStreamIsNotWaitedOut) {
    fFresh.frameReceived(frame(7));
    fFresh.ended(KVError(KVError::Cause::ConnectionLost, "lost"));
    EXPECT_THROW(fFresh.wait(Clock::now() + a_long, a_long), KVError);
}

TEST_F(FreshFrameTest, ANewFrameCountsAlthoughTheStreamHasEnded) {
    fFresh.frameReceived(frame(7));
    fFresh.frameReceived(frame(8));
    fFresh.ended(KVError(KVError::Cause::ConnectionLost, "lost"));
    EXPECT_EQ(8U, fFresh.wait(Clock::now() + a_long, a_long)->fFrame.fNumber);
}

TEST_F(FreshFrameTest, TheUserNeedNotWait) {
    fInterruption.interrupt(2);
    EXPECT_THROW(fFresh.wait(Clock::now() + a_long, a_long), Interrupted);
}

}  // namespace
}  // namespace robaxi_tool

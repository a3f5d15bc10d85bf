#include <obvista/viewer/notice.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <frame_feed.h>
#include <made_frames.h>
#include <picture_worker.h>
#include <thread>
#include <vector>

using cameraviewer::FrameFeed;
using cameraviewer::PictureWorker;
using obvista::Notice;
using picture::FrameFault;
using testing::ElementsAre;
using testing::Pair;

namespace {

class FrameFeedTest : public testing::Test {
  protected:
    FrameFeedTest() {
        fNotice.set([this] { ++fNotices; });
        fFeed.begin();
    }
    ~FrameFeedTest() override { fNotice.set(nullptr); }

    static KVFrame xFrame(std::uint64_t number) {
        KVFrame frame = obvista_test::soundFrame(KVPixelFormat::Rgb888, 16, 8);
        frame.fNumber = number;
        return frame;
    }

    int fNotices = 0;
    Notice fNotice;
    PictureWorker fWorker{fNotice};
    FrameFeed fFeed{fWorker, fNotice};
};

TEST_F(FrameFeedTest, CountsFramesAndBytes) {
    const KVFrame frame = xFrame(1);
    fFeed.frameReceived(frame, 0);
    fFeed.frameReceived(xFrame(2), 0);
    EXPECT_EQ(fFeed.counts().fReceived, 2U);
    EXPECT_EQ(fFeed.counts().fBytes, 2 * frame.fSize);
}

TEST_F(FrameFeedTest, CountsAFrameThatIsOvertakenAsDropped) {
    fFeed.frameReceived(xFrame(1), 0);
    EXPECT_EQ(fFeed.counts().fDropped, 0U);
    fFeed.frameReceived(xFrame(2), 0);
    EXPECT_EQ(fFeed.counts().fDropped, 1U);
}

TEST_F(FrameFeedTest, CountsEachFrameThatNeverCameOnce) {
    fFeed.frameReceived(xFrame(10), 0);
    // Of the four frames between, one was received and passed over, and three were never sent.
    fFeed.frameReceived(xFrame(15), 1);
    EXPECT_EQ(fFeed.counts().fReceived, 3U);
    EXPECT_EQ(fFeed.counts().fDropped, 4U + 1U);
}

TEST_F(FrameFeedTest, TakesACameraThatStartsAnewForNoGap) {
    fFeed.frameReceived(xFrame(1'000'000'000), 0);
    fFeed.frameReceived(xFrame(1), 0);
    fFeed.frameReceived(xFrame(~0ULL), 0);
    EXPECT_EQ(fFeed.counts().fDropped, 2U);
}

TEST_F(FrameFeedTest, CountsNothingForTheTimeInWhichItDidNotWatch) {
    fFeed.frameReceived(xFrame(1), 0);
    fWorker.forget();
    fFeed.begin();
    EXPECT_FALSE(fFeed.state().fArrived.has_value());
    fFeed.frameReceived(xFrame(500), 0);
    EXPECT_EQ(fFeed.counts().fDropped, 0U);
    EXPECT_EQ(fFeed.counts().fReceived, 2U);
}

TEST_F(FrameFeedTest, CountsAndNamesFaultyFramesAndHandsThemToNobody) {
    std::vector<std::uint64_t> recorded;
    fFeed.setTap(
        [&](const picture::CheckedFrame& frame) { recorded.push_back(frame.frame().fNumber); });
    KVFrame shortData = xFrame(1);
    --shortData.fSize;
    KVFrame noSize = xFrame(2);
    noSize.fHeight = 0;
    fFeed.frameReceived(shortData, 0);
    EXPECT_EQ(fFeed.state().fFault, FrameFault::ShortData);
    fFeed.frameReceived(noSize, 0);
    fFeed.frameReceived(noSize, 0);
    EXPECT_THAT(fFeed.counts().fFaults,
                ElementsAre(Pair(FrameFault::NoSize, 2U), Pair(FrameFault::ShortData, 1U)));
    EXPECT_TRUE(fFeed.state().fArrived.has_value());
    fFeed.frameReceived(xFrame(3), 0);
    EXPECT_EQ(fFeed.state().fFault, FrameFault::None);
    EXPECT_THAT(recorded, ElementsAre(3U));
    fFeed.setTap(nullptr);
    fFeed.frameReceived(xFrame(4), 0);
    EXPECT_THAT(recorded, ElementsAre(3U));
}

TEST_F(FrameFeedTest, TellsOfTheFirstFrameAndOfAFaultAndOfTheEnd) {
    fFeed.frameReceived(xFrame(1), 0);
    EXPECT_EQ(fNotices, 1);
    fNotice.clear();
    fFeed.frameReceived(xFrame(2), 0);
    EXPECT_EQ(fNotices, 1);
    KVFrame faulty = xFrame(3);
    faulty.fWidth = 0;
    fFeed.frameReceived(faulty, 0);
    EXPECT_EQ(fNotices, 2);
    fNotice.clear();
    fFeed.ended(KVError(KVError::Cause::NoSuchModule, "gone"));
    EXPECT_EQ(fNotices, 3);
    EXPECT_EQ(fFeed.state().fEnd->toString(), "gone");
}

TEST_F(FrameFeedTest, IsReadWhileFramesCome) {
    std::thread robot([this] {
        for (std::uint64_t number = 1; number <= 3000; ++number) {
            fFeed.frameReceived(xFrame(number), 0);
        }
    });
    std::uint64_t seen = 0;
    bool goesBack = false;
    while (seen < 3000) {
        const std::uint64_t received = fFeed.counts().fReceived;
        goesBack = goesBack || received < seen;
        seen = received;
        fFeed.setTap([](const picture::CheckedFrame&) {});
        fFeed.state();
        fFeed.setTap(nullptr);
    }
    robot.join();
    EXPECT_FALSE(goesBack);
    EXPECT_EQ(fFeed.counts().fDropped, 2999U);
}

}  // namespace

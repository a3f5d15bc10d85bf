#include <gtest/gtest.h>

#include <algorithm>
#include <bandwidth_control.h>
#include <chrono>
#include <cstdint>
#include <vector>

using cameraviewer::BandwidthControl;
using Clock = BandwidthControl::Clock;

namespace {

constexpr double a_frameRate = 30;

/** A camera behind a link with a queue, and a viewer that follows the control. */
class Link {
  public:
    explicit Link(double capacity, double clockError = 0)
        : fCapacity(capacity), fClockError(clockError) {}

    void setCapacity(double capacity) { fCapacity = capacity; }
    /** Sets the bit rate of the best picture: that of one without movement is low. */
    void setNeed(double bitRate) { fNeed = bitRate; }

    /** Sends frames for some seconds. Every 60th is a key frame of four times the size. */
    void run(double seconds) {
        fAges.clear();
        for (int i = 0; i < seconds * a_frameRate; ++i, ++fFrames) {
            const double sent = fFrames / a_frameRate;
            const double bits =
                std::min<double>(fBitRate, fNeed) / a_frameRate * (fFrames % 60 == 0 ? 4 : 0.95);
            // Behind half a second the robot drops to the next key frame.
            if (fFree - sent > 0.5 && fFrames % 60 != 0) {
                continue;
            }
            fFree = std::max(fFree, sent) + bits / fCapacity;
            constexpr double delay = 0.02;
            const double shown = fFree + delay;
            fAges.push_back(shown - sent);
            fBytes += static_cast<std::uint64_t>(bits / 8);
            const Clock::time_point now(std::chrono::duration_cast<Clock::duration>(
                std::chrono::duration<double>(1000 + shown)));
            if (const auto wanted =
                    fControl.frameShown(now, shown - sent + fClockError, fBytes, fBitRate)) {
                fRequests.push_back(shown);
                fBitRate = *wanted;
            }
        }
    }

    double age(double part) {
        std::sort(fAges.begin(), fAges.end());
        return fAges[static_cast<std::size_t>(part * static_cast<double>(fAges.size() - 1))];
    }
    int bitRate() const { return fBitRate; }
    const std::vector<double>& requests() const { return fRequests; }

  private:
    double fCapacity;
    const double fClockError;
    BandwidthControl fControl;
    int fBitRate = 2'000'000;
    int fFrames = 0;
    double fFree = 0;
    double fNeed = 1e9;
    std::uint64_t fBytes = 0;
    std::vector<double> fAges;
    std::vector<double> fRequests;
};

}  // namespace

TEST(BandwidthControl, UsesALinkWithoutAQueue) {
    Link link(4e6);
    link.run(20);
    link.run(60);
    EXPECT_LT(link.age(0.5), 0.05);
    EXPECT_LT(link.age(0.95), 0.15);
    EXPECT_GT(link.bitRate(), 1'500'000);
    EXPECT_LT(link.bitRate(), 4'000'000);
}

TEST(BandwidthControl, IsReducedWhenTheLinkBecomesSlower) {
    Link link(8e6);
    link.run(30);
    link.setCapacity(1e6);
    link.run(6);
    link.run(30);
    EXPECT_LT(link.age(0.95), 0.2);
    EXPECT_LT(link.bitRate(), 1'000'000);
    EXPECT_GT(link.bitRate(), 250'000);
}

TEST(BandwidthControl, GrowsAgainWhenTheLinkBecomesFaster) {
    Link link(0.5e6);
    link.run(30);
    EXPECT_LT(link.bitRate(), 700'000);
    link.setCapacity(50e6);
    link.run(40);
    EXPECT_EQ(link.bitRate(), BandwidthControl::a_highest);
}

TEST(BandwidthControl, IsNotIncreasedFarAboveTheNeedOfThePicture) {
    Link link(1e6);
    const int before = link.bitRate();
    link.setNeed(0.2e6);
    link.run(60);
    EXPECT_EQ(link.bitRate(), before);
}

TEST(BandwidthControl, IsReducedInFewSteps) {
    Link link(50e6);
    link.run(30);
    EXPECT_EQ(link.bitRate(), BandwidthControl::a_highest);
    link.setCapacity(1e6);
    link.run(4);
    EXPECT_LT(link.bitRate(), 1'000'000);
}

TEST(BandwidthControl, AsksTheRobotAtMostFourTimesASecond) {
    for (const double capacity : {0.2e6, 1e6, 4e6, 50e6}) {
        Link link(capacity);
        link.run(60);
        const std::vector<double>& requests = link.requests();
        EXPECT_FALSE(requests.empty());
        for (std::size_t i = 0; i + 4 < requests.size(); ++i) {
            EXPECT_GE(requests[i + 4] - requests[i], 1);
        }
    }
}

TEST(BandwidthControl, IsIndependentOfTheClocks) {
    for (const double error : {-3600.0, 3600.0}) {
        Link link(4e6, error);
        link.run(20);
        link.run(20);
        EXPECT_LT(link.age(0.95), 0.15) << error;
        EXPECT_GT(link.bitRate(), 1'500'000) << error;
    }
}

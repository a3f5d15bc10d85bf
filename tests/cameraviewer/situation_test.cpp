#include <gtest/gtest.h>

#include <situation.h>
#include <string>

using cameraviewer::patienceFor;
using cameraviewer::reasonOf;
using cameraviewer::Situation;
using picture::FrameFault;
using Seconds = Situation::Seconds;

namespace {

/** A camera that sends thirty frames a second. */
Situation live() {
    Situation situation;
    situation.fHasCameras = true;
    situation.fCameraCount = 2;
    situation.fCamera = QStringLiteral("head");
    situation.fRate = 30;
    situation.fWatched = Seconds(60);
    situation.fSinceFrame = Seconds(0.03);
    return situation;
}

std::string reason(const Situation& situation) {
    return reasonOf(situation).toStdString();
}

TEST(Situation, HasNoReasonForALivePicture) {
    EXPECT_EQ(reason(live()), "");
}

TEST(Situation, SaysThatTheRobotIsAsked) {
    EXPECT_EQ(reason(Situation()), "Connected. Asking the robot for its cameras\u2026");
}

TEST(Situation, SaysThatThereAreNoCameras) {
    Situation none;
    none.fHasCameras = true;
    EXPECT_EQ(reason(none), "This robot has no camera.");
    none.fHasCameras = false;
    none.fFailure = KVError(KVError::Cause::NoSuchModule, "no module");
    EXPECT_EQ(reason(none), "This robot offers no cameras: it has no module KVVideo.");
    none.fFailure = KVError(KVError::Cause::NoSuchMethod, "no method");
    EXPECT_EQ(reason(none),
              "This robot does not list its cameras: its module KVVideo has no method getCameras. "
              "Enter a camera's name above to watch it.");
    none.fFailure = KVError(KVError::Cause::TimedOut, "no answer\n");
    EXPECT_EQ(reason(none), "The robot does not list its cameras: no answer\\n");
}

TEST(Situation, SaysThatNoPictureHasCome) {
    Situation waiting = live();
    waiting.fSinceFrame.reset();
    waiting.fWatched = Seconds(0.2);
    EXPECT_EQ(reason(waiting), "Waiting for the first picture of camera \"head\"\u2026");
    waiting.fWatched = Seconds(7.1);
    EXPECT_EQ(reason(waiting), "Camera \"head\" has not sent a picture in 7 s.");
}

TEST(Situation, SaysSinceWhenNoPictureComes) {
    Situation stopped = live();
    stopped.fSinceFrame = Seconds(1);
    EXPECT_EQ(reason(stopped), "Camera \"head\" stopped sending 1 s ago.");
    stopped.fSinceFrame = Seconds(89.7);
    EXPECT_EQ(reason(stopped), "Camera \"head\" stopped sending 90 s ago.");
}

TEST(Situation, DoesNotMissPicturesOfAReplayThatIsPaused) {
    Situation replay = live();
    replay.fSinceFrame = Seconds(60);
    replay.fIsReplayPaused = true;
    EXPECT_EQ(reason(replay), "");
    replay.fFault = FrameFault::ShortData;
    EXPECT_NE(reason(replay), "");
}

TEST(Situation, CountsTheSecondsOfARecording) {
    Situation replay = live();
    replay.fRate = 10;
    replay.fReplaySpeed = 0.1;
    replay.fSinceFrame = Seconds(1.5);
    EXPECT_EQ(reason(replay), "");
    replay.fSinceFrame = Seconds(40);
    EXPECT_EQ(reason(replay), "Camera \"head\" stopped sending 4 s ago.");
    replay.fReplaySpeed = 50;
    replay.fSinceFrame = Seconds(0.5);
    EXPECT_EQ(reason(replay), "");
}

TEST(Situation, GivesASlowCameraItsTime) {
    Situation slow = live();
    slow.fRate = 1;
    slow.fSinceFrame = Seconds(1.2);
    EXPECT_EQ(reason(slow), "");
    slow.fSinceFrame = Seconds(1.7);
    EXPECT_NE(reason(slow), "");
    slow.fRate = 0.1;
    slow.fSinceFrame = Seconds(11);
    EXPECT_EQ(reason(slow), "");
}

TEST(Situation, LosesPatienceWithinTwoSecondsAtEveryRateFromOne) {
    for (const double rate : {0.0, 1.0, 5.0, 10.0, 30.0, 1000.0}) {
        EXPECT_LT(patienceFor(rate), Seconds(1.75)) << rate;
        EXPECT_GT(patienceFor(rate), Seconds(0.5)) << rate;
    }
}

TEST(Situation, NamesWhatIsWrongWithTheFrames) {
    Situation faulty = live();
    faulty.fFault = FrameFault::ShortData;
    EXPECT_EQ(reason(faulty), faultText(FrameFault::ShortData));
    faulty.fFault = FrameFault::UnsupportedFormat;
    EXPECT_EQ(reason(faulty), faultText(FrameFault::UnsupportedFormat));
}

TEST(Situation, SaysThatTheRobotEndedTheStream) {
    Situation ended = live();
    ended.fEnd = KVError(KVError::Cause::Internal, "camera unplugged");
    EXPECT_EQ(reason(ended), "The robot has ended the stream of camera \"head\": camera unplugged");
}

TEST(Situation, PutsTheRobotBeforeTheCamera) {
    Situation lost = live();
    lost.fIsPaused = true;
    EXPECT_EQ(reason(lost), "Paused.");
    lost.fLink = obvista::LinkState::Lost;
    EXPECT_EQ(reason(lost), "The robot is lost.");
    lost.fLink = obvista::LinkState::Closed;
    EXPECT_EQ(reason(lost), "The connection is closed.");
}

}  // namespace

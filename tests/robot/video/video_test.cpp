#include "frame_stamp.h"
#include "robot_process.h"
#include "without_plugins.h"

#include <picture/frame_check.h>
#include <robaxi/kv_broker.h>
#include <robaxi/kv_connection.h>
#include <robaxi/kv_error.h>
#include <robaxi/kv_frame_stream.h>
#include <robaxi/kv_proxy.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <codec/h264_decoder.h>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

using obvista_test::ChildProcess;
using obvista_test::FrameStamp;
using obvista_test::RobotProcess;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

constexpr int a_timeOut = 20;  // seconds; generous, since the machine may be busy

/** Watches a camera. */
class Watch {
  public:
    KVFrameStream::Callbacks callbacks() {
        KVFrameStream::Callbacks callbacks;
        callbacks.fFrameReceived = [this](const KVFrame& frame, std::uint64_t /*passedOver*/) {
            const std::lock_guard lock(fMutex);
            fNewest = frame;
            ++fCount;
            fChanged.notify_all();
        };
        callbacks.fEnded = [this](const KVError& error) {
            const std::lock_guard lock(fMutex);
            fEnd = error;
            fChanged.notify_all();
        };
        return callbacks;
    }

    /** Waits for a frame that meets a condition. @throws std::runtime_error if there is none */
    KVFrame waitFor(const std::function<bool(const KVFrame&)>& condition) {
        std::unique_lock lock(fMutex);
        return xNewest(lock, [&] { return fNewest.fData && condition(fNewest); });
    }

    /** Waits for one more frame than there are now. @throws std::runtime_error if there is none */
    KVFrame waitForNext() {
        std::unique_lock lock(fMutex);
        return xNewest(lock, [this, before = fCount] { return fCount > before; });
    }

    std::string waitForEnd() {
        std::unique_lock lock(fMutex);
        EXPECT_TRUE(
            fChanged.wait_for(lock, ChildProcess::a_patience, [this] { return fEnd.has_value(); }));
        return fEnd ? fEnd->toString() : std::string();
    }

    int count() {
        const std::lock_guard lock(fMutex);
        return fCount;
    }

  private:
    KVFrame xNewest(std::unique_lock<std::mutex>& lock, const std::function<bool()>& condition) {
        fChanged.wait_for(lock, ChildProcess::a_patience, [&] { return fEnd || condition(); });
        if (!condition()) {
            throw std::runtime_error("the awaited frame did not come; there were " +
                                     std::to_string(fCount) +
                                     (fEnd ? ", then: " + fEnd->toString() : ""));
        }
        return fNewest;
    }

    std::mutex fMutex;
    std::condition_variable fChanged;
    KVFrame fNewest;
    int fCount = 0;
    std::optional<KVError> fEnd;
};

std::optional<FrameStamp> stampOf(const KVFrame& rgb) {
    return obvista_test::readFrameStamp(
        [&rgb](int x, int y) {
            return int{rgb.fData.get()[static_cast<std::size_t>(y) * rgb.fStride +
                                       3 * static_cast<std::size_t>(x) + 1]};
        },
        0, 0, rgb.fWidth);
}

/** Watches a camera, and decodes its H.264. */
class FilmWatch {
  public:
    struct Results {
        int fFrames = 0;
        int fKeyFrames = 0;
        int fUndecodable = 0;
        int fWithOtherStamp = 0;  ///< the picture is not that of the frame
    };

    KVFrameStream::Callbacks callbacks() {
        KVFrameStream::Callbacks callbacks;
        callbacks.fFrameReceived = [this](const KVFrame& frame, std::uint64_t /*passedOver*/) {
            xTake(frame);
        };
        return callbacks;
    }

    Results waitFor(const std::function<bool(const Results&)>& condition) {
        std::unique_lock lock(fMutex);
        EXPECT_TRUE(
            fChanged.wait_for(lock, ChildProcess::a_patience, [&] { return condition(fResults); }));
        return fResults;
    }

  private:
    void xTake(const KVFrame& frame) {
        if (frame.fFormat != KVPixelFormat::H264) {
            return;  // from before the change of the settings
        }
        const picture::CheckedFrame checked = picture::check(frame);
        const bool isDecoded = checked.fault() == picture::FrameFault::None &&
                               fDecoder.decode(checked) == picture::FrameFault::None;
        std::vector<unsigned char> bytes(std::size_t{3} * frame.fWidth * frame.fHeight);
        const bool isRead = isDecoded && fDecoder.read(picture::PixelLayout::Rgb888, bytes.data(),
                                                       std::size_t{3} * frame.fWidth);
        KVFrame rgb = frame;
        rgb.fStride = 3 * frame.fWidth;
        rgb.fData = {std::shared_ptr<void>(), bytes.data()};
        const auto stamp = isRead ? stampOf(rgb) : std::nullopt;
        const std::lock_guard lock(fMutex);
        ++fResults.fFrames;
        fResults.fKeyFrames += frame.fIsKey ? 1 : 0;
        fResults.fUndecodable += isRead ? 0 : 1;
        fResults.fWithOtherStamp += stamp && stamp->fNumber == frame.fNumber ? 0 : 1;
        fChanged.notify_all();
    }

    codec::H264Decoder fDecoder;
    std::mutex fMutex;
    std::condition_variable fChanged;
    Results fResults;
};

class VideoTest : public testing::Test {
  protected:
    explicit VideoTest(const std::vector<std::string>& arguments = {"--stamp"})
        : fRobot({arguments}) {}

    template <class Watcher>
    std::shared_ptr<KVFrameStream> watch(const std::string& camera, Watcher& watch) {
        return KVFrameStream::start(fConnection, "KVVideo", camera, watch.callbacks());
    }

    KVValue set(const std::string& camera, const KVValue::Map& settings) {
        return fVideo.callValue("setSettings", {camera, settings});
    }

    std::string refusalOf(const std::string& camera, const KVValue::Map& settings) {
        try {
            set(camera, settings);
        } catch (const KVError& error) {
            return error.toString();
        }
        return "it was accepted";
    }

    void setTrouble(const std::string& camera, const std::string& trouble) {
        KVProxy("KVSim", RobotProcess::address(), fRobot.port(), fBroker, a_timeOut, 0)
            .callValue("setCamera", {camera, trouble});
    }

    std::vector<std::string> cameraNames() {
        std::vector<std::string> names;
        for (const KVValue& camera : fVideo.call<KVValue::List>("getCameras")) {
            names.push_back(camera.toMap().at("name").toString());
        }
        return names;
    }

    RobotProcess fRobot;
    boost::shared_ptr<KVBroker> fBroker = KVBroker::createBroker({"test"});
    std::shared_ptr<KVConnection> fConnection =
        KVConnection::open(fBroker, RobotProcess::address(), fRobot.port(), a_timeOut);
    KVProxy fVideo{"KVVideo", RobotProcess::address(), fRobot.port(), fBroker, a_timeOut, 0};
};

TEST_F(VideoTest, aRobotTellsWhatItsTwoCamerasCanDo) {
    EXPECT_THAT(cameraNames(), ElementsAre("head", "chest"));
    const KVValue::List cameras = fVideo.call<KVValue::List>("getCameras");
    const KVValue::Map& head = cameras.at(0).toMap();
    EXPECT_EQ(head.at("modes").toList().size(), 4U);
    const KVValue::Map& largest = head.at("modes").toList().back().toMap();
    EXPECT_EQ(largest.at("width"), KVValue(1280));
    EXPECT_EQ(largest.at("height"), KVValue(720));
    EXPECT_EQ(largest.at("formats"),
              KVValue(KVValue::List{"rgb", "yuv422", "grey", "jpeg", "h264"}));
    EXPECT_EQ(largest.at("rates"), KVValue(KVValue::List{1.0, 5.0, 10.0, 15.0, 30.0}));
    EXPECT_EQ(head.at("settings"), KVValue(KVValue::Map{{"width", 640},
                                                        {"height", 480},
                                                        {"format", "jpeg"},
                                                        {"rate", 30.0},
                                                        {"bitRate", 2'000'000}}));
    const KVValue::Map& chest = cameras.at(1).toMap();
    EXPECT_EQ(chest.at("modes").toList().size(), 3U);
    EXPECT_EQ(chest.at("settings"), fVideo.callValue("getSettings", {"chest"}));
}

TEST_F(VideoTest, h264CanBeDecodedFromTheFirstFrameOnAndShowsTheFrames) {
    set("head", {{"format", "h264"}, {"bitRate", 1'000'000}});
    FilmWatch film;
    FilmWatch other;
    const auto stream = watch("head", film);
    film.waitFor([](const FilmWatch::Results& results) { return results.fFrames > 10; });
    const auto otherStream = watch("head", other);
    const FilmWatch::Results late =
        other.waitFor([](const FilmWatch::Results& results) { return results.fFrames > 10; });
    EXPECT_GE(late.fKeyFrames, 1);
    EXPECT_EQ(late.fUndecodable, 0);
    const FilmWatch::Results before = film.waitFor([](const auto&) { return true; });
    stream->requestKeyFrame();
    const FilmWatch::Results results = film.waitFor([&](const FilmWatch::Results& now) {
        return now.fKeyFrames > before.fKeyFrames && now.fFrames > 30;
    });
    EXPECT_EQ(results.fUndecodable, 0);
    EXPECT_EQ(results.fWithOtherStamp, 0);
}

TEST(VideoWithoutPlugins, aRobotWithoutAnEncoderOffersNoH264) {
    const obvista_test::WithoutPlugins none;
    const RobotProcess robot;
    KVProxy video("KVVideo", RobotProcess::address(), robot.port(),
                  KVBroker::createBroker({"test"}), a_timeOut, 0);
    const KVValue::Map head = video.call<KVValue::List>("getCameras").at(0).toMap();
    EXPECT_EQ(head.at("modes").toList().back().toMap().at("formats"),
              KVValue(KVValue::List{"rgb", "yuv422", "grey", "jpeg"}));
    EXPECT_EQ(head.at("settings").toMap().count("bitRate"), 0U);
}

TEST_F(VideoTest, framesCarryInTheirPictureWhatTheySayOfThemselves) {
    Watch frames;
    const auto stream = watch("chest", frames);
    std::uint64_t last = 0;
    for (int i = 0; i < 5; ++i) {
        const KVFrame frame = frames.waitForNext();
        EXPECT_EQ(frame.fWidth, 320U);
        EXPECT_EQ(frame.fHeight, 240U);
        EXPECT_EQ(frame.fStride, 960U);
        EXPECT_EQ(frame.fSize, 960U * 240);
        EXPECT_EQ(frame.fFormat, KVPixelFormat::Rgb888);
        const auto stamp = stampOf(frame);
        ASSERT_TRUE(stamp);
        EXPECT_EQ(stamp->fNumber, frame.fNumber);
        EXPECT_EQ(stamp->fTime, frame.fTime);
        EXPECT_GT(frame.fNumber, last);
        last = frame.fNumber;
    }
    stream->stop();
}

TEST_F(VideoTest, aChangeHoldsForAllWhoWatchWithoutABreak) {
    Watch one;
    Watch other;
    const auto first = watch("chest", one);
    const auto second = watch("chest", other);
    one.waitForNext();
    other.waitForNext();
    for (const auto& [format, expected] :
         {std::pair("yuv422", KVPixelFormat::Yuv422), std::pair("grey", KVPixelFormat::Grey8),
          std::pair("jpeg", KVPixelFormat::Jpeg), std::pair("rgb", KVPixelFormat::Rgb888)}) {
        set("chest", {{"format", format}});
        const auto is = [expected = expected](const KVFrame& frame) {
            return frame.fFormat == expected;
        };
        one.waitFor(is);
        other.waitFor(is);
    }
    const KVValue settings = set("chest", {{"width", 640}, {"height", 480}, {"rate", 5}});
    EXPECT_EQ(settings.toMap().at("rate"), KVValue(5.0));
    EXPECT_EQ(fVideo.callValue("getSettings", {"chest"}), settings);
    const KVFrame large = one.waitFor([](const KVFrame& frame) { return frame.fWidth == 640; });
    EXPECT_EQ(large.fHeight, 480U);
    EXPECT_TRUE(stampOf(large));
    first->stop();
    second->stop();
}

TEST_F(VideoTest, whatACameraCannotDoIsRefusedAndNothingChanges) {
    const KVValue before = fVideo.callValue("getSettings", {"chest"});
    EXPECT_THAT(refusalOf("chest", {{"width", 1280}, {"height", 720}}),
                HasSubstr("The camera chest cannot do 1280x720 pixels; it can do 160x120, 320x240, "
                          "640x480."));
    EXPECT_THAT(refusalOf("chest", {{"rate", 30}}), HasSubstr("it can do 1, 5, 10, 15."));
    EXPECT_THAT(refusalOf("chest", {{"format", "mpeg2"}}),
                HasSubstr("cannot do the format mpeg2 at 320x240 pixels"));
    EXPECT_THAT(refusalOf("tail", {{"rate", 30}}), HasSubstr("has no camera 'tail'"));
    EXPECT_EQ(fVideo.callValue("getSettings", {"chest"}), before);
}

TEST_F(VideoTest, nothingIsMadeWhileNobodyWatches) {
    Watch frames;
    auto stream = watch("chest", frames);
    frames.waitForNext();
    stream->stop();
    stream.reset();
    // The camera is notified a moment later. Then the newest frame stays the same, until one more
    // watcher makes it advance by one.
    std::uint64_t number = 0;
    const auto end = std::chrono::steady_clock::now() + ChildProcess::a_patience;
    for (bool rested = false; !rested;) {
        ASSERT_LT(std::chrono::steady_clock::now(), end);
        Watch next;
        stream = watch("chest", next);
        const KVFrame newest = next.waitFor([](const KVFrame&) { return true; });
        rested = newest.fNumber == number;
        number = next.waitFor([&](const KVFrame& frame) { return frame.fNumber > newest.fNumber; })
                     .fNumber;
        stream->stop();
    }
}

TEST_F(VideoTest, theViewFollowsTheHead) {
    KVProxy memory("KVMemory", RobotProcess::address(), fRobot.port(), fBroker, a_timeOut, 0);
    set("head", {{"format", "rgb"}, {"width", 160}, {"height", 120}});
    Watch frames;
    const auto stream = watch("head", frames);
    const auto below = [](const KVFrame& frame) {
        const std::size_t strip = std::size_t{frame.fStride} * 12;
        return std::string(frame.fData.get() + strip, frame.fData.get() + frame.fSize);
    };
    const auto isRgb = [](const KVFrame& frame) { return frame.fFormat == KVPixelFormat::Rgb888; };
    const std::string before = below(frames.waitFor(isRgb));
    memory.callValue("setData", {"Joint/HeadYaw/Target", 1.5});
    frames.waitFor([&](const KVFrame& frame) {
        // Most of the picture has changed, which neither breathing nor the ball causes.
        const std::string now = below(frame);
        std::size_t same = 0;
        for (std::size_t i = 0; i < now.size(); ++i) {
            same += now[i] == before[i] ? 1 : 0;
        }
        return same < now.size() / 2;
    });
    stream->stop();
}

TEST_F(VideoTest, aStoppedCameraSendsNothingUntilItGoesOn) {
    Watch frames;
    Watch others;
    const auto stream = watch("chest", frames);
    const auto other = watch("head", others);
    frames.waitForNext();
    setTrouble("chest", "stopped");
    // Ten frames of the other camera are five of this one.
    const auto isSilent = [&] {
        const int before = frames.count();
        for (int i = 0; i < 10; ++i) {
            others.waitForNext();
        }
        return frames.count() == before;
    };
    EXPECT_TRUE(isSilent() || isSilent()) << "at first, frames may be in flight";
    const std::uint64_t last = frames.waitFor([](const KVFrame&) { return true; }).fNumber;
    setTrouble("chest", "ok");
    const KVFrame next =
        frames.waitFor([last](const KVFrame& frame) { return frame.fNumber > last; });
    EXPECT_GT(next.fNumber, last + 1);
    stream->stop();
    other->stop();
}

TEST_F(VideoTest, aRemovedCameraEndsItsStreamAndComesBack) {
    Watch frames;
    const auto stream = watch("chest", frames);
    frames.waitForNext();
    setTrouble("chest", "removed");
    EXPECT_THAT(frames.waitForEnd(), HasSubstr("no camera of that name"));
    EXPECT_THAT(cameraNames(), ElementsAre("head"));
    EXPECT_THAT(refusalOf("chest", {{"rate", 5}}), HasSubstr("has no camera 'chest'"));
    setTrouble("chest", "ok");
    EXPECT_THAT(cameraNames(), ElementsAre("head", "chest"));
    Watch again;
    const auto second = watch("chest", again);
    again.waitForNext();
    second->stop();
}

TEST_F(VideoTest, spoiltFramesAreSentAsTheyAre) {
    set("head", {{"format", "rgb"}, {"width", 160}, {"height", 120}, {"rate", 10}});
    Watch frames;
    const auto stream = watch("head", frames);
    const auto sends = [&](const std::string& trouble,
                           const std::function<bool(const KVFrame&)>& condition) {
        setTrouble("head", trouble);
        frames.waitFor(condition);
    };
    constexpr std::size_t size = std::size_t{160} * 120 * 3;
    sends("unsupported",
          [](const KVFrame& frame) { return frame.fFormat == KVPixelFormat::Unknown; });
    sends("short", [](const KVFrame& frame) { return frame.fSize == size / 2; });
    sends("oversized", [](const KVFrame& frame) { return frame.fSize == size + 1'000'000; });
    sends("stride", [](const KVFrame& frame) { return frame.fStride == 81; });
    sends("no-size", [](const KVFrame& frame) { return frame.fWidth == 0; });
    sends("huge-size", [](const KVFrame& frame) { return frame.fHeight == 65'535; });
    sends("no-jpeg", [](const KVFrame& frame) { return frame.fFormat == KVPixelFormat::Jpeg; });
    sends("ok", [](const KVFrame& frame) {
        return frame.fFormat == KVPixelFormat::Rgb888 && frame.fSize == size &&
               frame.fWidth == 160 && frame.fStride == 480;
    });
    stream->stop();
}

TEST_F(VideoTest, aTroubleWithoutACameraOrNameIsRefused) {
    EXPECT_THROW(setTrouble("tail", "ok"), KVError);
    EXPECT_THROW(setTrouble("head", "worse"), KVError);
}

TEST_F(VideoTest, endsInTimeWhileItIsWatched) {
    Watch head;
    Watch chest;
    const auto first = watch("head", head);
    const auto second = watch("chest", chest);
    head.waitForNext();
    chest.waitForNext();
    EXPECT_EQ(fRobot.terminate(), 0);
    EXPECT_EQ(fRobot.process().errors(), "");
    head.waitForEnd();
    chest.waitForEnd();
}

/** A robot whose values are replaced by a load. */
class LoadedVideoTest : public VideoTest {
  protected:
    LoadedVideoTest() : VideoTest({"--stamp", "--keys", "100"}) {}
};

TEST_F(LoadedVideoTest, seesTheRoomToo) {
    Watch frames;
    const auto stream = watch("chest", frames);
    EXPECT_TRUE(stampOf(frames.waitForNext()));
    stream->stop();
}

class ComputerVideoTest : public VideoTest {
  protected:
    ComputerVideoTest() : VideoTest({"--stamp", "--kind", "computer"}) {}
};

TEST_F(ComputerVideoTest, aComputerHasACameraOrATestPicture) {
    const std::vector<std::string> cameras = cameraNames();
    ASSERT_FALSE(cameras.empty());
    if (cameras.front() != "test") {
        GTEST_SKIP() << "this machine has a camera";
    }
    set("test", {{"format", "rgb"}});
    Watch frames;
    const auto stream = watch("test", frames);
    const KVFrame frame = frames.waitFor(
        [](const KVFrame& candidate) { return candidate.fFormat == KVPixelFormat::Rgb888; });
    EXPECT_TRUE(stampOf(frame));
    stream->stop();
}

/** A robot with its default options. */
class PlainVideoTest : public VideoTest {
  protected:
    PlainVideoTest() : VideoTest(std::vector<std::string>()) {}
};

TEST_F(PlainVideoTest, picturesHaveNoStampUnlessItIsRequested) {
    Watch frames;
    const auto stream = watch("chest", frames);
    EXPECT_FALSE(stampOf(frames.waitForNext()));
    stream->stop();
}

TEST(RobotWithoutVideo, hasNoSuchModule) {
    RobotProcess robot({{"--no-video"}});
    const auto broker = KVBroker::createBroker({"test"});
    EXPECT_THROW(KVProxy("KVVideo", RobotProcess::address(), robot.port(), broker, a_timeOut, 0),
                 KVError);
    KVProxy sim("KVSim", RobotProcess::address(), robot.port(), broker, a_timeOut, 0);
    EXPECT_THROW(sim.callValue("setCamera", {"head", "ok"}), KVError);
}

}  // namespace

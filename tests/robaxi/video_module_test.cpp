#include "frame_listener.h"
#include "recording_listener.h"
#include "test_broker.h"

#include <robaxi/kv_connection.h>
#include <robaxi/kv_proxy.h>
#include <robaxi/kv_video_module.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

using namespace robaxi_test;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

constexpr double a_onlyTheFirst = 0.001;  // a rate at which no second frame is due in a test

const KVCameraInfo a_eye{
    "eye",
    "An eye",
    {{320, 240, {"rgb", "jpeg"}, {5, 15}}, {640, 480, {"jpeg"}, {5}}, {640, 480, {"grey"}, {30}}},
    {320, 240, "jpeg", 5}};

KVCameraInfo smallCamera(double rate) {
    return {"small", "", {{4, 2, {"grey"}, {rate, 50}}}, {4, 2, "grey", rate}};
}

void fill(KVFrame& frame) {
    const KVFrame bytes = makeFrame(frame.fNumber, std::size_t{frame.fWidth} * frame.fHeight);
    frame.fFormat = KVPixelFormat::Grey8;
    frame.fStride = frame.fWidth;
    frame.fData = bytes.fData;
    frame.fSize = bytes.fSize;
}

/** Records whether a camera is watched, so that a test can wait for it. */
class WatchRecord {
  public:
    std::function<void(bool)> recorder() {
        return [this](bool isWatched) {
            const std::lock_guard lock(fMutex);
            fCalls.push_back(isWatched);
            fChanged.notify_all();
        };
    }
    bool waitFor(const std::vector<bool>& calls) {
        std::unique_lock lock(fMutex);
        return fChanged.wait_for(lock, a_patience, [&] { return fCalls == calls; });
    }
    /** Counts the rests: a frame may arrive before the call that reports its watcher. */
    bool waitForRests(std::uint64_t rests) {
        std::unique_lock lock(fMutex);
        return fChanged.wait_for(lock, a_patience, [&] {
            return static_cast<std::uint64_t>(std::count(fCalls.begin(), fCalls.end(), false)) ==
                   rests;
        });
    }

  private:
    std::mutex fMutex;
    std::condition_variable fChanged;
    std::vector<bool> fCalls;
};

/** A robot's cameras, seen by a client. */
class VideoModule : public testing::Test {
  protected:
    VideoModule() {
        fServer->addModule(fVideo);
        fConnection = KVConnection::open(makeClient(), a_loopback, fServer->getPort(), 20);
        fProxy = std::make_unique<KVProxy>("KVVideo", fConnection, 20);
    }

    std::shared_ptr<KVFrameStream> watch(const std::string& camera, FrameListener& listener) {
        return KVFrameStream::start(fConnection, "KVVideo", camera, listener.callbacks());
    }

    KVValue set(const std::string& camera, const KVValue::Map& settings) {
        return fProxy->callValue("setSettings", {camera, settings});
    }

    KVError refusal(const std::string& camera, const KVValue::Map& settings) {
        return errorOf([&] { set(camera, settings); });
    }

    std::string textOfRefusal(const KVValue::Map& settings) {
        const KVError error = refusal("eye", settings);
        EXPECT_CAUSE(error, RaisedByModule);
        return error.toString();
    }

    WatchRecord fWatched;  // used until the module, which the server keeps, has ended
    BrokerPtr fServer = makeServer();
    std::shared_ptr<KVVideoModule> fVideo = std::make_shared<KVVideoModule>();
    std::shared_ptr<KVConnection> fConnection;
    std::unique_ptr<KVProxy> fProxy;
};

}  // namespace

TEST_F(VideoModule, answersTheWholeContract) {
    const KVModuleInfo info = fProxy->getInfo();
    EXPECT_EQ(info.fName, "KVVideo");
    EXPECT_TRUE(info.fHasFrames);
    std::ifstream file(std::string(std::getenv("OBVISTA_SOURCE_DIR")) + "/docs/video.md");
    const std::string page{std::istreambuf_iterator<char>(file), {}};
    std::vector<std::string> signatures;
    for (const KVMethodInfo& method : info.fMethods) {
        signatures.push_back(method.fSignature);
        EXPECT_FALSE(method.fDescription.empty()) << method.fName;
        EXPECT_THAT(page, HasSubstr("\n| `" + method.fName + "` |"));
    }
    EXPECT_THAT(signatures, ElementsAre("getCameras() -> list", "getSettings(string) -> map",
                                        "setSettings(string, map) -> map"));
}

TEST_F(VideoModule, listsItsCamerasInTheirOrder) {
    EXPECT_EQ(fProxy->callValue("getCameras", {}), KVValue(KVValue::List{}));
    fVideo->addCamera({a_eye});
    fVideo->addCamera({{"ear", "", {}, {160, 120, "grey", 15}}});
    const KVValue::List cameras = fProxy->call<KVValue::List>("getCameras");
    ASSERT_EQ(cameras.size(), 2U);
    EXPECT_EQ(cameras[0], a_eye.toValue());
    const KVValue::Map& eye = cameras[0].toMap();
    EXPECT_EQ(eye.at("name"), KVValue("eye"));
    EXPECT_EQ(eye.at("description"), KVValue("An eye"));
    EXPECT_EQ(eye.at("modes").toList()[1], KVValue(KVValue::Map{{"width", 640},
                                                                {"height", 480},
                                                                {"formats", KVValue::List{"jpeg"}},
                                                                {"rates", KVValue::List{5.0}}}));
    EXPECT_EQ(
        eye.at("settings"),
        KVValue(KVValue::Map{{"width", 320}, {"height", 240}, {"format", "jpeg"}, {"rate", 5.0}}));
    // A camera without modes has those settings only.
    EXPECT_EQ(cameras[1].toMap().at("modes").getSize(), 1);
    EXPECT_THAT(refusal("ear", {{"rate", 5}}).toString(), HasSubstr("it can do 15."));
}

TEST_F(VideoModule, settingsThatAreNotGivenStay) {
    fVideo->addCamera({a_eye});
    const auto settings = [](int width, int height, const std::string& format, double rate) {
        return KVCameraSettings{width, height, format, rate}.toValue();
    };
    EXPECT_EQ(set("eye", {}), settings(320, 240, "jpeg", 5));
    EXPECT_EQ(set("eye", {{"rate", 15}}), settings(320, 240, "jpeg", 15));
    EXPECT_EQ(set("eye", {{"format", "rgb"}}), settings(320, 240, "rgb", 15));
    EXPECT_EQ(fProxy->callValue("getSettings", {"eye"}), settings(320, 240, "rgb", 15));
    EXPECT_EQ(set("eye", {{"width", 640}, {"height", 480}, {"format", "grey"}, {"rate", 30}}),
              settings(640, 480, "grey", 30));
    EXPECT_EQ(fVideo->getSettings("eye").fRate, 30);
}

TEST_F(VideoModule, settingsThatFitNoModeAreRefusedWithThoseThatDo) {
    fVideo->addCamera({a_eye});
    EXPECT_EQ(textOfRefusal({{"width", 800}}),
              "The camera eye cannot do 800x240 pixels; it can do 320x240, 640x480.");
    EXPECT_EQ(textOfRefusal({{"format", "grey"}}),
              "The camera eye cannot do the format grey at 320x240 pixels; it can do rgb, jpeg.");
    EXPECT_EQ(textOfRefusal({{"rate", 7.5}}),
              "The camera eye cannot do 7.5 frames a second at 320x240 pixels; it can do 5, 15.");
    EXPECT_THAT(textOfRefusal({{"width", 640}, {"height", 480}, {"rate", 15}}),
                HasSubstr("at 640x480 pixels; it can do 5."));
    EXPECT_THAT(textOfRefusal({{"width", 640}, {"height", 480}, {"format", "rgb"}}),
                HasSubstr("it can do jpeg, grey."));
    EXPECT_THAT(textOfRefusal({{"width", std::int64_t{1} << 40}}), HasSubstr("cannot do"));
    EXPECT_THAT(textOfRefusal({{"width", -(std::int64_t{1} << 40)}}), HasSubstr("cannot do"));
    EXPECT_EQ(fVideo->getSettings("eye"), a_eye.fSettings);
}

TEST_F(VideoModule, wrongNamesAndTypesAreRefusedOnOneSafeLine) {
    fVideo->addCamera({a_eye});
    EXPECT_THAT(textOfRefusal({{"widht", 320}}), HasSubstr("has no setting 'widht'"));
    EXPECT_THAT(textOfRefusal({{"a\nb", 320}}), HasSubstr("'a\\nb'"));
    EXPECT_THAT(textOfRefusal({{"width", "320"}}), HasSubstr("cannot take this width"));
    EXPECT_THAT(textOfRefusal({{"rate", true}}), HasSubstr("cannot take this rate"));
    EXPECT_THAT(textOfRefusal({{"format", 1}}), HasSubstr("cannot take this format"));
    EXPECT_THAT(textOfRefusal({{"format", "h264\x1b"}}), HasSubstr("the format h264\\u001b at"));
    const KVError unknown = refusal("a\nb", {});
    EXPECT_CAUSE(unknown, InvalidArgument);
    EXPECT_EQ(unknown.toString(), "The robot has no camera 'a\\nb'.");
    EXPECT_CAUSE(errorOf([&] { fProxy->callValue("getSettings", {"nose"}); }), InvalidArgument);
}

TEST_F(VideoModule, aCameraAppliesSettingsOrRefusesThem) {
    std::mutex mutex;
    std::vector<KVCameraSettings> settingsApplied;
    const auto applied = [&] {
        const std::lock_guard lock(mutex);
        return settingsApplied;
    };
    fVideo->addCamera({a_eye, {}, [&](const KVCameraSettings& settings) {
                           if (settings.fFormat == "rgb") {
                               throw std::runtime_error("the cable is too long");
                           }
                           const std::lock_guard lock(mutex);
                           settingsApplied.push_back(settings);
                       }});
    set("eye", {{"rate", 15}});
    EXPECT_THAT(applied(), ElementsAre(KVCameraSettings{320, 240, "jpeg", 15}));
    EXPECT_EQ(textOfRefusal({{"format", "rgb"}}), "the cable is too long");
    EXPECT_EQ(fVideo->getSettings("eye"), (KVCameraSettings{320, 240, "jpeg", 15}));
    textOfRefusal({{"width", 800}});
    EXPECT_EQ(applied().size(), 1U);
}

TEST_F(VideoModule, framesAreMadeWhileTheCameraIsWatched) {
    std::atomic<int> made{0};
    fVideo->addCamera({smallCamera(100),
                       [&](const KVCameraSettings& settings, KVFrame& frame) {
                           EXPECT_EQ(settings.fWidth, 4);
                           ++made;
                           fill(frame);
                       },
                       {},
                       fWatched.recorder()});
    EXPECT_EQ(made, 0);
    FrameListener frames;
    const auto stream = watch("small", frames);
    ASSERT_TRUE(frames.waitUntil([&] { return frames.fNumbers.size() >= 5; }));
    const KVFrame frame = frames.last();
    EXPECT_EQ(frame.fWidth, 4U);
    EXPECT_EQ(frame.fHeight, 2U);
    EXPECT_GT(frame.fTime, 1500000000000000);
    EXPECT_TRUE(hasBytesOf(frame, frame.fNumber));
    stream->stop();
    EXPECT_TRUE(fWatched.waitFor({true, false}));
    fVideo->removeCamera("small");  // its function uses a variable of the test
    for (std::size_t i = 1; i < frames.fNumbers.size(); ++i) {
        EXPECT_GT(frames.fNumbers[i], frames.fNumbers[i - 1]);
    }
}

TEST_F(VideoModule, theFirstFrameIsMadeAtOnceAfterEachRest) {
    std::atomic<std::uint64_t> made{0};
    fVideo->addCamera({smallCamera(a_onlyTheFirst),
                       [&](const KVCameraSettings&, KVFrame& frame) {
                           ++made;
                           fill(frame);
                       },
                       {},
                       fWatched.recorder()});
    for (std::uint64_t rest = 1; rest <= 20; ++rest) {
        FrameListener frames;
        const auto stream = watch("small", frames);
        ASSERT_TRUE(frames.waitForFrame(rest));
        stream->stop();
        ASSERT_TRUE(fWatched.waitForRests(rest));
        EXPECT_EQ(made, rest);
    }
    fVideo->removeCamera("small");  // its function uses a variable of the test
}

TEST_F(VideoModule, aLowRateGivesWayToAHighOneAtOnce) {
    fVideo->addCamera({smallCamera(a_onlyTheFirst),
                       [&](const KVCameraSettings&, KVFrame& frame) { fill(frame); }});
    FrameListener frames;
    const auto stream = watch("small", frames);
    ASSERT_TRUE(frames.waitForFrame(1));
    set("small", {{"rate", 50}});
    EXPECT_TRUE(frames.waitUntil([&] { return frames.fNumbers.size() >= 5; }));
    stream->stop();
}

TEST_F(VideoModule, aFrameWithoutBytesIsNotSent) {
    fVideo->addCamera({smallCamera(100), [&](const KVCameraSettings&, KVFrame& frame) {
                           if (frame.fNumber % 2 == 0) {
                               fill(frame);
                           }
                       }});
    FrameListener frames;
    const auto stream = watch("small", frames);
    ASSERT_TRUE(frames.waitUntil([&] { return frames.fNumbers.size() >= 5; }));
    stream->stop();
    std::vector<std::uint64_t> halves;
    for (const std::uint64_t number : frames.fNumbers) {
        halves.push_back(number % 2);
    }
    EXPECT_THAT(halves, Each(0U));
}

TEST_F(VideoModule, onlyACameraWithABitRateHasThatSetting) {
    fVideo->addCamera({a_eye});
    EXPECT_THAT(textOfRefusal({{"bitRate", 1'000'000}}), HasSubstr("has no setting 'bitRate'"));
    fVideo->addCamera(
        {{"film", "", {{320, 240, {"h264"}, {15}}}, {320, 240, "h264", 15, 2'000'000}}});
    EXPECT_EQ(set("film", {{"bitRate", 500'000}}).toMap().at("bitRate"), KVValue(500'000));
    EXPECT_EQ(fVideo->getSettings("film").fBitRate, 500'000);
    for (const std::int64_t rate :
         {std::int64_t{99'999}, std::int64_t{50'000'001}, -1L, 1L << 32}) {
        EXPECT_THAT(refusal("film", {{"bitRate", rate}}).toString(),
                    HasSubstr("it can do 100000 to 50000000."));
    }
    EXPECT_EQ(fVideo->getSettings("film").fBitRate, 500'000);
}

TEST_F(VideoModule, aCameraIsAskedForTheKeyFrameThatItsWatcherNeeds) {
    std::atomic<int> wanted{0};
    const auto make = [&wanted](const KVCameraSettings& /*settings*/, KVFrame& frame) {
        fill(frame);
        frame.fFormat = KVPixelFormat::H264;
        wanted += frame.fIsKey ? 1 : 0;
        frame.fSequence = frame.fNumber;
    };
    fVideo->addCamera({{"film", "", {}, {4, 2, "h264", 50}}, make});
    FrameListener listener;
    const auto stream = watch("film", listener);
    ASSERT_TRUE(listener.waitUntil([&] { return listener.fNumbers.size() > 1; }));
    EXPECT_GE(wanted, 1);
    const int before = wanted;
    stream->requestKeyFrame();
    EXPECT_TRUE(listener.waitUntil([&] { return wanted > before; }));
}

TEST_F(VideoModule, pushedFramesGetANumberAndATime) {
    fVideo->addCamera({smallCamera(15), {}, {}, fWatched.recorder()});
    FrameListener frames;
    const auto stream = watch("small", frames);
    ASSERT_TRUE(fWatched.waitFor({true}));
    fVideo->publish("small", makeFrame(0, 8));
    ASSERT_TRUE(frames.waitForFrame(1));
    EXPECT_GT(frames.last().fTime, 1500000000000000);
    KVFrame frame = makeFrame(77, 8);
    frame.fTime = 1234567;
    fVideo->publish("small", frame);
    ASSERT_TRUE(frames.waitForFrame(77));
    EXPECT_EQ(frames.last().fTime, 1234567);
    fVideo->publish("small", makeFrame(0, 8));
    EXPECT_TRUE(frames.waitForFrame(2));
    EXPECT_CAUSE(errorOf([&] { fVideo->publish("nose", makeFrame(0, 8)); }), InvalidArgument);
    stream->stop();
}

TEST_F(VideoModule, aRemovedCameraEndsItsStreamAndRests) {
    std::atomic<bool> isHere{true};
    const KVCamera camera{smallCamera(1000),
                          [&](const KVCameraSettings&, KVFrame& frame) {
                              EXPECT_TRUE(isHere);
                              fill(frame);
                          },
                          {},
                          fWatched.recorder()};
    fVideo->addCamera(camera);
    FrameListener frames;
    const auto stream = watch("small", frames);
    ASSERT_TRUE(frames.waitUntil([&] { return frames.fNumbers.size() >= 2; }));
    fVideo->removeCamera("small");
    isHere = false;
    EXPECT_TRUE(fWatched.waitFor({true, false}));
    ASSERT_TRUE(frames.waitForEnd());
    EXPECT_CAUSE(*frames.fEnd, NoSuchStream);
    EXPECT_CAUSE(refusal("small", {}), InvalidArgument);
    fVideo->removeCamera("small");

    isHere = true;
    fVideo->addCamera(camera);
    FrameListener again;
    const auto second = watch("small", again);
    EXPECT_TRUE(again.waitUntil([&] { return again.fLast.has_value(); }));
    second->stop();
    fVideo->removeCamera("small");  // its function uses a variable of the test
}

TEST_F(VideoModule, refusesACameraThatCannotBe) {
    const auto refusalOf = [&](const KVCameraInfo& info) {
        return errorOf([&] { fVideo->addCamera({info}); });
    };
    fVideo->addCamera({a_eye});
    EXPECT_CAUSE(refusalOf(a_eye), InvalidArgument);
    EXPECT_CAUSE(refusalOf({"", "", {}, {4, 2, "grey", 1}}), InvalidArgument);
    EXPECT_CAUSE(refusalOf({"a", "", {}, {0, 2, "grey", 1}}), InvalidArgument);
    EXPECT_CAUSE(refusalOf({"a", "", {}, {4, 2, "grey", 0}}), InvalidArgument);
    EXPECT_CAUSE(refusalOf({"a", "", {{4, 2, {"grey"}, {5}}}, {4, 2, "grey", 1}}), RaisedByModule);
    EXPECT_EQ(fProxy->call<KVValue::List>("getCameras").size(), 1U);
}

TEST_F(VideoModule, endsWhileItsCamerasAreWatched) {
    fVideo->addCamera({smallCamera(1000),
                       [&](const KVCameraSettings&, KVFrame& frame) { fill(frame); },
                       {},
                       fWatched.recorder()});
    FrameListener frames;
    const auto stream = watch("small", frames);
    ASSERT_TRUE(frames.waitUntil([&] { return frames.fLast.has_value(); }));
    fServer->removeModule("KVVideo");
    fVideo.reset();
    EXPECT_TRUE(fWatched.waitFor({true, false}));
    EXPECT_TRUE(frames.waitForEnd());
}

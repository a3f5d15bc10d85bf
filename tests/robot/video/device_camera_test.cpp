#include "video/device_camera.h"

#include "video/frame_encoder.h"
#include "video/makers.h"

#include <picture/pixel_format.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <stdexcept>
#include <turbojpeg.h>

using picture::CameraSettings;
using robot::captureDescription;
using robot::CaptureDevice;
using robot::CaptureMode;
using robot::captureModes;
using robot::DeviceCamera;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

constexpr std::chrono::seconds a_patience(60);

/** GStreamer's test source instead of a camera, which test machines do not have. */
CaptureDevice testDevice() {
    return {"A moving picture",
            "videotestsrc is-live=true pattern=ball ! capsfilter caps=video/x-raw,format=YUY2",
            {{false, 320, 240, {15, 30}}, {false, 640, 480, {15}}}};
}

int firstPixelOfJpeg(const KVFrame& frame) {
    std::vector<unsigned char> grey(std::size_t{frame.fWidth} * frame.fHeight);
    const auto decompressor = tjInitDecompress();
    EXPECT_EQ(tjDecompress2(decompressor, frame.fData.get(), frame.fSize, grey.data(),
                            static_cast<int>(frame.fWidth), 0, static_cast<int>(frame.fHeight),
                            TJPF_GRAY, 0),
              0);
    tjDestroy(decompressor);
    return grey.front();
}

TEST(CaptureModes, areReadAsTheDriverGivesThem) {
    const std::vector<CaptureMode> modes = captureModes(
        "video/x-raw, format=YUY2, width=640, height=480, "
        "framerate={ (fraction)30/1, (fraction)15/2 }; "
        "image/jpeg, width=1280, height=720, framerate=(fraction)30/1; "
        "video/x-h264, width=1920, height=1080, framerate=(fraction)30/1");
    ASSERT_EQ(modes.size(), 2U);
    EXPECT_FALSE(modes[0].fIsJpeg);
    EXPECT_EQ(modes[0].fWidth, 640);
    EXPECT_EQ(modes[0].fHeight, 480);
    EXPECT_THAT(modes[0].fRates, ElementsAre(7.5, 30));
    EXPECT_TRUE(modes[1].fIsJpeg);
    EXPECT_EQ(modes[1].fWidth, 1280);
}

TEST(CaptureModes, ofRangesAreTheUsualOnesWithin) {
    const std::vector<CaptureMode> modes = captureModes(
        "video/x-raw, width=[ 200, 700 ], height=[ 200, 500 ], "
        "framerate=[ 5/1, 25/1 ]");
    ASSERT_EQ(modes.size(), 2U);
    EXPECT_EQ(modes[0].fWidth, 320);
    EXPECT_EQ(modes[1].fWidth, 640);
    EXPECT_THAT(modes[0].fRates, ElementsAre(5, 10, 15, 20, 25));
}

TEST(CaptureModes, withoutARateOrSizeAreNone) {
    EXPECT_THAT(captureModes("video/x-raw, width=640, height=480"), IsEmpty());
    EXPECT_THAT(captureModes("video/x-raw, framerate=(fraction)30/1"), IsEmpty());
    EXPECT_THAT(captureModes("no caps"), IsEmpty());
}

TEST(CaptureDescription, takesWhatTheDeviceDeliversWhereItCan) {
    const CaptureDevice device{
        "", "v4l2src", {{false, 640, 480, {30}}, {true, 640, 480, {30}}, {true, 1280, 720, {7.5}}}};
    const auto described = [&](int width, int height, const char* format, double rate) {
        return captureDescription(device, {width, height, format, rate});
    };
    EXPECT_THAT(described(640, 480, "rgb", 30),
                HasSubstr("v4l2src ! video/x-raw,width=640,height=480,framerate=30/1 ! "));
    EXPECT_THAT(described(640, 480, "jpeg", 30),
                HasSubstr("v4l2src ! image/jpeg,width=640,height=480,framerate=30/1 ! appsink"));
    EXPECT_THAT(described(1280, 720, "grey", 7.5),
                HasSubstr("image/jpeg,width=1280,height=720,framerate=15/2 ! jpegdec ! "));
    EXPECT_THAT(described(640, 480, "yuv422", 30),
                HasSubstr("video/x-raw,format=YUY2,colorimetry=bt601 ! appsink"));
    EXPECT_THAT(described(1280, 720, "yuv422", 7.5),
                HasSubstr(" ! jpegdec ! videoconvert ! video/x-raw,format=RGBx ! appsink"));
}

class DeviceCameraTest : public testing::Test {
  protected:
    DeviceCamera::Sink sink() {
        return [this](const KVFrame& frame) {
            const std::lock_guard lock(fMutex);
            fFrames.push_back(frame);
            fChanged.notify_all();
        };
    }

    /** Waits for a frame that meets a condition. @throws std::runtime_error if there is none */
    KVFrame waitFor(const std::function<bool(const KVFrame&)>& condition) {
        std::unique_lock lock(fMutex);
        auto found = fFrames.end();
        const bool came = fChanged.wait_for(lock, a_patience, [&] {
            found = std::find_if(fFrames.begin(), fFrames.end(), condition);
            return found != fFrames.end();
        });
        if (!came) {
            throw std::runtime_error("the awaited frame did not come " + fComplaint);
        }
        return *found;
    }

    std::size_t count() {
        const std::lock_guard lock(fMutex);
        return fFrames.size();
    }

    std::string complaint() {
        std::unique_lock lock(fMutex);
        fChanged.wait_for(lock, a_patience, [this] { return !fComplaint.empty(); });
        return fComplaint;
    }

    std::function<void(const std::string&)> complain() {
        return [this](const std::string& line) {
            const std::lock_guard lock(fMutex);
            fComplaint = line;
            fChanged.notify_all();
        };
    }

    std::mutex fMutex;
    std::condition_variable fChanged;
    std::vector<KVFrame> fFrames;
    std::string fComplaint;
};

TEST_F(DeviceCameraTest, hasTheSizesAndRatesOfItsDevice) {
    const DeviceCamera camera("camera0", testDevice(), complain());
    const auto& description = camera.description();
    EXPECT_EQ(description.fName, "camera0");
    EXPECT_EQ(description.fDescription, "A moving picture");
    ASSERT_EQ(description.fModes.size(), 2U);
    EXPECT_EQ(description.fModes[1].fWidth, 640);
    EXPECT_THAT(description.fModes[1].fRates, ElementsAre(15));
    EXPECT_EQ(camera.settings(), (CameraSettings{640, 480, "jpeg", 15, robot::firstBitRate()}));
}

TEST_F(DeviceCameraTest, deliversEveryFormatAndChangesWhileItRuns) {
    DeviceCamera camera("camera0", testDevice(), complain());
    camera.start(sink());
    const KVFrame jpeg = waitFor([](const KVFrame&) { return true; });
    EXPECT_EQ(jpeg.fFormat, KVPixelFormat::Jpeg);
    EXPECT_EQ(jpeg.fStride, 0U);
    ASSERT_GT(jpeg.fSize, 4U);
    EXPECT_EQ(jpeg.fData.get()[0], 0xFF);
    EXPECT_EQ(jpeg.fData.get()[1], 0xD8);
    std::uint64_t last = jpeg.fNumber;
    for (const auto& [format, stride] :
         {std::pair(KVPixelFormat::Rgb888, 960U), std::pair(KVPixelFormat::Yuv422, 640U),
          std::pair(KVPixelFormat::Grey8, 320U)}) {
        camera.apply({320, 240, picture::formatName(format), 30});
        const KVFrame frame = waitFor(
            [format = format](const KVFrame& candidate) { return candidate.fFormat == format; });
        EXPECT_EQ(frame.fWidth, 320U);
        EXPECT_EQ(frame.fHeight, 240U);
        EXPECT_EQ(frame.fStride, stride);
        EXPECT_EQ(frame.fSize, stride * 240);
        EXPECT_GT(frame.fNumber, last);
        last = frame.fNumber;
    }
    camera.stop();
    EXPECT_EQ(fComplaint, "");
}

TEST_F(DeviceCameraTest, yuvIsOfTheSmallRangeAndAllElseOfTheFullOne) {
    CaptureDevice white = testDevice();
    white.fSource =
        "videotestsrc is-live=true pattern=white ! capsfilter caps=video/x-raw,format=YUY2";
    DeviceCamera camera("camera0", white, complain());
    camera.apply({320, 240, "yuv422", 30});
    camera.start(sink());
    const auto inFormat = [](KVPixelFormat format) {
        return [format](const KVFrame& frame) { return frame.fFormat == format; };
    };
    const KVFrame yuv = waitFor(inFormat(KVPixelFormat::Yuv422));
    EXPECT_NEAR(yuv.fData.get()[0], 235, 1);
    EXPECT_NEAR(yuv.fData.get()[1], 128, 1);
    camera.apply({320, 240, "grey", 30});
    EXPECT_GE(waitFor(inFormat(KVPixelFormat::Grey8)).fData.get()[0], 250);
    camera.apply({320, 240, "jpeg", 30});
    EXPECT_GE(firstPixelOfJpeg(waitFor(inFormat(KVPixelFormat::Jpeg))), 250);
}

TEST_F(DeviceCameraTest, afterStopNoFrameComesAndItCanStartAgain) {
    DeviceCamera camera("camera0", testDevice(), complain());
    camera.start(sink());
    waitFor([](const KVFrame&) { return true; });
    camera.stop();
    const std::size_t frames = count();
    const std::uint64_t last = fFrames.back().fNumber;
    camera.start(sink());
    const KVFrame next = waitFor([last](const KVFrame& frame) { return frame.fNumber > last; });
    EXPECT_EQ(next.fNumber, last + 1);
    EXPECT_GT(count(), frames);
}

TEST_F(DeviceCameraTest, timeIsThatOfTheRobotsClock) {
    const auto now = [] {
        return std::chrono::duration_cast<std::chrono::microseconds>(
                   std::chrono::system_clock::now().time_since_epoch())
            .count();
    };
    DeviceCamera camera("camera0", testDevice(), complain());
    const auto before = now();
    camera.start(sink());
    const KVFrame frame = waitFor([](const KVFrame&) { return true; });
    EXPECT_GE(frame.fTime, before - 1'000'000);
    EXPECT_LE(frame.fTime, now());
}

TEST_F(DeviceCameraTest, aDeviceThatIsGoneIsComplainedOf) {
    CaptureDevice gone = testDevice();
    gone.fSource = "v4l2src device=/nonexistent/video7";
    DeviceCamera camera("camera0", gone, complain());
    camera.start(sink());
    EXPECT_THAT(complaint(), HasSubstr("a camera failed: "));
    camera.stop();
    EXPECT_EQ(count(), 0U);
}

TEST_F(DeviceCameraTest, aComputerWithoutACameraHasATestPicture) {
    const auto cameras = robot::makeComputerCameras([](const std::string&, const KVFrame&) {},
                                                    [](const std::string&) { return false; },
                                                    complain(), robot::Stamp::None);
    ASSERT_THAT(cameras, Not(IsEmpty()));
    const KVCamera& test = cameras.front();
    if (test.fInfo.fName != "test") {
        GTEST_SKIP() << "this machine has a camera";
    }
    KVFrame frame;
    test.fMakeFrame(test.fInfo.fSettings, frame);
    EXPECT_EQ(frame.fWidth, 640U);
}

}  // namespace

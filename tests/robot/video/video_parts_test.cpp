#include "frame_stamp.h"
#include "video/drawn_camera.h"
#include "video/frame_encoder.h"
#include "video/frame_trouble.h"
#include "video/robot_views.h"
#include "video/stamp.h"
#include "video/test_card.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <set>
#include <turbojpeg.h>

using obvista_test::FrameStamp;
using obvista_test::readFrameStamp;
using robot::Canvas;
using robot::Colour;
using robot::FrameEncoder;
using robot::FrameTrouble;

namespace {

constexpr std::uint64_t a_number = 0x1'8000'0F0FU;
constexpr std::int64_t a_time = 1'795'238'400'123'456;

int luma(const Colour& colour) {
    return (299 * colour.fRed + 587 * colour.fGreen + 114 * colour.fBlue) / 1000;
}

/** Returns the maximum difference of the components of two colours. */
int difference(const Colour& a, const Colour& b) {
    return std::max(
        {std::abs(a.fRed - b.fRed), std::abs(a.fGreen - b.fGreen), std::abs(a.fBlue - b.fBlue)});
}

/** The picture of a frame, decoded according to the definition of its format. */
class Decoded {
  public:
    explicit Decoded(const KVFrame& frame) {
        fPicture.resize(static_cast<int>(frame.fWidth), static_cast<int>(frame.fHeight));
        if (frame.fFormat == KVPixelFormat::Jpeg) {
            xDecodeJpeg(frame);
            return;
        }
        for (int y = 0; y < fPicture.height(); ++y) {
            for (int x = 0; x < fPicture.width(); ++x) {
                fPicture.row(y)[x] =
                    xPixel(frame, static_cast<std::size_t>(x), static_cast<std::size_t>(y));
            }
        }
    }

    const Canvas& picture() const { return fPicture; }

  private:
    static Colour xPixel(const KVFrame& frame, std::size_t x, std::size_t y) {
        const unsigned char* const row = frame.fData.get() + y * frame.fStride;
        switch (frame.fFormat) {
            case KVPixelFormat::Rgb888:
                return {row[3 * x], row[3 * x + 1], row[3 * x + 2]};
            case KVPixelFormat::Grey8:
                return {row[x], row[x], row[x]};
            default:
                return xFromStudio(row[2 * x], row[x / 2 * 4 + 1], row[x / 2 * 4 + 3]);
        }
    }

    static Colour xFromStudio(int luma, int blue, int red) {
        const auto byte = [](double part) {
            return static_cast<std::uint8_t>(std::clamp(part + 0.5, 0.0, 255.0));
        };
        const double light = 255.0 / 219 * (luma - 16);
        const double blueness = 255.0 / 224 * (blue - 128);
        const double redness = 255.0 / 224 * (red - 128);
        return {byte(light + 1.402 * redness),
                byte(light - 0.344136 * blueness - 0.714136 * redness),
                byte(light + 1.772 * blueness)};
    }

    void xDecodeJpeg(const KVFrame& frame) {
        const auto decompressor = tjInitDecompress();
        EXPECT_EQ(
            tjDecompress2(decompressor, frame.fData.get(), frame.fSize, &fPicture.row(0)->fRed,
                          fPicture.width(), 0, fPicture.height(), TJPF_RGBX, 0),
            0)
            << tjGetErrorStr2(decompressor);
        tjDestroy(decompressor);
    }

    Canvas fPicture;
};

std::optional<FrameStamp> stampOf(const Canvas& picture) {
    return readFrameStamp([&picture](int x, int y) { return luma(picture.row(y)[x]); }, 0, 0,
                          picture.width());
}

bool isSame(const Canvas& a, const Canvas& b) {
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x) {
            if (difference(a.row(y)[x], b.row(y)[x]) != 0) {
                return false;
            }
        }
    }
    return true;
}

Canvas testCard(int width, int height) {
    Canvas canvas;
    canvas.resize(width, height);
    robot::drawTestCard(canvas, 1);
    return canvas;
}

TEST(Canvas, whatLiesOutsideIsCutOff) {
    Canvas canvas;
    canvas.resize(4, 3);
    canvas.fillRectangle(-1e9, -1e9, 1e9, 1e9, robot::a_white);
    canvas.fillPolygon({{-5, -5}, {2, -5}, {2, 1e12}, {-5, 1e12}}, robot::a_black);
    canvas.fillDisc({100, 100}, 3, robot::a_black);
    for (int y = 0; y < 3; ++y) {
        EXPECT_EQ(luma(canvas.row(y)[1]), 0);
        EXPECT_EQ(luma(canvas.row(y)[2]), 255);
    }
}

TEST(Canvas, neighbouringPolygonsLeaveNoGapAndDoNotOverlap) {
    Canvas canvas;
    canvas.resize(40, 30);
    canvas.fillRectangle(0, 0, 40, 30, robot::a_black);
    canvas.fillPolygon({{0, 0}, {40, 0}, {0, 30}}, {10, 0, 0});
    canvas.fillPolygon({{40, 0}, {40, 30}, {0, 30}}, {20, 0, 0});
    std::set<int> colours;
    for (int y = 0; y < 30; ++y) {
        for (int x = 0; x < 40; ++x) {
            colours.insert(canvas.row(y)[x].fRed);
        }
    }
    EXPECT_EQ(colours, (std::set<int>{10, 20}));
}

/** The formats and sizes of the simulated cameras. */
class StampTest : public testing::TestWithParam<std::tuple<KVPixelFormat, int>> {};

TEST_P(StampTest, isReadOutOfEveryFormatAndSize) {
    const auto [format, width] = GetParam();
    Canvas canvas = testCard(width, width * 9 / 16 / 2 * 2);
    robot::drawStamp(canvas, a_number, a_time);
    FrameEncoder encoder;
    const auto stamp = stampOf(Decoded(encoder.encode(canvas, format)).picture());
    ASSERT_TRUE(stamp);
    EXPECT_EQ(stamp->fNumber, a_number % (1ULL << 32U));
    EXPECT_EQ(stamp->fTime, a_time);
}

INSTANTIATE_TEST_SUITE_P(
    All, StampTest,
    testing::Combine(testing::Values(KVPixelFormat::Rgb888, KVPixelFormat::Yuv422,
                                     KVPixelFormat::Grey8, KVPixelFormat::Jpeg),
                     testing::Values(160, 320, 640, 1280)));

TEST(Stamp, aDamagedOneIsNotRead) {
    Canvas canvas = testCard(320, 240);
    EXPECT_FALSE(stampOf(canvas));
    robot::drawStamp(canvas, 7, a_time);
    ASSERT_TRUE(stampOf(canvas));
    canvas.fillRectangle(8 * 39, 0, 320, 8,
                         canvas.row(0)[8 * 39].fRed == 0 ? robot::a_white : robot::a_black);
    EXPECT_FALSE(stampOf(canvas));
}

TEST(Stamp, isReadOutOfAScaledScreenshotToo) {
    Canvas canvas = testCard(320, 240);
    robot::drawStamp(canvas, 7, a_time);
    constexpr double scale = 1.37;
    const auto shown = [&](int x, int y) {
        return luma(
            canvas.row(static_cast<int>((y - 11) / scale))[static_cast<int>((x - 5) / scale)]);
    };
    const auto stamp = readFrameStamp(shown, 5, 11, 320 * scale);
    ASSERT_TRUE(stamp);
    EXPECT_EQ(stamp->fNumber, 7U);
}

/**
 * Returns the maximum difference between the drawn and the decoded picture, in the middles of the
 * colour bars.
 */
int lossOf(const Canvas& drawn, const Canvas& decoded) {
    constexpr int bars = 7;
    int loss = 0;
    for (int bar = 0; bar < bars; ++bar) {
        const int x = (2 * bar + 1) * drawn.width() / (2 * bars);
        loss = std::max(loss, difference(drawn.row(8)[x], decoded.row(8)[x]));
    }
    return loss;
}

TEST(FrameEncoder, formatsHaveTheirSizesAndShowWhatWasDrawn) {
    FrameEncoder encoder;
    const Canvas drawn = testCard(320, 240);
    const KVFrame rgb = encoder.encode(drawn, KVPixelFormat::Rgb888);
    EXPECT_EQ(rgb.fWidth, 320U);
    EXPECT_EQ(rgb.fHeight, 240U);
    EXPECT_EQ(rgb.fStride, 960U);
    EXPECT_EQ(rgb.fSize, 960U * 240);
    EXPECT_EQ(lossOf(drawn, Decoded(rgb).picture()), 0);
    const KVFrame yuv = encoder.encode(drawn, KVPixelFormat::Yuv422);
    EXPECT_EQ(yuv.fStride, 640U);
    EXPECT_EQ(yuv.fSize, 640U * 240);
    EXPECT_LE(lossOf(drawn, Decoded(yuv).picture()), 2);
    const KVFrame jpeg = encoder.encode(drawn, KVPixelFormat::Jpeg);
    EXPECT_EQ(jpeg.fStride, 0U);
    EXPECT_LT(jpeg.fSize, 320U * 240 / 4);
    EXPECT_LE(lossOf(drawn, Decoded(jpeg).picture()), 4);
}

TEST(FrameEncoder, complainsOnceAboutPicturesThatItCannotEncode) {
    std::vector<std::string> complaints;
    FrameEncoder encoder([&](const std::string& line) { complaints.push_back(line); });
    Canvas canvas;
    canvas.resize(70'000, 1);  // more than a JPEG can have
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(encoder.encode(canvas, {70'000, 1, "jpeg", 30, 0}, false).fSize, 0U);
    }
    ASSERT_EQ(complaints.size(), 1U);
    EXPECT_EQ(complaints[0].rfind("a camera's pictures cannot be sent as jpeg: cannot compress", 0),
              0U)
        << complaints[0];
}

TEST(FrameEncoder, greyIsTheLightOfTheColours) {
    FrameEncoder encoder;
    const Canvas drawn = testCard(320, 240);
    const KVFrame grey = encoder.encode(drawn, KVPixelFormat::Grey8);
    EXPECT_EQ(grey.fStride, 320U);
    EXPECT_EQ(grey.fSize, 320U * 240);
    for (std::size_t x = 0; x < 320; ++x) {
        EXPECT_NEAR(grey.fData.get()[x], luma(drawn.row(0)[x]), 1);
    }
}

class ViewsTest : public testing::Test {
  protected:
    Canvas headView() const {
        Canvas canvas;
        canvas.resize(320, 240);
        robot::drawHeadView(canvas, fPose);
        return canvas;
    }

    Canvas chestView() const {
        Canvas canvas;
        canvas.resize(320, 240);
        robot::drawChestView(canvas, fPose);
        return canvas;
    }

    robot::Pose fPose = robot::HumanoidBody(1).pose(10, robot::HumanoidInputs());
};

TEST_F(ViewsTest, theHeadsViewMovesWithTheHeadAlone) {
    const Canvas head = headView();
    const Canvas chest = chestView();
    for (const std::size_t joint : {robot::a_headYaw, robot::a_headPitch}) {
        fPose.fJoints[joint] += 0.2;
        EXPECT_FALSE(isSame(headView(), head));
        EXPECT_TRUE(isSame(chestView(), chest));
        fPose.fJoints[joint] -= 0.2;
    }
    EXPECT_TRUE(isSame(headView(), head));
}

TEST_F(ViewsTest, theChestSeesBothArmsMove) {
    constexpr std::size_t leftElbowRoll = 6;
    constexpr std::size_t rightElbowRoll = 12;
    const Canvas head = headView();
    for (const std::size_t joint : {leftElbowRoll, rightElbowRoll}) {
        const Canvas chest = chestView();
        fPose.fJoints[joint] *= 2;
        EXPECT_FALSE(isSame(chestView(), chest));
    }
    EXPECT_TRUE(isSame(headView(), head));
}

TEST_F(ViewsTest, turningTheHeadToTheLeftMovesThePictureToTheRight) {
    // The ball in the middle of the room is on the robot's left: it comes into view.
    constexpr double quarter = 1.5707963;
    const auto ballColumn = [this] {
        const Canvas view = headView();
        for (int x = 0; x < view.width(); ++x) {
            for (int y = 0; y < view.height(); ++y) {
                const Colour& colour = view.row(y)[x];
                if (colour.fRed == 232 && colour.fGreen == 122 && colour.fBlue == 36) {
                    return x;
                }
            }
        }
        return -1;
    };
    fPose.fJoints[robot::a_headPitch] = 0.3;
    fPose.fJoints[robot::a_headYaw] = 0;
    EXPECT_EQ(ballColumn(), -1);
    fPose.fJoints[robot::a_headYaw] = quarter;
    const int inTheMiddle = ballColumn();
    EXPECT_GT(inTheMiddle, 80);
    EXPECT_LT(inTheMiddle, 240);
    fPose.fJoints[robot::a_headYaw] = quarter + 0.2;
    EXPECT_GT(ballColumn(), inTheMiddle);
}

TEST_F(ViewsTest, theWholePictureIsDrawn) {
    for (int turn = 0; turn < 24; ++turn) {
        fPose.fHeading = turn * 0.2618;
        Canvas canvas;
        canvas.resize(160, 120);
        canvas.fillRectangle(0, 0, 160, 120, {1, 2, 3});
        robot::drawHeadView(canvas, fPose);
        for (int y = 0; y < 120; ++y) {
            for (int x = 0; x < 160; ++x) {
                ASSERT_NE(difference(canvas.row(y)[x], {1, 2, 3}), 0)
                    << x << ' ' << y << ' ' << turn;
            }
        }
    }
}

class FrameTroubleTest : public testing::Test {
  protected:
    KVFrame fRgb = FrameEncoder().encode(testCard(64, 48), KVPixelFormat::Rgb888);
    KVFrame fJpeg = FrameEncoder().encode(testCard(64, 48), KVPixelFormat::Jpeg);
};

TEST_F(FrameTroubleTest, everyWordHasItsTrouble) {
    std::set<FrameTrouble> troubles;
    std::string names = robot::frameTroubles().list() + ", ";
    for (std::size_t end = names.find(", "); end != std::string::npos; end = names.find(", ")) {
        const auto trouble = robot::frameTroubles().find(names.substr(0, end));
        ASSERT_TRUE(trouble) << names;
        troubles.insert(*trouble);
        names.erase(0, end + 2);
    }
    EXPECT_EQ(troubles.size(), 11U);
    EXPECT_FALSE(robot::frameTroubles().find("worse"));
}

TEST_F(FrameTroubleTest, framesClaimWhatIsNotTrue) {
    EXPECT_EQ(spoilt(fRgb, FrameTrouble::Unsupported).fFormat, KVPixelFormat::Unknown);
    EXPECT_LT(spoilt(fRgb, FrameTrouble::Short).fSize, fRgb.fSize);
    EXPECT_GT(spoilt(fRgb, FrameTrouble::Oversized).fSize, fRgb.fSize + 900'000);
    EXPECT_LT(spoilt(fRgb, FrameTrouble::WrongStride).fStride, fRgb.fWidth);
    EXPECT_EQ(spoilt(fRgb, FrameTrouble::NoSize).fWidth, 0U);
    const KVFrame huge = spoilt(fRgb, FrameTrouble::HugeSize);
    EXPECT_EQ(huge.fWidth, 65'535U);
    EXPECT_EQ(huge.fStride, 3U * 65'535U);
    EXPECT_EQ(huge.fSize, fRgb.fSize);
    const KVFrame whole = spoilt(fRgb, FrameTrouble::None);
    EXPECT_EQ(whole.fData, fRgb.fData);
    EXPECT_EQ(whole.fSize, fRgb.fSize);
}

TEST_F(FrameTroubleTest, aJpegLiesAboutItsSizeOrIsNone) {
    const auto decompressor = tjInitDecompress();
    int width = 0;
    int height = 0;
    int sampling = 0;
    int colours = 0;
    const KVFrame lying = spoilt(fJpeg, FrameTrouble::LyingJpeg);
    EXPECT_EQ(lying.fWidth, 64U);
    ASSERT_EQ(tjDecompressHeader3(decompressor, lying.fData.get(), lying.fSize, &width, &height,
                                  &sampling, &colours),
              0);
    EXPECT_EQ(width, 65'500);
    EXPECT_EQ(height, 65'500);
    const KVFrame none = spoilt(fJpeg, FrameTrouble::NoJpeg);
    EXPECT_NE(tjDecompressHeader3(decompressor, none.fData.get(), none.fSize, &width, &height,
                                  &sampling, &colours),
              0);
    tjDestroy(decompressor);
}

TEST(DrawnCamera, framesShowTheirNumberAndTime) {
    int drawn = 0;
    robot::DrawnCamera camera(
        [&](Canvas& canvas) {
            ++drawn;
            robot::drawTestCard(canvas, 0);
        },
        robot::Stamp::Drawn);
    for (const char* const format : {"rgb", "yuv422", "grey", "jpeg"}) {
        KVFrame frame;
        frame.fNumber = 7;
        frame.fTime = 1234567;
        camera.makeFrame({160, 120, format, 15}, frame);
        EXPECT_EQ(frame.fNumber, 7U);
        EXPECT_EQ(frame.fTime, 1234567);
        EXPECT_EQ(frame.fWidth, 160U);
        const auto stamp = stampOf(Decoded(frame).picture());
        ASSERT_TRUE(stamp) << format;
        EXPECT_EQ(stamp->fNumber, frame.fNumber);
        EXPECT_EQ(stamp->fTime, frame.fTime);
    }
    EXPECT_EQ(drawn, 4);
}

}  // namespace

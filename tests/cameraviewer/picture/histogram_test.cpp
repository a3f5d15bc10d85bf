#include <gtest/gtest.h>

#include <histogram.h>
#include <made_frames.h>
#include <picture_decoder.h>

using cameraviewer::Histogram;
using cameraviewer::histogramsOf;
using cameraviewer::PictureDecoder;
using obvista_test::makeFrame;
using obvista_test::soundFrame;

namespace {

TEST(Histogram, CountsEachPixelOnceAndNoPadding) {
    for (std::uint32_t width = 1; width < 20; ++width) {
        const KVFrame frame = soundFrame(KVPixelFormat::Grey8, width, 13);
        std::array<std::uint32_t, 256> expected{};
        for (std::size_t y = 0; y < 13; ++y) {
            for (std::size_t x = 0; x < width; ++x) {
                ++expected[frame.fData.get()[y * frame.fStride + x]];
            }
        }
        const auto histogram = histogramsOf(PictureDecoder().decode(frame).fImage);
        ASSERT_EQ(histogram.size(), 1U);
        EXPECT_EQ(histogram.front().fBins, expected);
    }
}

TEST(Histogram, TellsTheRangeAndTheMean) {
    const auto histogram = histogramsOf(
        PictureDecoder().decode(makeFrame(KVPixelFormat::Grey8, 4, 1, 4, {7, 9, 200, 8})).fImage);
    ASSERT_EQ(histogram.size(), 1U);
    EXPECT_EQ(histogram.front().fMinimum, 7);
    EXPECT_EQ(histogram.front().fMaximum, 200);
    EXPECT_DOUBLE_EQ(histogram.front().fMean, 56);
}

TEST(Histogram, HoldsTheEndsOfTheRange) {
    const auto black = histogramsOf(
        PictureDecoder().decode(makeFrame(KVPixelFormat::Grey8, 2, 1, 2, {0, 0})).fImage);
    ASSERT_EQ(black.size(), 1U);
    EXPECT_EQ(black.front().fMinimum, 0);
    EXPECT_EQ(black.front().fMaximum, 0);
    const auto white = histogramsOf(
        PictureDecoder().decode(makeFrame(KVPixelFormat::Grey8, 2, 1, 2, {255, 255})).fImage);
    ASSERT_EQ(white.size(), 1U);
    EXPECT_EQ(white.front().fMinimum, 255);
    EXPECT_EQ(white.front().fMaximum, 255);
}

/** Against Qt's own reading of each pixel. */
TEST(Histogram, CountsTheChannelsOfColours) {
    for (const KVPixelFormat format :
         {KVPixelFormat::Rgb888, KVPixelFormat::Yuv422, KVPixelFormat::Jpeg}) {
        const QImage image = PictureDecoder().decode(soundFrame(format, 18, 13)).fImage;
        ASSERT_FALSE(image.isNull());
        std::array<std::array<std::uint32_t, 256>, 3> expected{};
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                const QRgb pixel = image.pixel(x, y);
                ++expected[0][static_cast<std::size_t>(qRed(pixel))];
                ++expected[1][static_cast<std::size_t>(qGreen(pixel))];
                ++expected[2][static_cast<std::size_t>(qBlue(pixel))];
            }
        }
        const auto histograms = histogramsOf(image);
        ASSERT_EQ(histograms.size(), 3U);
        for (std::size_t channel = 0; channel < 3; ++channel) {
            EXPECT_EQ(histograms[channel].fBins, expected[channel]);
        }
    }
}

TEST(Histogram, IsNotForEmptyPicturesAndOtherFormats) {
    EXPECT_TRUE(histogramsOf(QImage()).empty());
    EXPECT_TRUE(histogramsOf(QImage(4, 4, QImage::Format_RGB16)).empty());
}

}  // namespace

#include <gtest/gtest.h>

#include <histogram.h>
#include <made_frames.h>
#include <numeric>
#include <picture_decoder.h>

using cameraviewer::Histogram;
using cameraviewer::histogramOf;
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
        const auto histogram = histogramOf(PictureDecoder().decode(frame).fImage);
        ASSERT_TRUE(histogram);
        EXPECT_EQ(histogram->fBins, expected);
    }
}

TEST(Histogram, TellsTheRangeAndTheMean) {
    const auto histogram = histogramOf(
        PictureDecoder().decode(makeFrame(KVPixelFormat::Grey8, 4, 1, 4, {7, 9, 200, 8})).fImage);
    ASSERT_TRUE(histogram);
    EXPECT_EQ(histogram->fMinimum, 7);
    EXPECT_EQ(histogram->fMaximum, 200);
    EXPECT_DOUBLE_EQ(histogram->fMean, 56);
}

TEST(Histogram, HoldsTheEndsOfTheRange) {
    const auto black = histogramOf(
        PictureDecoder().decode(makeFrame(KVPixelFormat::Grey8, 2, 1, 2, {0, 0})).fImage);
    ASSERT_TRUE(black);
    EXPECT_EQ(black->fMinimum, 0);
    EXPECT_EQ(black->fMaximum, 0);
    const auto white = histogramOf(
        PictureDecoder().decode(makeFrame(KVPixelFormat::Grey8, 2, 1, 2, {255, 255})).fImage);
    ASSERT_TRUE(white);
    EXPECT_EQ(white->fMinimum, 255);
    EXPECT_EQ(white->fMaximum, 255);
}

TEST(Histogram, IsForGreyPicturesOnly) {
    EXPECT_FALSE(histogramOf(QImage()));
    EXPECT_FALSE(
        histogramOf(PictureDecoder().decode(soundFrame(KVPixelFormat::Rgb888, 4, 4)).fImage));
}

}  // namespace

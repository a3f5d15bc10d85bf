#include <picture/frame_decoder.h>
#include <picture/jpeg.h>

#include <gtest/gtest.h>

#include <plain_frames.h>

using obvista_test::Bytes;
using obvista_test::makeFrame;
using obvista_test::makeJpegFrame;
using obvista_test::smoothJpeg;
using picture::PixelLayout;

namespace {

/** The rows of a frame, with two bytes between them that must stay as they are. */
Bytes decoded(const KVFrame& frame, PixelLayout layout) {
    const picture::CheckedFrame checked = picture::check(frame);
    EXPECT_EQ(checked.fault(), picture::FrameFault::None);
    const std::size_t row = std::size_t{frame.fWidth} * bytesPerPixel(layout);
    const std::size_t stride = row + 2;
    Bytes rows(stride * frame.fHeight, 42);
    picture::JpegReader reader;
    EXPECT_TRUE(decode(checked, reader, layout, rows.data(), stride));
    Bytes pixels;
    for (std::size_t y = 0; y < frame.fHeight; ++y) {
        const auto from = rows.begin() + static_cast<std::ptrdiff_t>(y * stride);
        pixels.insert(pixels.end(), from, from + static_cast<std::ptrdiff_t>(row));
        EXPECT_EQ(rows[y * stride + row], 42);
        EXPECT_EQ(rows[y * stride + row + 1], 42);
    }
    return pixels;
}

TEST(FrameDecoder, LeavesOutTheBytesBetweenRows) {
    EXPECT_EQ(decoded(makeFrame(KVPixelFormat::Rgb888, 2, 2, 8,
                                {1, 2, 3, 4, 5, 6, 99, 99, 7, 8, 9, 10, 11, 12, 99, 99}),
                      PixelLayout::Rgb888),
              (Bytes{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}));
    EXPECT_EQ(decoded(makeFrame(KVPixelFormat::Grey8, 1, 2, 2, {1, 99, 2, 99}), PixelLayout::Grey8),
              (Bytes{1, 2}));
}

TEST(FrameDecoder, ConvertsYuvRowByRow) {
    EXPECT_EQ(decoded(makeFrame(KVPixelFormat::Yuv422, 2, 2, 6,
                                {16, 128, 235, 128, 99, 99, 81, 90, 81, 240, 99, 99}),
                      PixelLayout::Rgb888),
              (Bytes{0, 0, 0, 255, 255, 255, 255, 0, 0, 255, 0, 0}));
}

TEST(FrameDecoder, TellsGreyFromColour) {
    EXPECT_TRUE(picture::check(makeFrame(KVPixelFormat::Grey8, 1, 1, 1, {1})).isGrey());
    EXPECT_TRUE(picture::check(makeJpegFrame(8, 8, smoothJpeg(8, 8, PixelLayout::Grey8))).isGrey());
    EXPECT_FALSE(picture::check(makeJpegFrame(8, 8, smoothJpeg(8, 8))).isGrey());
    EXPECT_FALSE(picture::check(makeFrame(KVPixelFormat::Rgb888, 1, 1, 3, {1, 2, 3})).isGrey());
    EXPECT_FALSE(picture::check(makeFrame(KVPixelFormat::Grey8, 1, 1, 1, {})).isGrey());
}

TEST(FrameDecoder, FindsADamagedJpeg) {
    const Bytes jpeg = smoothJpeg(64, 48);
    const auto isSound = [](const Bytes& bytes) {
        picture::JpegReader reader;
        const picture::CheckedFrame checked = check(makeJpegFrame(64, 48, bytes), reader);
        Bytes rows(64 * 48 * 3);
        return checked.fault() == picture::FrameFault::None &&
               decode(checked, reader, PixelLayout::Rgb888, rows.data(), 192);
    };
    EXPECT_TRUE(isSound(jpeg));
    EXPECT_FALSE(isSound(Bytes(jpeg.begin(), jpeg.end() - 4)));
    Bytes damaged = jpeg;
    std::fill_n(damaged.end() - 200, 100, static_cast<unsigned char>(0xff));
    EXPECT_FALSE(isSound(damaged));
}

}  // namespace

#include <picture/frame_check.h>
#include <picture/jpeg.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <iterator>
#include <limits>
#include <plain_frames.h>
#include <project_files.h>
#include <string>

using obvista_test::Bytes;
using obvista_test::makeFrame;
using obvista_test::makeJpegFrame;
using obvista_test::smoothJpeg;
using picture::a_maxPixels;
using picture::faultText;
using picture::FrameFault;

namespace {

FrameFault check(const KVFrame& frame) {
    return picture::check(frame).fault();
}

constexpr std::uint32_t a_most = std::numeric_limits<std::uint32_t>::max();

/** A frame that claims a size and has no bytes to show for it. */
KVFrame claim(KVPixelFormat format, std::uint32_t width, std::uint32_t height,
              std::uint32_t stride) {
    return makeFrame(format, width, height, stride, {});
}

struct RowCase {
    KVPixelFormat fFormat;
    std::uint32_t fRow;  // bytes of a row of 10 pixels
};

class FrameCheckOfRows : public testing::TestWithParam<RowCase> {};

TEST_P(FrameCheckOfRows, NeedsTheWholeStrideOfEachRow) {
    const auto [format, row] = GetParam();
    for (const std::uint32_t stride : {row, row + 1, row + 64}) {
        const std::size_t needed = std::size_t{stride} * 7;
        EXPECT_EQ(check(makeFrame(format, 10, 7, stride, Bytes(needed))), FrameFault::None);
        EXPECT_EQ(check(makeFrame(format, 10, 7, stride, Bytes(needed + 1))), FrameFault::None);
        EXPECT_EQ(check(makeFrame(format, 10, 7, stride, Bytes(needed - 1))),
                  FrameFault::ShortData);
    }
}

TEST_P(FrameCheckOfRows, NeedsRowsAsLongAsTheirPixels) {
    const auto [format, row] = GetParam();
    EXPECT_EQ(check(makeFrame(format, 10, 7, row - 1, Bytes(10000))), FrameFault::ShortStride);
    EXPECT_EQ(check(makeFrame(format, 10, 7, 0, Bytes(10000))), FrameFault::ShortStride);
}

TEST_P(FrameCheckOfRows, NeedsASize) {
    const auto [format, row] = GetParam();
    EXPECT_EQ(check(makeFrame(format, 0, 7, row, Bytes(10000))), FrameFault::NoSize);
    EXPECT_EQ(check(makeFrame(format, 10, 0, row, Bytes(10000))), FrameFault::NoSize);
}

TEST_P(FrameCheckOfRows, IsNotMisledByProductsThatOverflow) {
    const auto [format, row] = GetParam();
    EXPECT_EQ(check(claim(format, a_most - 1, a_most - 1, a_most)), FrameFault::TooLarge);
    EXPECT_EQ(check(claim(format, 65535, 65535, a_most)), FrameFault::TooLarge);
    // 32 bits of 10 rows of this stride are 4 bytes.
    EXPECT_EQ(check(makeFrame(format, 10, 10, 0x1999999AU, Bytes(4))), FrameFault::ShortData);
    EXPECT_EQ(check(makeFrame(format, 10, 1, 0x80000000U, Bytes(16))), FrameFault::TooLarge);
    EXPECT_EQ(check(makeFrame(format, 10, 1, 0x7fffffffU, Bytes(16))), FrameFault::ShortData);
}

TEST_P(FrameCheckOfRows, BoundsTheNumberOfPixels) {
    const auto [format, row] = GetParam();
    const auto side = std::uint32_t{8192};
    static_assert(a_maxPixels == std::uint64_t{8192} * 8192);
    EXPECT_EQ(check(claim(format, side, side, 3 * side)), FrameFault::ShortData);
    EXPECT_EQ(check(claim(format, side + 2, side, 4 * side)), FrameFault::TooLarge);
    EXPECT_EQ(check(claim(format, side, side + 1, 4 * side)), FrameFault::TooLarge);
}

TEST_P(FrameCheckOfRows, RefusesAFrameWithoutMemory) {
    const auto [format, row] = GetParam();
    KVFrame frame = makeFrame(format, 10, 7, row, {});
    frame.fData = nullptr;
    frame.fSize = 10000;
    EXPECT_EQ(check(frame), FrameFault::ShortData);
}

INSTANTIATE_TEST_SUITE_P(EachFormat, FrameCheckOfRows,
                         testing::Values(RowCase{KVPixelFormat::Rgb888, 30},
                                         RowCase{KVPixelFormat::Yuv422, 20},
                                         RowCase{KVPixelFormat::Grey8, 10}));

TEST(FrameCheck, RefusesYuvOfAnOddWidth) {
    EXPECT_EQ(check(makeFrame(KVPixelFormat::Yuv422, 11, 7, 24, Bytes(10000))),
              FrameFault::OddWidth);
    EXPECT_EQ(check(makeFrame(KVPixelFormat::Grey8, 11, 7, 24, Bytes(10000))), FrameFault::None);
}

TEST(FrameCheck, RefusesAFormatItDoesNotKnow) {
    EXPECT_EQ(check(makeFrame(KVPixelFormat::Unknown, 10, 7, 30, Bytes(10000))),
              FrameFault::UnsupportedFormat);
    EXPECT_EQ(check(makeFrame(static_cast<KVPixelFormat>(99), 10, 7, 30, Bytes(10000))),
              FrameFault::UnsupportedFormat);
}

TEST(FrameCheck, ComparesTheSizeInAJpegWithThatOfTheFrame) {
    const Bytes jpeg = smoothJpeg(20, 10);
    EXPECT_EQ(check(makeFrame(KVPixelFormat::Jpeg, 20, 10, 0, jpeg)), FrameFault::None);
    EXPECT_EQ(check(makeFrame(KVPixelFormat::Jpeg, 21, 10, 0, jpeg)), FrameFault::JpegSizeDiffers);
    EXPECT_EQ(check(makeFrame(KVPixelFormat::Jpeg, 20, 9, 0, jpeg)), FrameFault::JpegSizeDiffers);
    EXPECT_EQ(check(makeFrame(KVPixelFormat::Jpeg, 10, 20, 0, jpeg)), FrameFault::JpegSizeDiffers);
}

/** The JPEG with another size written into its frame header. */
Bytes withSize(Bytes jpeg, std::uint32_t width, std::uint32_t height) {
    for (std::size_t i = 2; i + 9 <= jpeg.size();) {
        const bool isFrameHeader = jpeg[i] == 0xff && jpeg[i + 1] == 0xc0;
        if (isFrameHeader) {
            jpeg[i + 5] = static_cast<unsigned char>(height >> 8);
            jpeg[i + 6] = static_cast<unsigned char>(height);
            jpeg[i + 7] = static_cast<unsigned char>(width >> 8);
            jpeg[i + 8] = static_cast<unsigned char>(width);
            return jpeg;
        }
        i += 2U + (jpeg[i + 2] << 8U | jpeg[i + 3]);
    }
    ADD_FAILURE() << "there is no frame header";
    return jpeg;
}

TEST(FrameCheck, IsNotMisledByAJpegThatLiesAboutItsSize) {
    const Bytes jpeg = smoothJpeg(20, 10);
    const Bytes huge = withSize(jpeg, 65500, 65500);
    EXPECT_EQ(check(makeFrame(KVPixelFormat::Jpeg, 20, 10, 0, huge)), FrameFault::JpegSizeDiffers);
    EXPECT_EQ(check(makeFrame(KVPixelFormat::Jpeg, 65500, 65500, 0, huge)), FrameFault::TooLarge);
    EXPECT_EQ(check(makeFrame(KVPixelFormat::Jpeg, 20, 10, 0, withSize(jpeg, 0, 10))),
              FrameFault::UnreadableJpeg);
}

TEST(FrameCheck, RefusesWhatIsNoJpeg) {
    EXPECT_EQ(check(makeFrame(KVPixelFormat::Jpeg, 20, 10, 0, {})), FrameFault::NoData);
    EXPECT_EQ(check(makeFrame(KVPixelFormat::Jpeg, 20, 10, 0, Bytes(600))),
              FrameFault::UnreadableJpeg);
    EXPECT_EQ(check(makeFrame(KVPixelFormat::Jpeg, 20, 10, 0, {0xff, 0xd8})),
              FrameFault::UnreadableJpeg);
    EXPECT_EQ(check(makeFrame(KVPixelFormat::Jpeg, 0, 10, 0, Bytes(600))), FrameFault::NoSize);
}

TEST(FrameCheck, RefusesAJpegForPrinters) {
    // Behind 14 bytes that describe a frame.
    std::ifstream file(obvista_test::sourceFile("tests/fuzz/seeds/picture/jpeg_cmyk"),
                       std::ios::binary);
    const Bytes seed{std::istreambuf_iterator<char>(file), {}};
    ASSERT_GT(seed.size(), 14U);
    const Bytes jpeg(seed.begin() + 14, seed.end());
    const auto header = picture::JpegReader().readHeader(jpeg.data(), jpeg.size());
    ASSERT_TRUE(header);
    EXPECT_EQ(header->fColours, picture::JpegColours::Inks);
    EXPECT_EQ(check(makeJpegFrame(header->fWidth, header->fHeight, jpeg)),
              FrameFault::UnreadableJpeg);
}

TEST(FrameCheck, HasASentenceForEachFaultAndNoneForNone) {
    EXPECT_STREQ(faultText(FrameFault::None), "");
    for (int fault = 1; fault <= static_cast<int>(FrameFault::BadJpeg); ++fault) {
        const std::string text = faultText(static_cast<FrameFault>(fault));
        EXPECT_EQ(text.rfind("The camera sends ", 0), 0U) << fault;
        EXPECT_EQ(text.back(), '.') << fault;
    }
}

/** A part of the sentence for a frame, which users and documents know. */
TEST(FrameCheck, SaysInASentenceWhatIsWrong) {
    const auto says = [](const KVFrame& frame, const std::string& part) {
        const std::string text = faultText(check(frame));
        EXPECT_NE(text.find(part), std::string::npos) << text;
    };
    const Bytes twelve(12);
    says(makeFrame(KVPixelFormat::Rgb888, 0, 2, 6, twelve), "without a size");
    says(makeFrame(KVPixelFormat::Grey8, 65536, 65536, 65536, twelve), "too large");
    says(makeFrame(KVPixelFormat::Grey8, a_most, a_most, a_most, twelve), "64 million");
    says(makeFrame(KVPixelFormat::Rgb888, 2, 2, 5, twelve), "rows that are shorter");
    says(makeFrame(KVPixelFormat::Yuv422, 2, 2, 3, twelve), "rows that are shorter");
    says(makeFrame(KVPixelFormat::Rgb888, 2, 2, 7, twelve), "fewer bytes");
    says(makeFrame(KVPixelFormat::Yuv422, 3, 1, 12, twelve), "odd width");
    says(makeFrame(KVPixelFormat::Unknown, 2, 2, 6, twelve), "does not know");
    says(makeFrame(KVPixelFormat::Jpeg, 1, 1, 0, {}), "without a byte");
    says(makeFrame(KVPixelFormat::Jpeg, 64, 48, 0, twelve), "cannot be read");
    says(makeFrame(KVPixelFormat::Jpeg, 20, 11, 0, smoothJpeg(20, 10)), "another size");
}

}  // namespace

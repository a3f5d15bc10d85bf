#include <picture/pixel_format.h>

#include <gtest/gtest.h>

using picture::bytesPerPixel;
using picture::formatName;
using picture::formatNamed;

namespace {

TEST(PixelFormat, HasTheNameThatTheDocumentsGiveIt) {
    EXPECT_STREQ(formatName(KVPixelFormat::Rgb888), "rgb");
    EXPECT_STREQ(formatName(KVPixelFormat::Yuv422), "yuv422");
    EXPECT_STREQ(formatName(KVPixelFormat::Grey8), "grey");
    EXPECT_STREQ(formatName(KVPixelFormat::Jpeg), "jpeg");
    EXPECT_STREQ(formatName(KVPixelFormat::Unknown), "unknown");
    EXPECT_STREQ(formatName(static_cast<KVPixelFormat>(99)), "unknown");
}

TEST(PixelFormat, IsFoundByItsName) {
    for (const auto format : {KVPixelFormat::Rgb888, KVPixelFormat::Yuv422, KVPixelFormat::Grey8,
                              KVPixelFormat::Jpeg}) {
        EXPECT_EQ(formatNamed(formatName(format)), format);
    }
    EXPECT_EQ(formatNamed("RGB"), KVPixelFormat::Unknown);
    EXPECT_EQ(formatNamed(""), KVPixelFormat::Unknown);
}

TEST(PixelFormat, HasNoBytesForAPixelWithoutRows) {
    EXPECT_EQ(bytesPerPixel(KVPixelFormat::Rgb888), 3U);
    EXPECT_EQ(bytesPerPixel(KVPixelFormat::Yuv422), 2U);
    EXPECT_EQ(bytesPerPixel(KVPixelFormat::Grey8), 1U);
    EXPECT_EQ(bytesPerPixel(KVPixelFormat::Jpeg), 0U);
    EXPECT_EQ(bytesPerPixel(static_cast<KVPixelFormat>(99)), 0U);
}

}  // namespace

#include "fast_message.h"

#include <picture/frame_check.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <png.h>
#include <ros2_message/image_message.h>

using obvista_test::a_stamp;
using obvista_test::FastMessage;
using picture::ImageResult;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

using Bytes = std::vector<unsigned char>;

std::shared_ptr<Bytes> message(const std::string& encoding, std::uint32_t width,
                               std::uint32_t height, std::uint32_t stride, const Bytes& data,
                               bool isBigEndian = false) {
    FastMessage image;
    image.header("eye") << height << width << encoding
                        << static_cast<std::uint8_t>(isBigEndian ? 1 : 0) << stride << data;
    return std::make_shared<Bytes>(image.bytes());
}

ImageResult decoded(const std::shared_ptr<Bytes>& bytes) {
    return ros2_message::imageOf({bytes->data(), bytes->size()}, bytes, 0);
}

/** Returns the bytes of a frame that passes the check of the viewers. */
Bytes pixels(const ImageResult& result) {
    EXPECT_EQ(result.fProblem, "");
    EXPECT_EQ(picture::check(result.fFrame).fault(), picture::FrameFault::None);
    const KVFrame& frame = result.fFrame;
    return {frame.fData.get(), frame.fData.get() + frame.fSize};
}

Bytes converted(const std::string& encoding, std::uint32_t width, std::uint32_t height,
                std::uint32_t stride, const Bytes& data, bool isBigEndian = false) {
    return pixels(decoded(message(encoding, width, height, stride, data, isBigEndian)));
}

}  // namespace

TEST(ImageMessage, encodingsThatViewersKnowAreNotCopied) {
    const std::shared_ptr<Bytes> bytes = message("rgb8", 2, 1, 6, {1, 2, 3, 4, 5, 6});
    const ImageResult result = decoded(bytes);
    EXPECT_THAT(pixels(result), ElementsAre(1, 2, 3, 4, 5, 6));
    EXPECT_EQ(result.fFrame.fFormat, KVPixelFormat::Rgb888);
    EXPECT_EQ(result.fFrame.fTime, a_stamp);
    EXPECT_EQ(result.fFrame.fWidth, 2U);
    EXPECT_GE(result.fFrame.fData.get(), bytes->data());
    EXPECT_LT(result.fFrame.fData.get(), bytes->data() + bytes->size());
    EXPECT_EQ(decoded(message("mono8", 2, 1, 2, {1, 2})).fFrame.fFormat, KVPixelFormat::Grey8);
    EXPECT_EQ(decoded(message("yuv422_yuy2", 2, 1, 4, {1, 2, 3, 4})).fFrame.fFormat,
              KVPixelFormat::Yuv422);
}

TEST(ImageMessage, otherEncodingsAreConverted) {
    EXPECT_THAT(converted("bgr8", 1, 2, 4, {3, 2, 1, 0, 6, 5, 4, 0}),
                ElementsAre(1, 2, 3, 4, 5, 6));
    EXPECT_THAT(converted("rgba8", 1, 1, 4, {1, 2, 3, 255}), ElementsAre(1, 2, 3));
    EXPECT_THAT(converted("bgra8", 1, 1, 4, {3, 2, 1, 255}), ElementsAre(1, 2, 3));
    EXPECT_THAT(converted("mono16", 2, 1, 4, {9, 1, 9, 2}), ElementsAre(1, 2));
    EXPECT_THAT(converted("16UC1", 2, 1, 4, {1, 9, 2, 9}, true), ElementsAre(1, 2));
    EXPECT_THAT(converted("yuv422", 2, 1, 4, {1, 2, 3, 4}), ElementsAre(2, 1, 4, 3));
}

TEST(ImageMessage, bayerFiltersOfAllOrders) {
    // One block of 2x2 pixels: red 200, blue 50, green 100 and 120.
    const Bytes pixel{200, 110, 50};
    const auto expectAll = [&](const std::string& encoding, const Bytes& data) {
        Bytes all;
        for (int i = 0; i < 4; ++i) {
            all.insert(all.end(), pixel.begin(), pixel.end());
        }
        EXPECT_EQ(converted(encoding + "8", 2, 2, 2, data), all) << encoding;
        Bytes wide;
        for (const unsigned char byte : data) {
            wide.insert(wide.end(), {7, byte});
        }
        EXPECT_EQ(converted(encoding + "16", 2, 2, 4, wide), all) << encoding;
    };
    expectAll("bayer_rggb", {200, 100, 120, 50});
    expectAll("bayer_bggr", {50, 100, 120, 200});
    expectAll("bayer_grbg", {100, 200, 50, 120});
    expectAll("bayer_gbrg", {100, 50, 200, 120});
}

TEST(ImageMessage, bayerFiltersKeepTheirOrderAcrossThePicture) {
    // Red 1..4 in four blocks; other colours 0.
    const Bytes data{10, 0, 20, 0, 0, 0, 0, 0, 30, 0, 40, 0, 0, 0, 0, 0};
    const Bytes result = converted("bayer_rggb8", 4, 4, 4, data);
    EXPECT_EQ(result[0], 10);
    EXPECT_EQ(result[3], 20) << "the second pixel has its red on its right";
    EXPECT_EQ(result[(2 * 4 + 3) * 3], 40);
}

TEST(ImageMessage, aSizeThatContradictsTheBytesIsRefused) {
    EXPECT_THAT(decoded(message("rgb8", 2, 1, 6, {1, 2, 3})).fProblem, HasSubstr("contradicts"));
    EXPECT_THAT(decoded(message("rgb8", 2, 1, 5, Bytes(6))).fProblem, HasSubstr("contradicts"));
    EXPECT_THAT(decoded(message("rgb8", 0, 1, 6, Bytes(6))).fProblem, HasSubstr("contradicts"));
    EXPECT_THAT(decoded(message("yuv422", 1, 1, 2, Bytes(2))).fProblem, HasSubstr("contradicts"));
    EXPECT_THAT(decoded(message("bayer_rggb8", 1, 2, 1, Bytes(2))).fProblem,
                HasSubstr("contradicts"));
    EXPECT_THAT(decoded(message("mono8", 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, Bytes(8))).fProblem,
                HasSubstr("contradicts"));
    EXPECT_THAT(decoded(message("32FC1", 1, 1, 4, Bytes(4))).fProblem, HasSubstr("'32FC1'"));
    EXPECT_THAT(decoded(std::make_shared<Bytes>(Bytes(10))).fProblem, HasSubstr("is not a"));
}

TEST(CompressedImageMessage, aPngBecomesItsPixels) {
    const Bytes source{1, 2, 3, 4, 5, 6};
    png_image png{};
    png.version = PNG_IMAGE_VERSION;
    png.width = 2;
    png.height = 1;
    png.format = PNG_FORMAT_RGB;
    Bytes file(10'000);
    png_alloc_size_t size = file.size();
    ASSERT_NE(png_image_write_to_memory(&png, file.data(), &size, 0, source.data(), 0, nullptr), 0);
    file.resize(size);
    const auto result = [](const Bytes& data) {
        FastMessage image;
        image.header("eye") << "png" << data;
        const auto bytes = std::make_shared<Bytes>(image.bytes());
        return ros2_message::compressedImageOf({bytes->data(), bytes->size()}, bytes, 0);
    };
    EXPECT_EQ(pixels(result(file)), source);
    file.resize(size / 2);
    EXPECT_THAT(result(file).fProblem, HasSubstr("damaged PNG"));
    EXPECT_THAT(result({0xFF, 0xD8, 0xFF}).fProblem, HasSubstr("damaged JPEG"));
    EXPECT_THAT(result({1, 2, 3}).fProblem, HasSubstr("'png' is not supported"));
    EXPECT_THAT(result({}).fProblem, HasSubstr("not supported"));
}

// Frames of cameras as files, and frames that are not what they claim.
#include "picture/jpeg.h"
#include "picture/picture_file.h"
#include "picture/pixels.h"
#include "process/failure.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <png.h>

namespace robaxi_tool {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using Bytes = std::vector<unsigned char>;
using Channels = Pixels::Channels;

KVFrame makeFrame(KVPixelFormat format, std::uint32_t width, std::uint32_t height,
                  std::uint32_t stride, const Bytes& bytes) {
    KVFrame frame;
    frame.fNumber = 1;
    frame.fWidth = width;
    frame.fHeight = height;
    frame.fStride = stride;
    frame.fFormat = format;
    // As long as its bytes and no longer, so that the sanitizer sees reads beyond them.
    const std::shared_ptr<unsigned char> data(new unsigned char[bytes.size()],
                                              std::default_delete<unsigned char[]>());
    std::copy(bytes.begin(), bytes.end(), data.get());
    frame.fData = data;
    frame.fSize = bytes.size();
    return frame;
}

KVFrame jpegFrame(const std::string& jpeg, std::uint32_t width, std::uint32_t height) {
    return makeFrame(KVPixelFormat::Jpeg, width, height, 0, Bytes(jpeg.begin(), jpeg.end()));
}

/** A picture with something to see everywhere. */
Pixels makePixels(std::uint32_t width, std::uint32_t height, Channels channels) {
    Pixels pixels(width, height, channels);
    for (std::size_t i = 0; i < pixels.fBytes.size(); ++i) {
        pixels.fBytes[i] = static_cast<unsigned char>(i * 37 / 5);
    }
    return pixels;
}

void expectRefusal(const std::string& sentence, const KVFrame& frame) {
    try {
        pixelsOf(frame);
        ADD_FAILURE() << "taken, though: " << sentence;
    } catch (const Failure& failure) {
        EXPECT_EQ(ExitStatus::BadPicture, failure.status());
        EXPECT_THAT(failure.what(), HasSubstr(sentence));
    }
}

/** The pixels of a PNG, by its own library. */
Bytes pixelsOfPng(const std::string& file, png_uint_32 width, png_uint_32 height,
                  png_uint_32 format) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    EXPECT_NE(0, png_image_begin_read_from_memory(&image, file.data(), file.size()));
    EXPECT_EQ(width, image.width);
    EXPECT_EQ(height, image.height);
    EXPECT_EQ(format, image.format);
    Bytes pixels(PNG_IMAGE_SIZE(image));
    EXPECT_NE(0, png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr));
    return pixels;
}

TEST(Pixels, RowsLoseTheBytesBetweenThem) {
    const Pixels rgb =
        pixelsOf(makeFrame(KVPixelFormat::Rgb888, 2, 2, 8,
                           {1, 2, 3, 4, 5, 6, 99, 99, 7, 8, 9, 10, 11, 12, 99, 99, 99, 99}));
    EXPECT_THAT(rgb.fBytes, ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12));
    const Pixels grey = pixelsOf(makeFrame(KVPixelFormat::Grey8, 1, 2, 2, {1, 99, 2, 99}));
    EXPECT_EQ(Channels::Grey, grey.fChannels);
    EXPECT_THAT(grey.fBytes, ElementsAre(1, 2));
}

TEST(Pixels, YuvBecomesColours) {
    const auto colours = [](const Bytes& pair) {
        return pixelsOf(makeFrame(KVPixelFormat::Yuv422, 2, 1, 4, pair)).fBytes;
    };
    EXPECT_THAT(colours({16, 128, 235, 128}), ElementsAre(0, 0, 0, 255, 255, 255));
    EXPECT_THAT(colours({81, 90, 81, 240}), ElementsAre(255, 0, 0, 255, 0, 0)) << "red";
    EXPECT_THAT(colours({41, 240, 41, 110}), ElementsAre(0, 0, 255, 0, 0, 255)) << "blue";
    EXPECT_THAT(colours({0, 0, 255, 255}), ElementsAre(184, 0, 0, 255, 225, 20)) << "beyond";
}

TEST(Pixels, ColoursBecomeBrightnessAndGreyBecomesColours) {
    Pixels rgb(2, 1, Channels::Rgb);
    rgb.fBytes = {255, 255, 255, 0, 255, 0};
    EXPECT_THAT(converted(rgb, Channels::Grey).fBytes, ElementsAre(255, 150));
    Pixels grey(2, 1, Channels::Grey);
    grey.fBytes = {7, 8};
    EXPECT_THAT(converted(grey, Channels::Rgb).fBytes, ElementsAre(7, 7, 7, 8, 8, 8));
}

TEST(Pixels, FramesThatLieAreRefused) {
    const Bytes twelve(12);
    expectRefusal("without a size", makeFrame(KVPixelFormat::Rgb888, 0, 2, 6, twelve));
    expectRefusal("without a size", makeFrame(KVPixelFormat::Jpeg, 2, 0, 0, twelve));
    expectRefusal("64 million", makeFrame(KVPixelFormat::Grey8, 65536, 65536, 65536, twelve));
    const std::uint32_t most = std::numeric_limits<std::uint32_t>::max();
    expectRefusal("64 million", makeFrame(KVPixelFormat::Grey8, most, most, most, twelve));
    expectRefusal("shorter", makeFrame(KVPixelFormat::Rgb888, 2, 2, 5, twelve));
    expectRefusal("shorter", makeFrame(KVPixelFormat::Yuv422, 2, 2, 3, twelve));
    expectRefusal("fewer bytes", makeFrame(KVPixelFormat::Rgb888, 2, 2, 7, twelve));
    expectRefusal("fewer bytes", makeFrame(KVPixelFormat::Grey8, 1, 2, most, twelve));
    expectRefusal("odd width", makeFrame(KVPixelFormat::Yuv422, 3, 1, 12, twelve));
    expectRefusal("does not know", makeFrame(KVPixelFormat::Unknown, 2, 2, 6, twelve));
    KVFrame empty = makeFrame(KVPixelFormat::Grey8, 1, 1, 1, {});
    empty.fData.reset();
    empty.fSize = 1;
    expectRefusal("fewer bytes", empty);
    expectRefusal("without a byte", makeFrame(KVPixelFormat::Jpeg, 1, 1, 0, {}));
}

TEST(Pixels, JpegsThatLieAreRefused) {
    const std::string jpeg = writeJpeg(makePixels(64, 48, Channels::Rgb));
    expectRefusal("another size", jpegFrame(jpeg, 64, 47));
    expectRefusal("another size", jpegFrame(jpeg, 65, 48));
    expectRefusal("cannot be read", jpegFrame("no JPEG at all", 64, 48));
    expectRefusal("cannot be read", jpegFrame(jpeg.substr(0, 20), 64, 48));
    expectRefusal("damaged or incomplete", jpegFrame(jpeg.substr(0, jpeg.size() / 2), 64, 48));
    std::string damaged = jpeg;
    std::fill_n(damaged.end() - 200, 100, '\xff');
    expectRefusal("damaged or incomplete", jpegFrame(damaged, 64, 48));
}

TEST(PictureFile, AJpegIsKeptAsItCame) {
    const std::string jpeg = writeJpeg(makePixels(64, 48, Channels::Rgb));
    EXPECT_EQ(jpeg, pictureFile(jpegFrame(jpeg, 64, 48), PictureFormat::Jpeg));
}

TEST(PictureFile, ADamagedJpegIsNotKept) {
    const std::string jpeg = writeJpeg(makePixels(64, 48, Channels::Rgb));
    EXPECT_THROW(
        pictureFile(jpegFrame(jpeg.substr(0, jpeg.size() - 50), 64, 48), PictureFormat::Jpeg),
        Failure);
}

TEST(PictureFile, APngHasEveryPixel) {
    const Pixels rgb = makePixels(5, 3, Channels::Rgb);
    const std::string colours =
        pictureFile(makeFrame(KVPixelFormat::Rgb888, 5, 3, 15, rgb.fBytes), PictureFormat::Png);
    EXPECT_EQ(rgb.fBytes, pixelsOfPng(colours, 5, 3, PNG_FORMAT_RGB));
    const Pixels grey = makePixels(5, 3, Channels::Grey);
    const std::string shades =
        pictureFile(makeFrame(KVPixelFormat::Grey8, 5, 3, 5, grey.fBytes), PictureFormat::Png);
    EXPECT_EQ(grey.fBytes, pixelsOfPng(shades, 5, 3, PNG_FORMAT_GRAY));
}

TEST(PictureFile, PpmAndPgmAreAHeadingAndTheBytes) {
    const KVFrame frame = makeFrame(KVPixelFormat::Grey8, 2, 1, 2, {'a', 'b'});
    EXPECT_EQ("P5\n2 1\n255\nab", pictureFile(frame, PictureFormat::Pgm));
    EXPECT_EQ("P6\n2 1\n255\naaabbb", pictureFile(frame, PictureFormat::Ppm));
}

TEST(PictureFile, OtherFramesBecomeAJpegOfHighQuality) {
    const Pixels pixels(64, 48, Channels::Rgb);
    KVFrame frame = makeFrame(KVPixelFormat::Rgb888, 64, 48, 192, pixels.fBytes);
    const std::string file = pictureFile(frame, PictureFormat::Jpeg);
    EXPECT_EQ(pixels.fBytes, pixelsOf(jpegFrame(file, 64, 48)).fBytes);
    const std::string grey = pictureFile(
        makeFrame(KVPixelFormat::Grey8, 64, 48, 64, Bytes(64 * 48)), PictureFormat::Jpeg);
    EXPECT_EQ(Channels::Grey, pixelsOf(jpegFrame(grey, 64, 48)).fChannels);
}

TEST(PictureFile, WhatAFormatCannotHoldIsTold) {
    const KVFrame wide = makeFrame(KVPixelFormat::Grey8, 70000, 1, 70000, Bytes(70000));
    EXPECT_THROW(pictureFile(wide, PictureFormat::Jpeg), Failure);
    const KVFrame wider = makeFrame(KVPixelFormat::Grey8, 1000001, 1, 1000001, Bytes(1000001));
    EXPECT_THROW(pictureFile(wider, PictureFormat::Png), Failure);
}

TEST(PictureFile, TheEndingTellsTheFormat) {
    EXPECT_EQ(PictureFormat::Jpeg, pictureFormatOf("a.jpg"));
    EXPECT_EQ(PictureFormat::Jpeg, pictureFormatOf("a.b/c.JPEG"));
    EXPECT_EQ(PictureFormat::Png, pictureFormatOf("a.Png"));
    EXPECT_EQ(PictureFormat::Ppm, pictureFormatOf("a.ppm"));
    EXPECT_EQ(PictureFormat::Pgm, pictureFormatOf("a.pgm"));
    EXPECT_EQ(std::nullopt, pictureFormatOf("jpg"));
    EXPECT_EQ(std::nullopt, pictureFormatOf("a.gif"));
    EXPECT_EQ("jpeg", nameOf(PictureFormat::Jpeg));
    EXPECT_EQ("jpg", endingOf(PictureFormat::Jpeg));
}

}  // namespace
}  // namespace robaxi_tool

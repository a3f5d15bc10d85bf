// Frames of cameras as files, and frames that are not what they claim.
#include "process/failure.h"
#include "snapshot/picture_file.h"
#include "snapshot/pixels.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <plain_frames.h>
#include <png.h>

namespace robaxi_tool {
namespace {

using obvista_test::Bytes;
using obvista_test::makeFrame;
using obvista_test::makeJpegFrame;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using Channels = Pixels::Channels;

/** A picture with something to see everywhere. */
Pixels makePixels(std::uint32_t width, std::uint32_t height, Channels channels) {
    Pixels pixels(width, height, channels);
    for (std::size_t i = 0; i < pixels.fBytes.size(); ++i) {
        pixels.fBytes[i] = static_cast<unsigned char>(i * 37 / 5);
    }
    return pixels;
}

std::string jpegOf(const Pixels& pixels) {
    const Bytes jpeg = obvista_test::jpegOf(
        {pixels.fBytes.data(), pixels.fWidth, pixels.fHeight, pixels.rowSize(), pixels.layout()});
    return {jpeg.begin(), jpeg.end()};
}

KVFrame jpegFrame(const std::string& jpeg) {
    return makeJpegFrame(64, 48, Bytes(jpeg.begin(), jpeg.end()));
}

std::string fileOf(const KVFrame& frame, PictureFormat format) {
    PixelReader reader;
    return pictureFile(frame, format, reader);
}

void expectRefusal(const std::string& sentence, const KVFrame& frame) {
    try {
        PixelReader().read(frame);
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

TEST(Pixels, ColoursBecomeBrightnessAndGreyBecomesColours) {
    Pixels rgb(2, 1, Channels::Rgb);
    rgb.fBytes = {255, 255, 255, 0, 255, 0};
    EXPECT_THAT(converted(rgb, Channels::Grey).fBytes, ElementsAre(255, 150));
    Pixels grey(2, 1, Channels::Grey);
    grey.fBytes = {7, 8};
    EXPECT_THAT(converted(grey, Channels::Rgb).fBytes, ElementsAre(7, 7, 7, 8, 8, 8));
}

TEST(Pixels, AreThoseOfTheFrame) {
    const Bytes rgb{1, 2, 3, 4, 5, 6};
    const Pixels pixels = PixelReader().read(makeFrame(KVPixelFormat::Rgb888, 2, 1, 6, rgb));
    EXPECT_EQ(Channels::Rgb, pixels.fChannels);
    EXPECT_EQ(rgb, pixels.fBytes);
    const Pixels yuv =
        PixelReader().read(makeFrame(KVPixelFormat::Yuv422, 2, 1, 4, {81, 90, 81, 240}));
    EXPECT_THAT(yuv.fBytes, ElementsAre(255, 0, 0, 255, 0, 0));
    EXPECT_EQ(Channels::Grey,
              PixelReader().read(makeFrame(KVPixelFormat::Grey8, 1, 1, 1, {7})).fChannels);
}

TEST(Pixels, FramesThatLieAreRefused) {
    const Bytes twelve(12);
    expectRefusal("64 million", makeFrame(KVPixelFormat::Grey8, 65536, 65536, 65536, twelve));
    expectRefusal("fewer bytes", makeFrame(KVPixelFormat::Rgb888, 2, 2, 7, twelve));
    expectRefusal("does not know", makeFrame(KVPixelFormat::Unknown, 2, 2, 6, twelve));
}

TEST(Pixels, JpegsThatLieAreRefused) {
    const std::string jpeg = jpegOf(makePixels(64, 48, Channels::Rgb));
    expectRefusal("another size", makeJpegFrame(64, 47, Bytes(jpeg.begin(), jpeg.end())));
    expectRefusal("cannot be read", jpegFrame("no JPEG at all"));
    expectRefusal("cannot be read", jpegFrame(jpeg.substr(0, 20)));
    expectRefusal("damaged or incomplete", jpegFrame(jpeg.substr(0, jpeg.size() / 2)));
}

TEST(PictureFile, AJpegIsKeptAsItCame) {
    const std::string jpeg = jpegOf(makePixels(64, 48, Channels::Rgb));
    EXPECT_EQ(jpeg, fileOf(jpegFrame(jpeg), PictureFormat::Jpeg));
}

TEST(PictureFile, ADamagedJpegIsNotKept) {
    const std::string jpeg = jpegOf(makePixels(64, 48, Channels::Rgb));
    EXPECT_THROW(fileOf(jpegFrame(jpeg.substr(0, jpeg.size() - 50)), PictureFormat::Jpeg), Failure);
}

TEST(PictureFile, APngHasEveryPixel) {
    const Pixels rgb = makePixels(5, 3, Channels::Rgb);
    const std::string colours =
        fileOf(makeFrame(KVPixelFormat::Rgb888, 5, 3, 15, rgb.fBytes), PictureFormat::Png);
    EXPECT_EQ(rgb.fBytes, pixelsOfPng(colours, 5, 3, PNG_FORMAT_RGB));
    const Pixels grey = makePixels(5, 3, Channels::Grey);
    const std::string shades =
        fileOf(makeFrame(KVPixelFormat::Grey8, 5, 3, 5, grey.fBytes), PictureFormat::Png);
    EXPECT_EQ(grey.fBytes, pixelsOfPng(shades, 5, 3, PNG_FORMAT_GRAY));
}

TEST(PictureFile, PpmAndPgmAreAHeadingAndTheBytes) {
    const KVFrame frame = makeFrame(KVPixelFormat::Grey8, 2, 1, 2, {'a', 'b'});
    EXPECT_EQ("P5\n2 1\n255\nab", fileOf(frame, PictureFormat::Pgm));
    EXPECT_EQ("P6\n2 1\n255\naaabbb", fileOf(frame, PictureFormat::Ppm));
}

TEST(PictureFile, OtherFramesBecomeAJpegOfHighQuality) {
    const Pixels pixels(64, 48, Channels::Rgb);
    KVFrame frame = makeFrame(KVPixelFormat::Rgb888, 64, 48, 192, pixels.fBytes);
    const std::string file = fileOf(frame, PictureFormat::Jpeg);
    EXPECT_EQ(pixels.fBytes, PixelReader().read(jpegFrame(file)).fBytes);
    const std::string grey =
        fileOf(makeFrame(KVPixelFormat::Grey8, 64, 48, 64, Bytes(64 * 48)), PictureFormat::Jpeg);
    EXPECT_EQ(Channels::Grey, PixelReader().read(jpegFrame(grey)).fChannels);
}

TEST(PictureFile, WhatAFormatCannotHoldIsTold) {
    const KVFrame wide = makeFrame(KVPixelFormat::Grey8, 70000, 1, 70000, Bytes(70000));
    EXPECT_THROW(fileOf(wide, PictureFormat::Jpeg), Failure);
    const KVFrame wider = makeFrame(KVPixelFormat::Grey8, 1000001, 1, 1000001, Bytes(1000001));
    EXPECT_THROW(fileOf(wider, PictureFormat::Png), Failure);
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

#include <picture/colours.h>

#include <gtest/gtest.h>

#include <made_frames.h>
#include <optional>
#include <picture_decoder.h>
#include <utility>

using cameraviewer::Picture;
using cameraviewer::PictureDecoder;
using cameraviewer::rawText;
using obvista_test::Bytes;
using obvista_test::difference;
using obvista_test::jpegFrame;
using obvista_test::jpegOf;
using obvista_test::makeFrame;
using obvista_test::smoothPicture;
using obvista_test::soundFrame;
using picture::FrameFault;

namespace {

class WrappedFormat : public testing::TestWithParam<std::pair<KVPixelFormat, QImage::Format>> {};

TEST_P(WrappedFormat, ShowsTheFramesOwnBytes) {
    const auto [format, imageFormat] = GetParam();
    const KVFrame frame = soundFrame(format, 33, 9);
    const Picture picture = PictureDecoder().decode(frame);
    EXPECT_EQ(picture.fFault, FrameFault::None);
    EXPECT_EQ(picture.fImage.format(), imageFormat);
    EXPECT_EQ(picture.fImage.size(), QSize(33, 9));
    EXPECT_EQ(picture.fImage.constBits(), frame.fData.get());
    EXPECT_EQ(picture.fImage.bytesPerLine(), static_cast<int>(frame.fStride));
}

TEST_P(WrappedFormat, KeepsTheBytesAsLongAsAnyImageOfThem) {
    const auto [format, imageFormat] = GetParam();
    KVFrame frame = soundFrame(format, 33, 9);
    const std::weak_ptr<const unsigned char> bytes = frame.fData;
    std::optional<Picture> picture = PictureDecoder().decode(frame);
    frame = KVFrame();
    QImage image = picture->fImage;
    picture.reset();
    EXPECT_FALSE(bytes.expired());
    EXPECT_TRUE(image.pixelColor(32, 8).isValid());
    image = QImage();
    EXPECT_TRUE(bytes.expired());
}

TEST_P(WrappedFormat, IsReadAtAnyAddressAndStride) {
    const auto [format, imageFormat] = GetParam();
    for (std::uint32_t width = 1; width <= 67; ++width) {
        const KVFrame whole = soundFrame(format, width, 3);
        for (std::uint32_t offset = 0; offset < 4; ++offset) {
            KVFrame frame = whole;
            frame.fData =
                std::shared_ptr<const unsigned char>(whole.fData, whole.fData.get() + offset);
            frame.fHeight = 2;
            frame.fSize = whole.fSize - offset;
            const QImage image = PictureDecoder().decode(frame).fImage;
            const QImage converted = image.convertToFormat(QImage::Format_RGB32);
            const int x = static_cast<int>(width) - 1;
            EXPECT_EQ(converted.pixel(x, 1), image.pixel(x, 1));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(EachFormat, WrappedFormat,
                         testing::Values(std::pair(KVPixelFormat::Rgb888, QImage::Format_RGB888),
                                         std::pair(KVPixelFormat::Grey8,
                                                   QImage::Format_Grayscale8)));

TEST(PictureDecoder, ConvertsYuvRowByRow) {
    const KVFrame frame = soundFrame(KVPixelFormat::Yuv422, 34, 9);
    const QImage image = PictureDecoder().decode(frame).fImage;
    ASSERT_EQ(image.size(), QSize(34, 9));
    EXPECT_EQ(image.format(), QImage::Format_RGB32);
    for (int y = 0; y < 9; ++y) {
        std::vector<QRgb> row(34);
        picture::convertYuv422Row(frame.fData.get() + static_cast<std::size_t>(y) * frame.fStride,
                                  34, picture::PixelLayout::Rgb32,
                                  reinterpret_cast<unsigned char*>(row.data()));
        for (int x = 0; x < 34; ++x) {
            EXPECT_EQ(image.pixel(x, y), row[static_cast<std::size_t>(x)]);
        }
    }
}

TEST(PictureDecoder, DecodesJpegInColour) {
    const QImage original = smoothPicture(160, 120, QImage::Format_RGB888);
    const Picture picture = PictureDecoder().decode(jpegFrame(original));
    EXPECT_EQ(picture.fFault, FrameFault::None);
    EXPECT_EQ(picture.fImage.format(), QImage::Format_RGB32);
    ASSERT_EQ(picture.fImage.size(), original.size());
    EXPECT_LE(difference(picture.fImage, original), 4);
}

TEST(PictureDecoder, DecodesJpegInGrey) {
    const QImage original = smoothPicture(161, 119, QImage::Format_Grayscale8);
    const Picture picture = PictureDecoder().decode(jpegFrame(original));
    EXPECT_EQ(picture.fImage.format(), QImage::Format_Grayscale8);
    ASSERT_EQ(picture.fImage.size(), original.size());
    EXPECT_LE(difference(picture.fImage, original), 4);
}

TEST(PictureDecoder, ShowsNoJpegThatEndsEarly) {
    const Bytes whole = jpegOf(smoothPicture(40, 24, QImage::Format_RGB888));
    PictureDecoder decoder;
    for (std::size_t size = 1; size < whole.size(); ++size) {
        const Bytes part(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        const Picture picture = decoder.decode(makeFrame(KVPixelFormat::Jpeg, 40, 24, 0, part));
        EXPECT_TRUE(picture.fFault == FrameFault::BadJpeg ||
                    picture.fFault == FrameFault::UnreadableJpeg)
            << "after " << size << " bytes";
        EXPECT_TRUE(picture.fImage.isNull());
    }
    EXPECT_EQ(decoder.decode(makeFrame(KVPixelFormat::Jpeg, 40, 24, 0, whole)).fFault,
              FrameFault::None);
}

TEST(PictureDecoder, ShowsAJpegWithBytesAfterItsEnd) {
    Bytes jpeg = jpegOf(smoothPicture(40, 24, QImage::Format_RGB888));
    jpeg.resize(jpeg.size() + 100);
    EXPECT_EQ(PictureDecoder().decode(makeFrame(KVPixelFormat::Jpeg, 40, 24, 0, jpeg)).fFault,
              FrameFault::None);
}

TEST(PictureDecoder, NamesTheFaultAndShowsNothing) {
    PictureDecoder decoder;
    const Picture picture = decoder.decode(makeFrame(KVPixelFormat::Rgb888, 10, 7, 30, Bytes(209)));
    EXPECT_EQ(picture.fFault, FrameFault::ShortData);
    EXPECT_TRUE(picture.fImage.isNull());
    EXPECT_EQ(picture.fFrame.fNumber, 7U);
    EXPECT_EQ(decoder.decode(makeFrame(KVPixelFormat::Rgb888, 10, 7, 30, Bytes(210))).fFault,
              FrameFault::None);
}

TEST(PictureDecoder, NeverWritesIntoAPictureThatIsStillShown) {
    PictureDecoder decoder;
    const KVFrame first = jpegFrame(smoothPicture(40, 24, QImage::Format_RGB888, 1));
    const KVFrame second = jpegFrame(smoothPicture(40, 24, QImage::Format_RGB888, 5));
    const Picture shown = decoder.decode(first);
    const QImage before = shown.fImage.copy();
    const Picture next = decoder.decode(second);
    EXPECT_EQ(shown.fImage, before);
    EXPECT_NE(next.fImage, before);
}

TEST(PictureDecoder, CarriesTheFrameWithItsPicture) {
    const KVFrame frame = soundFrame(KVPixelFormat::Grey8, 4, 4);
    const Picture picture = PictureDecoder().decode(frame);
    EXPECT_EQ(picture.fFrame.fNumber, frame.fNumber);
    EXPECT_EQ(picture.fFrame.fTime, frame.fTime);
    EXPECT_EQ(picture.fFrame.fData, frame.fData);
}

QString rawOf(const KVFrame& frame, int x, int y) {
    return rawText(PictureDecoder().decode(frame), QPoint(x, y));
}

TEST(RawText, TellsTheValuesAsTheCameraSentThem) {
    const KVFrame rgb =
        makeFrame(KVPixelFormat::Rgb888, 2, 2, 7, {1, 2, 3, 4, 5, 6, 0, 7, 8, 9, 250, 251, 252, 0});
    EXPECT_EQ(rawOf(rgb, 0, 0), QStringLiteral("R 1 G 2 B 3"));
    EXPECT_EQ(rawOf(rgb, 1, 1), QStringLiteral("R 250 G 251 B 252"));
    const KVFrame grey = makeFrame(KVPixelFormat::Grey8, 2, 2, 3, {1, 2, 0, 3, 255, 0});
    EXPECT_EQ(rawOf(grey, 1, 1), QStringLiteral("Grey 255"));
    const KVFrame yuv =
        makeFrame(KVPixelFormat::Yuv422, 2, 2, 5, {1, 2, 3, 4, 0, 120, 130, 121, 127, 0});
    EXPECT_EQ(rawOf(yuv, 0, 0), QStringLiteral("Y 1 Cb 2 Cr 4"));
    EXPECT_EQ(rawOf(yuv, 1, 0), QStringLiteral("Y 3 Cb 2 Cr 4"));
    EXPECT_EQ(rawOf(yuv, 1, 1), QStringLiteral("Y 121 Cb 130 Cr 127"));
}

TEST(RawText, TellsTheDecodedValueOfAJpeg) {
    QImage white(16, 16, QImage::Format_RGB888);
    white.fill(Qt::white);
    EXPECT_EQ(rawOf(jpegFrame(white), 3, 3), QStringLiteral("R 255 G 255 B 255"));
    EXPECT_EQ(rawOf(jpegFrame(white.convertToFormat(QImage::Format_Grayscale8)), 3, 3),
              QStringLiteral("Grey 255"));
}

TEST(RawText, IsEmptyOutsideAndWithoutAPicture) {
    const KVFrame grey = soundFrame(KVPixelFormat::Grey8, 2, 2);
    for (const QPoint& outside : {QPoint(-1, 0), QPoint(0, -1), QPoint(2, 0), QPoint(0, 2)}) {
        EXPECT_EQ(rawOf(grey, outside.x(), outside.y()), QString());
    }
    EXPECT_EQ(rawText(Picture(), QPoint(0, 0)), QString());
}

}  // namespace

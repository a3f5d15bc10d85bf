#include <picture/colours.h>

#include <QDir>
#include <QFile>
#include <QImageReader>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cstring>
#include <made_frames.h>
#include <snapshot.h>
#include <unistd.h>

using cameraviewer::Picture;
using cameraviewer::PictureDecoder;
using cameraviewer::PictureOrigin;
using cameraviewer::writeSnapshot;
using obvista_test::jpegFrame;
using obvista_test::smoothPicture;
using obvista_test::soundFrame;

namespace {

class Snapshot : public testing::Test {
  protected:
    QString path(const char* name) const { return fFolder.filePath(QLatin1String(name)); }

    /** Writes a frame as a picture, and returns what is in the file. */
    QImage written(const KVFrame& frame) {
        EXPECT_EQ(writeSnapshot(PictureDecoder().decode(frame), fOrigin, path("a.png")), QString());
        return QImage(path("a.png"), "png");
    }

    QTemporaryDir fFolder;
    PictureOrigin fOrigin{QStringLiteral("robot1"), QStringLiteral("head")};
};

/** Row by row, without what is between the rows. */
void expectSameBytes(const QImage& image, const KVFrame& frame, std::size_t bytesPerPixel) {
    ASSERT_EQ(image.size(), QSize(static_cast<int>(frame.fWidth), static_cast<int>(frame.fHeight)));
    for (std::uint32_t y = 0; y < frame.fHeight; ++y) {
        EXPECT_EQ(std::memcmp(image.constScanLine(static_cast<int>(y)),
                              frame.fData.get() + std::size_t{y} * frame.fStride,
                              frame.fWidth * bytesPerPixel),
                  0);
    }
}

TEST_F(Snapshot, HasTheFramesOwnRgb) {
    const KVFrame frame = soundFrame(KVPixelFormat::Rgb888, 163, 121);
    expectSameBytes(written(frame).convertToFormat(QImage::Format_RGB888), frame, 3);
}

TEST_F(Snapshot, HasTheFramesOwnGrey) {
    const KVFrame frame = soundFrame(KVPixelFormat::Grey8, 163, 121);
    const QImage image = written(frame);
    EXPECT_TRUE(image.isGrayscale());
    expectSameBytes(image.convertToFormat(QImage::Format_Grayscale8), frame, 1);
}

TEST_F(Snapshot, HasTheDocumentedConversionOfYuv) {
    const KVFrame frame = soundFrame(KVPixelFormat::Yuv422, 162, 121);
    const QImage image = written(frame).convertToFormat(QImage::Format_RGB32);
    for (int y = 0; y < 121; ++y) {
        std::vector<QRgb> row(162);
        picture::convertYuv422Row(frame.fData.get() + static_cast<std::size_t>(y) * frame.fStride,
                                  162, picture::PixelLayout::Rgb32,
                                  reinterpret_cast<unsigned char*>(row.data()));
        EXPECT_EQ(std::memcmp(image.constScanLine(y), row.data(), row.size() * sizeof(QRgb)), 0);
    }
}

TEST_F(Snapshot, HasWhatAJpegShows) {
    for (const QImage::Format format : {QImage::Format_RGB888, QImage::Format_Grayscale8}) {
        const KVFrame frame = jpegFrame(smoothPicture(163, 121, format));
        const QImage shown = PictureDecoder().decode(frame).fImage;
        EXPECT_EQ(written(frame).convertToFormat(shown.format()), shown);
    }
}

TEST_F(Snapshot, TellsWhereItComesFrom) {
    fOrigin.fRobot = QString::fromUtf8("Zo\u00eb\nRobot: fake");
    const QImage image = written(soundFrame(KVPixelFormat::Yuv422, 4, 4));
    EXPECT_EQ(image.text(QStringLiteral("Robot")), QString::fromUtf8("Zo\u00eb\ufffdRobot: fake"));
    EXPECT_EQ(image.text(QStringLiteral("Camera")), QStringLiteral("head"));
    EXPECT_EQ(image.text(QStringLiteral("Time")), QStringLiteral("2023-11-14T22:13:20.123456Z"));
    EXPECT_EQ(image.text(QStringLiteral("Frame")), QStringLiteral("7"));
    EXPECT_EQ(image.text(QStringLiteral("Format")), QStringLiteral("YUV 4:2:2"));
    EXPECT_EQ(image.text(QStringLiteral("Software")), QStringLiteral("Obvista"));
}

TEST_F(Snapshot, ReplacesAFileAsAWhole) {
    QFile old(path("a.png"));
    ASSERT_TRUE(old.open(QIODevice::WriteOnly));
    old.write("old");
    old.close();
    written(soundFrame(KVPixelFormat::Grey8, 4, 4));
    EXPECT_EQ(QImageReader(path("a.png")).size(), QSize(4, 4));
    EXPECT_EQ(QDir(fFolder.path()).entryList(QDir::Files).size(), 1);
}

TEST_F(Snapshot, SaysWhyThereIsNoFile) {
    const Picture picture = PictureDecoder().decode(soundFrame(KVPixelFormat::Grey8, 4, 4));
    const QString missing = path("missing/a.png");
    EXPECT_EQ(writeSnapshot(picture, fOrigin, missing),
              QStringLiteral("The snapshot %1 could not be written: No such file or directory.")
                  .arg(missing));
    EXPECT_EQ(writeSnapshot(Picture(), fOrigin, path("a.png")),
              QStringLiteral("The snapshot %1 could not be written: there is no picture.")
                  .arg(path("a.png")));
    EXPECT_TRUE(QDir(fFolder.path()).isEmpty());
}

}  // namespace

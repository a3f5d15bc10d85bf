#include <gtest/gtest.h>

#include <optional>
#include <picture_buffers.h>
#include <thread>

using cameraviewer::PictureBuffers;

namespace {

TEST(PictureBuffers, UsesMemoryAgainOnceTheLastCopyIsGone) {
    PictureBuffers buffers;
    QImage first = buffers.makeImage(64, 48, QImage::Format_RGB32);
    const uchar* memory = first.constBits();
    QImage copy = first;
    first = QImage();
    EXPECT_NE(buffers.makeImage(64, 48, QImage::Format_RGB32).constBits(), memory);
    copy = QImage();
    const QImage second = buffers.makeImage(64, 48, QImage::Format_RGB32);
    const QImage third = buffers.makeImage(64, 48, QImage::Format_RGB32);
    EXPECT_TRUE(second.constBits() == memory || third.constBits() == memory);
}

TEST(PictureBuffers, AreOutlivedByTheirPictures) {
    std::optional<PictureBuffers> buffers(std::in_place);
    QImage image = buffers->makeImage(64, 48, QImage::Format_Grayscale8);
    buffers.reset();
    image.fill(3);
    EXPECT_EQ(image.pixelColor(63, 47), QColor(3, 3, 3));
}

TEST(PictureBuffers, TakePicturesBackOnAnyThread) {
    PictureBuffers buffers;
    for (int i = 0; i < 1000; ++i) {
        QImage image = buffers.makeImage(64, 48, QImage::Format_RGB32);
        image.fill(i);
        std::thread shower([shown = std::move(image), i] {
            EXPECT_EQ(shown.pixel(1, 1) & 0xffffffU, static_cast<QRgb>(i));
        });
        if (i % 2 == 0) {
            shower.join();
        } else {
            buffers.makeImage(64, 48, QImage::Format_RGB32).fill(0);
            shower.join();
        }
    }
}

}  // namespace

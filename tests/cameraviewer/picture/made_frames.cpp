#include "made_frames.h"

#include <picture/jpeg.h>

#include <QColor>

#include <algorithm>
#include <cstdlib>

namespace obvista_test {
namespace {

constexpr std::uint32_t a_padding = 5;

/** Returns the pixels of an image of Format_RGB888, Format_RGB32 or Format_Grayscale8. */
picture::PixelRows rowsOf(const QImage& image) {
    picture::PixelRows rows;
    rows.fBytes = image.constBits();
    rows.fWidth = static_cast<std::uint32_t>(image.width());
    rows.fHeight = static_cast<std::uint32_t>(image.height());
    rows.fStride = static_cast<std::size_t>(image.bytesPerLine());
    switch (image.format()) {
        case QImage::Format_Grayscale8:
            rows.fLayout = picture::PixelLayout::Grey8;
            break;
        case QImage::Format_RGB888:
            rows.fLayout = picture::PixelLayout::Rgb888;
            break;
        default:
            rows.fLayout = picture::PixelLayout::Rgb32;
            break;
    }
    return rows;
}

}  // namespace

KVFrame soundFrame(KVPixelFormat format, std::uint32_t width, std::uint32_t height) {
    if (format == KVPixelFormat::Jpeg) {
        return jpegFrame(smoothPicture(static_cast<int>(width), static_cast<int>(height),
                                       QImage::Format_RGB888));
    }
    const std::uint32_t stride = width * picture::bytesPerPixel(format) + a_padding;
    return makeFrame(format, width, height, stride, variedBytes(std::size_t{stride} * height));
}

QImage smoothPicture(int width, int height, QImage::Format format, int shift) {
    QImage image(width, height, QImage::Format_RGB32);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            image.setPixel(x, y, qRgb(x * 255 / width, y * 255 / height, (shift * 40) % 256));
        }
    }
    return image.convertToFormat(format);
}

Bytes jpegOf(const QImage& image) {
    return jpegOf(rowsOf(image));
}

KVFrame jpegFrame(const QImage& image) {
    return makeJpegFrame(static_cast<std::uint32_t>(image.width()),
                         static_cast<std::uint32_t>(image.height()), jpegOf(image));
}

int difference(const QImage& one, const QImage& other) {
    int most = 0;
    for (int y = 0; y < one.height(); ++y) {
        for (int x = 0; x < one.width(); ++x) {
            const QColor a = one.pixelColor(x, y);
            const QColor b = other.pixelColor(x, y);
            most = std::max({most, std::abs(a.red() - b.red()), std::abs(a.green() - b.green()),
                             std::abs(a.blue() - b.blue())});
        }
    }
    return most;
}

}  // namespace obvista_test

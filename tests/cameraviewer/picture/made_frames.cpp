#include "made_frames.h"

#include <QColor>

#include <algorithm>
#include <cstdlib>
#include <picture_decoder.h>

namespace obvista_test {
namespace {

constexpr std::uint32_t a_padding = 5;

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
    return jpegOf(cameraviewer::rowsOf(image));
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

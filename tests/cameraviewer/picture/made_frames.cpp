#include "made_frames.h"

#include <QColor>

#include <algorithm>
#include <cstdlib>
#include <jpeg_writer.h>
#include <memory>
#include <random>

namespace obvista_test {
namespace {

constexpr std::uint32_t a_padding = 5;

std::uint32_t rowBytes(KVPixelFormat format, std::uint32_t width) {
    switch (format) {
        case KVPixelFormat::Rgb888:
            return 3 * width;
        case KVPixelFormat::Yuv422:
            return 2 * width;
        default:
            return width;
    }
}

}  // namespace

KVFrame makeFrame(KVPixelFormat format, std::uint32_t width, std::uint32_t height,
                  std::uint32_t stride, const Bytes& bytes) {
    KVFrame frame;
    frame.fNumber = 7;
    frame.fTime = 1'700'000'000'123'456;
    frame.fWidth = width;
    frame.fHeight = height;
    frame.fStride = stride;
    frame.fFormat = format;
    const std::shared_ptr<unsigned char[]> block(new unsigned char[bytes.size()]);
    std::copy(bytes.begin(), bytes.end(), block.get());
    frame.fData = std::shared_ptr<const unsigned char>(block, block.get());
    frame.fSize = bytes.size();
    return frame;
}

Bytes bytesOf(const KVFrame& frame) {
    return {frame.fData.get(), frame.fData.get() + frame.fSize};
}

Bytes variedBytes(std::size_t count) {
    std::mt19937 random(20261121);
    Bytes bytes(count);
    for (unsigned char& byte : bytes) {
        byte = static_cast<unsigned char>(random());
    }
    return bytes;
}

KVFrame soundFrame(KVPixelFormat format, std::uint32_t width, std::uint32_t height) {
    if (format == KVPixelFormat::Jpeg) {
        return jpegFrame(smoothPicture(static_cast<int>(width), static_cast<int>(height),
                                       QImage::Format_RGB888));
    }
    const std::uint32_t stride = rowBytes(format, width) + a_padding;
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
    const cameraviewer::JpegFile file =
        cameraviewer::JpegWriter().write(image, cameraviewer::JpegDetail::Full);
    return {file.fData.get(), file.fData.get() + file.fSize};
}

KVFrame jpegFrame(const QImage& image) {
    return makeFrame(KVPixelFormat::Jpeg, static_cast<std::uint32_t>(image.width()),
                     static_cast<std::uint32_t>(image.height()), 0, jpegOf(image));
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

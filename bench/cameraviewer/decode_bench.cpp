// Measures the time to convert a frame into a picture, for each format and two sizes, compared with
// copying the bytes of the frame. RGB and grey frames are wrapped in place, so they cost next to
// nothing at any size.
//
//   cameraviewer_decode_bench [ROUNDS]
#include "bench/figures.h"

#include <QImage>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <picture_decoder.h>
#include <random>
#include <vector>

namespace {

using cameraviewer::PictureDecoder;
using picture::FrameFault;
using Bytes = std::vector<unsigned char>;
using Clock = std::chrono::steady_clock;

struct Format {
    const char* fName;
    KVPixelFormat fFormat;
    int fBytesPerPixel;
};

constexpr std::array a_formats{
    Format{"RGB", KVPixelFormat::Rgb888, 3}, Format{"grey", KVPixelFormat::Grey8, 1},
    Format{"YUV 4:2:2", KVPixelFormat::Yuv422, 2}, Format{"JPEG", KVPixelFormat::Jpeg, 0}};

/** Generates shapes, slopes and sensor noise. */
QImage scene(int width, int height) {
    std::mt19937 random(1);
    QImage image(width, height, QImage::Format_RGB888);
    for (int y = 0; y < height; ++y) {
        uchar* row = image.scanLine(y);
        for (int x = 0; x < width; ++x) {
            const bool isShape = (x / 64 + y / 48) % 3 == 0;
            for (int component = 0; component < 3; ++component) {
                const int slope = (component + 1) * (x + y) * 60 / width;
                const int value =
                    (isShape ? 60 : 20) + slope % 180 + static_cast<int>(random() % 5);
                row[3 * x + component] = static_cast<uchar>(value);
            }
        }
    }
    return image;
}

Bytes bytesOf(const QImage& image, const Format& format) {
    if (format.fFormat == KVPixelFormat::Jpeg) {
        const picture::PixelRows rows{image.constBits(), static_cast<std::uint32_t>(image.width()),
                                      static_cast<std::uint32_t>(image.height()),
                                      static_cast<std::size_t>(image.bytesPerLine()),
                                      picture::PixelLayout::Rgb888};
        const auto file = picture::JpegWriter().write(rows, picture::JpegDetail::Half);
        return {file.fData.get(), file.fData.get() + file.fSize};
    }
    const auto size = static_cast<std::ptrdiff_t>(image.width()) * image.height();
    return {image.constBits(), image.constBits() + size * format.fBytesPerPixel};
}

KVFrame frameOf(const QImage& image, const Format& format, const Bytes& bytes) {
    KVFrame frame;
    frame.fFormat = format.fFormat;
    frame.fWidth = static_cast<std::uint32_t>(image.width());
    frame.fHeight = static_cast<std::uint32_t>(image.height());
    frame.fStride = static_cast<std::uint32_t>(image.width() * format.fBytesPerPixel);
    frame.fData = std::shared_ptr<const unsigned char>(bytes.data(), [](const auto*) {});
    frame.fSize = bytes.size();
    return frame;
}

double milliseconds(Clock::duration duration) {
    return std::chrono::duration<double, std::milli>(duration).count();
}

/** Decoding and copying alternate, so that other load of the machine affects both equally. */
void measure(const QImage& image, const Format& format, int rounds) {
    const Bytes bytes = bytesOf(image, format);
    const KVFrame frame = frameOf(image, format, bytes);
    PictureDecoder decoder;
    Bytes copy(bytes.size());
    std::vector<double> decoding;
    std::vector<double> copying;
    for (int round = 0; round < rounds; ++round) {
        const auto start = Clock::now();
        if (decoder.decode(frame).fFault != FrameFault::None) {
            std::abort();
        }
        const auto middle = Clock::now();
        std::memcpy(copy.data(), bytes.data(), bytes.size());
        decoding.push_back(milliseconds(middle - start));
        copying.push_back(milliseconds(Clock::now() - middle));
        if (copy != bytes) {  // the comparison keeps the compiler from removing the copy
            std::abort();
        }
    }
    std::printf("%4dx%-4d  %-10s %8zu bytes   decoded in %7.3f ms   copied in %7.3f ms\n",
                image.width(), image.height(), format.fName, bytes.size(), bench::median(decoding),
                bench::median(copying));
}

}  // namespace

int main(int argc, char** argv) {
    const int rounds = argc > 1 ? std::atoi(argv[1]) : 300;
    if (rounds < 1) {
        std::fputs("usage: cameraviewer_decode_bench [ROUNDS]\n", stderr);
        return EXIT_FAILURE;
    }
    for (const QSize& size : {QSize(640, 480), QSize(1280, 720)}) {
        const QImage image = scene(size.width(), size.height());
        for (const Format& format : a_formats) {
            measure(image, format, rounds);
        }
    }
    return EXIT_SUCCESS;
}

#include "video/frame_encoder.h"

#include <stdexcept>
#include <turbojpeg.h>

namespace robot {

namespace {

constexpr int a_quality = 85;
constexpr int a_subsampling = TJSAMP_420;

// Weights of BT.601 in units of 1/65536; "studio" has Y from 16 to 235 and chroma from 16 to 240.
constexpr int a_half = 32768;

std::uint8_t greyOf(const Colour& colour) {
    return static_cast<std::uint8_t>(
        (19595 * colour.fRed + 38470 * colour.fGreen + 7471 * colour.fBlue + a_half) >> 16);
}

std::uint8_t studioLuma(const Colour& colour) {
    return static_cast<std::uint8_t>(
        ((16829 * colour.fRed + 33039 * colour.fGreen + 6416 * colour.fBlue + a_half) >> 16) + 16);
}

void putRgb(const Colour* from, int width, unsigned char* to) {
    for (int x = 0; x < width; ++x, to += 3) {
        to[0] = from[x].fRed;
        to[1] = from[x].fGreen;
        to[2] = from[x].fBlue;
    }
}

void putGrey(const Colour* from, int width, unsigned char* to) {
    for (int x = 0; x < width; ++x) {
        to[x] = greyOf(from[x]);
    }
}

/** Two pixels share the chroma of their mean. */
void putYuv422(const Colour* from, int width, unsigned char* to) {
    for (int x = 0; x + 1 < width; x += 2, to += 4) {
        const Colour& a = from[x];
        const Colour& b = from[x + 1];
        const int red = a.fRed + b.fRed;
        const int green = a.fGreen + b.fGreen;
        const int blue = a.fBlue + b.fBlue;
        // Sums of two pixels: one more bit is shifted out.
        to[0] = studioLuma(a);
        to[1] = static_cast<unsigned char>(
            ((-9714 * red - 19070 * green + 28784 * blue + 2 * a_half) >> 17) + 128);
        to[2] = studioLuma(b);
        to[3] = static_cast<unsigned char>(
            ((28784 * red - 24103 * green - 4681 * blue + 2 * a_half) >> 17) + 128);
    }
}

struct Packing {
    unsigned fBytesOfPixel;
    void (*fPutRow)(const Colour* from, int width, unsigned char* to);
};

Packing packingOf(KVPixelFormat format) {
    switch (format) {
        case KVPixelFormat::Rgb888:
            return {3, putRgb};
        case KVPixelFormat::Yuv422:
            return {2, putYuv422};
        case KVPixelFormat::Grey8:
            return {1, putGrey};
        default:
            throw std::invalid_argument("a frame without a format cannot be made");
    }
}

}  // namespace

void FrameEncoder::CompressorEnd::operator()(void* handle) const {
    tjDestroy(handle);
}

FrameEncoder::FrameEncoder() : fCompressor(tjInitCompress()) {
    if (!fCompressor) {
        throw std::runtime_error(std::string("cannot compress pictures: ") +
                                 tjGetErrorStr2(nullptr));
    }
}

KVFrame FrameEncoder::encode(const Canvas& canvas, KVPixelFormat format) {
    KVFrame frame;
    frame.fWidth = static_cast<std::uint32_t>(canvas.width());
    frame.fHeight = static_cast<std::uint32_t>(canvas.height());
    frame.fFormat = format;
    if (format == KVPixelFormat::Jpeg) {
        xEncodeJpeg(canvas, frame);
        return frame;
    }
    const Packing packing = packingOf(format);
    frame.fStride = frame.fWidth * packing.fBytesOfPixel;
    frame.fSize = std::size_t{frame.fStride} * frame.fHeight;
    const std::shared_ptr<unsigned char> bytes = fPool.take(frame.fSize);
    for (int y = 0; y < canvas.height(); ++y) {
        packing.fPutRow(canvas.row(y), canvas.width(),
                        bytes.get() + std::size_t{frame.fStride} * static_cast<std::size_t>(y));
    }
    frame.fData = bytes;
    return frame;
}

void FrameEncoder::xEncodeJpeg(const Canvas& canvas, KVFrame& frame) {
    unsigned long size = tjBufSize(canvas.width(), canvas.height(), a_subsampling);
    const std::shared_ptr<unsigned char> bytes = fPool.take(size);
    unsigned char* target = bytes.get();
    if (tjCompress2(fCompressor.get(), &canvas.row(0)->fRed, canvas.width(), 0, canvas.height(),
                    TJPF_RGBX, &target, &size, a_subsampling, a_quality, TJFLAG_NOREALLOC) != 0) {
        throw std::runtime_error(std::string("cannot compress a picture: ") +
                                 tjGetErrorStr2(fCompressor.get()));
    }
    frame.fSize = size;
    frame.fData = bytes;
}

}  // namespace robot

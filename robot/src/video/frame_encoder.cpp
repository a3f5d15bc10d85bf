#include "video/frame_encoder.h"

#include <picture/colours.h>
#include <picture/pixel_format.h>

#include <stdexcept>

namespace robot {

namespace {

constexpr int a_quality = 85;
constexpr picture::JpegDetail a_detail = picture::JpegDetail::Quarter;

// Weights of BT.601 in units of 1/65536; "studio" has Y from 16 to 235 and chroma from 16 to 240.
constexpr int a_half = 32768;

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
        to[x] = picture::greyOf(from[x].fRed, from[x].fGreen, from[x].fBlue);
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

picture::PixelRows rowsOf(const Canvas& canvas) {
    const auto width = static_cast<std::uint32_t>(canvas.width());
    return {&canvas.row(0)->fRed, width, static_cast<std::uint32_t>(canvas.height()),
            sizeof(Colour) * width, picture::PixelLayout::Rgbx32};
}

using PutRow = void (*)(const Colour* from, int width, unsigned char* to);

PutRow putRowOf(KVPixelFormat format) {
    switch (format) {
        case KVPixelFormat::Rgb888:
            return putRgb;
        case KVPixelFormat::Yuv422:
            return putYuv422;
        case KVPixelFormat::Grey8:
            return putGrey;
        default:
            throw std::invalid_argument("a frame without a format cannot be made");
    }
}

}  // namespace

std::vector<std::string> formatsOf(int width, int height) {
    std::vector<std::string> formats{"rgb", "yuv422", "grey", "jpeg"};
    // Four pixels share a colour.
    if (width % 2 == 0 && height % 2 == 0 && codec::H264Encoder::isAvailable()) {
        formats.emplace_back("h264");
    }
    return formats;
}

int firstBitRate() {
    constexpr int bitRate = 2'000'000;
    return codec::H264Encoder::isAvailable() ? bitRate : 0;
}

KVFrame FrameEncoder::encode(const Canvas& canvas, const KVCameraSettings& settings,
                             bool isKeyWanted) {
    try {
        const KVPixelFormat format = picture::formatNamed(settings.fFormat);
        return format == KVPixelFormat::H264
                   ? fH264Encoder.encode(rowsOf(canvas), settings, isKeyWanted)
                   : encode(canvas, format);
    } catch (const std::runtime_error& failure) {
        if (fComplain && !std::exchange(fHasComplained, true)) {
            fComplain("a camera's pictures cannot be sent as " + settings.fFormat + ": " +
                      failure.what());
        }
        return {};
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
    const PutRow putRow = putRowOf(format);
    frame.fStride = frame.fWidth * picture::bytesPerPixel(format);
    frame.fSize = std::size_t{frame.fStride} * frame.fHeight;
    const std::shared_ptr<unsigned char> bytes = fPool.obtain(frame.fSize);
    for (int y = 0; y < canvas.height(); ++y) {
        putRow(canvas.row(y), canvas.width(),
               bytes.get() + std::size_t{frame.fStride} * static_cast<std::size_t>(y));
    }
    frame.fData = bytes;
    return frame;
}

void FrameEncoder::xEncodeJpeg(const Canvas& canvas, KVFrame& frame) {
    const picture::PixelRows rows = rowsOf(canvas);
    const std::shared_ptr<unsigned char> bytes =
        fPool.obtain(picture::JpegWriter::maxSize(rows, a_detail));
    frame.fSize = fJpegWriter.write(rows, a_detail, a_quality, bytes.get());
    if (frame.fSize == 0) {
        throw std::runtime_error("cannot compress a picture: " + fJpegWriter.error());
    }
    frame.fData = bytes;
}

}  // namespace robot

#include "frame_check.h"

#include "jpeg_reader.h"

#include <QCoreApplication>

#include <limits>

namespace cameraviewer {
namespace {

/** The most that QImage can count, which is more than any row of a picture within a_maxPixels
 *  needs. */
constexpr std::uint32_t a_maxStride = std::numeric_limits<int>::max();

/** 0 for formats that have no rows. */
std::uint32_t bytesPerPixel(KVPixelFormat format) {
    switch (format) {
        case KVPixelFormat::Rgb888:
            return 3;
        case KVPixelFormat::Yuv422:
            return 2;
        case KVPixelFormat::Grey8:
            return 1;
        case KVPixelFormat::Jpeg:
        case KVPixelFormat::Unknown:
            return 0;
    }
    return 0;
}

FrameFault checkSize(const KVFrame& frame) {
    if (frame.fWidth == 0 || frame.fHeight == 0) {
        return FrameFault::NoSize;
    }
    // Two factors of 32 bits: their product always fits.
    const std::uint64_t pixels = std::uint64_t{frame.fWidth} * frame.fHeight;
    return pixels > a_maxPixels ? FrameFault::TooLarge : FrameFault::None;
}

FrameFault checkRows(const KVFrame& frame) {
    if (frame.fFormat == KVPixelFormat::Yuv422 && frame.fWidth % 2 != 0) {
        return FrameFault::OddWidth;
    }
    const std::uint64_t row = std::uint64_t{frame.fWidth} * bytesPerPixel(frame.fFormat);
    if (frame.fStride < row) {
        return FrameFault::ShortStride;
    }
    if (frame.fStride > a_maxStride) {
        return FrameFault::TooLarge;
    }
    const std::uint64_t needed = std::uint64_t{frame.fStride} * frame.fHeight;
    return !frame.fData || frame.fSize < needed ? FrameFault::ShortData : FrameFault::None;
}

FrameFault checkJpeg(const KVFrame& frame, JpegReader& reader) {
    if (!frame.fData || frame.fSize == 0) {
        return FrameFault::ShortData;
    }
    const std::optional<JpegHeader> header = reader.readHeader(frame.fData.get(), frame.fSize);
    if (!header) {
        return FrameFault::BadJpeg;
    }
    if (header->fColours == JpegColours::Inks) {
        return FrameFault::UnsupportedFormat;
    }
    const bool isSame = header->fWidth == frame.fWidth && header->fHeight == frame.fHeight;
    return isSame ? FrameFault::None : FrameFault::JpegSizeDiffers;
}

/** @param readJpeg called for a JPEG of a sound size only */
template <typename ReadJpeg>
FrameFault checkWith(const KVFrame& frame, ReadJpeg readJpeg) {
    if (frame.fFormat != KVPixelFormat::Jpeg && bytesPerPixel(frame.fFormat) == 0) {
        return FrameFault::UnsupportedFormat;
    }
    const FrameFault fault = checkSize(frame);
    if (fault != FrameFault::None) {
        return fault;
    }
    return frame.fFormat == KVPixelFormat::Jpeg ? readJpeg() : checkRows(frame);
}

QString translated(const char* text) {
    return QCoreApplication::translate("cameraviewer::FrameFault", text);
}

}  // namespace

FrameFault check(const KVFrame& frame) {
    return checkWith(frame, [&frame] {
        JpegReader reader;
        return checkJpeg(frame, reader);
    });
}

FrameFault check(const KVFrame& frame, JpegReader& reader) {
    return checkWith(frame, [&] { return checkJpeg(frame, reader); });
}

QString faultText(FrameFault fault) {
    switch (fault) {
        case FrameFault::None:
            return {};
        case FrameFault::UnsupportedFormat:
            return translated("The camera sends a format that cannot be shown here.");
        case FrameFault::NoSize:
            return translated("The camera sends pictures without a size.");
        case FrameFault::TooLarge:
            return translated("The camera sends pictures that are too large to be shown.");
        case FrameFault::OddWidth:
            return translated("The camera sends YUV 4:2:2 of an odd width.");
        case FrameFault::ShortStride:
            return translated("The camera sends rows that are shorter than the picture is wide.");
        case FrameFault::ShortData:
            return translated("The camera sends fewer bytes than its pictures need.");
        case FrameFault::BadJpeg:
            return translated("The camera sends JPEGs that are damaged or incomplete.");
        case FrameFault::JpegSizeDiffers:
            return translated("The camera sends JPEGs of another size than it says.");
    }
    return {};
}

}  // namespace cameraviewer

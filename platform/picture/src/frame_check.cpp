#include "picture/frame_check.h"

#include "picture/h264.h"
#include "picture/jpeg.h"
#include "picture/pixel_format.h"

#include <limits>

namespace picture {

namespace {

/** More than any row of a picture within a_maxPixels needs, and the most that libraries that draw
 *  can count. */
constexpr std::uint32_t a_maxStride = std::numeric_limits<int>::max();

FrameFault checkSize(const KVFrame& frame) {
    if (frame.fWidth == 0 || frame.fHeight == 0) {
        return FrameFault::NoSize;
    }
    // A product of two 32-bit factors always fits.
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

/** @param isGrey set for a JPEG without colours */
FrameFault checkJpeg(const KVFrame& frame, JpegReader& reader, bool& isGrey) {
    if (!frame.fData || frame.fSize == 0) {
        return FrameFault::NoData;
    }
    const std::optional<JpegHeader> header = reader.readHeader(frame.fData.get(), frame.fSize);
    if (!header || header->fColours == JpegColours::Inks) {
        return FrameFault::UnreadableJpeg;
    }
    if (header->fWidth != frame.fWidth || header->fHeight != frame.fHeight) {
        return FrameFault::JpegSizeDiffers;
    }
    isGrey = header->fColours == JpegColours::Grey;
    return FrameFault::None;
}

}  // namespace

CheckedFrame check(const KVFrame& frame, JpegReader& reader) {
    CheckedFrame checked;
    checked.fFrame = frame;
    const bool isKnown = bytesPerPixel(frame.fFormat) > 0 || frame.fFormat == KVPixelFormat::Jpeg ||
                         frame.fFormat == KVPixelFormat::H264;
    checked.fFault = isKnown ? checkSize(frame) : FrameFault::UnsupportedFormat;
    if (checked.fFault != FrameFault::None) {
        return checked;
    }
    switch (frame.fFormat) {
        case KVPixelFormat::Jpeg:
            checked.fFault = checkJpeg(frame, reader, checked.fIsGrey);
            break;
        case KVPixelFormat::H264:
            checked.fFault = checkH264(frame);
            break;
        default:
            checked.fFault = checkRows(frame);
            break;
    }
    if (frame.fFormat == KVPixelFormat::Grey8) {
        checked.fIsGrey = checked.fFault == FrameFault::None;
    }
    return checked;
}

CheckedFrame check(const KVFrame& frame) {
    JpegReader reader;
    return check(frame, reader);
}

const char* faultText(FrameFault fault) {
    switch (fault) {
        case FrameFault::None:
            break;
        case FrameFault::UnsupportedFormat:
            return "The camera sends a format that this program does not know.";
        case FrameFault::NoSize:
            return "The camera sends pictures without a size.";
        case FrameFault::TooLarge:
            return "The camera sends pictures that are too large; the most is 64 million pixels.";
        case FrameFault::OddWidth:
            return "The camera sends YUV 4:2:2 of an odd width.";
        case FrameFault::ShortStride:
            return "The camera sends rows that are shorter than its pictures are wide.";
        case FrameFault::ShortData:
            return "The camera sends fewer bytes than its pictures need.";
        case FrameFault::NoData:
            return "The camera sends pictures without a byte.";
        case FrameFault::UnreadableJpeg:
            return "The camera sends JPEGs that cannot be read.";
        case FrameFault::JpegSizeDiffers:
            return "The camera sends JPEGs of another size than it says.";
        case FrameFault::BadJpeg:
            return "The camera sends JPEGs that are damaged or incomplete.";
        case FrameFault::H264TooLarge:
            return "The camera sends H.264 that is too large; the most is 9.4 million pixels and "
                   "4 MiB a frame.";
        case FrameFault::UnreadableH264:
            return "The camera sends H.264 that cannot be read.";
        case FrameFault::H264SizeDiffers:
            return "The camera sends H.264 of another size than it says.";
        case FrameFault::BadH264:
            return "The camera sends H.264 that is damaged.";
        case FrameFault::NoH264Decoder:
            return "Showing H.264 needs GStreamer's element \"avdec_h264\" or \"openh264dec\", "
                   "which are in the Debian packages gstreamer1.0-libav and "
                   "gstreamer1.0-plugins-bad. Other formats can be shown.";
    }
    return "";
}

}  // namespace picture

// A camera's frames: their headers and their bytes.
//
// An input is the format (one byte, a KVPixelFormat), a flag that sets the size of a JPEG from its
// own header, so that it reaches the decoder (one byte), width, height and stride (four bytes each,
// little-endian), and the frame's bytes.
#include "fuzz_target.h"

#include <picture/frame_decoder.h>
#include <picture/jpeg.h>

#include <QImage>

#include <histogram.h>
#include <memory>
#include <optional>
#include <picture_decoder.h>
#include <vector>

namespace {

using cameraviewer::Picture;
using cameraviewer::PictureDecoder;
using obvista_fuzz::require;
using picture::CheckedFrame;
using picture::FrameFault;
using picture::JpegHeader;
using picture::JpegReader;

constexpr std::size_t a_headSize = 14;
/** Larger pictures take time and find nothing new. */
constexpr std::uint64_t a_maxPixels = 512ULL * 512;

std::uint32_t numberAt(const std::uint8_t* data) {
    return data[0] | static_cast<std::uint32_t>(data[1]) << 8 |
           static_cast<std::uint32_t>(data[2]) << 16 | static_cast<std::uint32_t>(data[3]) << 24;
}

KVFrame frameOf(const std::uint8_t* data, std::size_t size) {
    KVFrame frame;
    frame.fFormat = static_cast<KVPixelFormat>(data[0] % 5);
    frame.fWidth = numberAt(data + 2);
    frame.fHeight = numberAt(data + 6);
    frame.fStride = numberAt(data + 10);
    frame.fSize = size - a_headSize;
    frame.fData = std::shared_ptr<const unsigned char>(data + a_headSize, [](const auto*) {});
    const bool isTrusted = frame.fFormat == KVPixelFormat::Jpeg && data[1] % 2 != 0;
    if (isTrusted) {
        const std::optional<JpegHeader> header =
            JpegReader().readHeader(frame.fData.get(), frame.fSize);
        frame.fWidth = header ? header->fWidth : frame.fWidth;
        frame.fHeight = header ? header->fHeight : frame.fHeight;
    }
    return frame;
}

/** Reads each byte of a picture, all of which must exist. */
unsigned sumOf(const QImage& image) {
    unsigned sum = 0;
    for (int y = 0; y < image.height(); ++y) {
        const uchar* row = image.constScanLine(y);
        const int length = image.width() * image.depth() / 8;
        for (int i = 0; i < length; ++i) {
            sum += row[i];
        }
    }
    return sum;
}

void requireSound(const Picture& picture) {
    const KVFrame& frame = picture.fFrame;
    const QSize size(static_cast<int>(frame.fWidth), static_cast<int>(frame.fHeight));
    require(picture.fImage.size() == size, "a picture has the size of its frame");
    volatile unsigned sum = sumOf(picture.fImage);
    static_cast<void>(sum);
    const QPoint last(size.width() - 1, size.height() - 1);
    require(!rawText(picture, last).isEmpty(), "the last pixel has a value");
    require(rawText(picture, last + QPoint(1, 0)).isEmpty(), "there is none beside it");
    const bool isGrey = picture.fImage.format() == QImage::Format_Grayscale8;
    require(cameraviewer::histogramsOf(picture.fImage).size() == (isGrey ? 1 : 3),
            "a grey picture has one histogram, another one for each colour");
}

/** Decodes a frame as the command line tool does. */
bool isDecodedToBytes(const CheckedFrame& checked, JpegReader& reader) {
    const auto layout =
        checked.isGrey() ? picture::PixelLayout::Grey8 : picture::PixelLayout::Rgb888;
    const std::size_t row = std::size_t{checked.frame().fWidth} * bytesPerPixel(layout);
    std::vector<unsigned char> rows(row * checked.frame().fHeight);
    return decode(checked, reader, layout, rows.data(), row);
}

KVFrame makeSoundFrame() {
    constexpr std::uint32_t size = 8;
    const std::vector<unsigned char> grey(std::size_t{size} * size, 0xa0);
    picture::PixelRows rows;
    rows.fBytes = grey.data();
    rows.fWidth = rows.fHeight = size;
    rows.fStride = size;
    rows.fLayout = picture::PixelLayout::Grey8;
    const picture::JpegFile jpeg = picture::JpegWriter().write(rows, picture::JpegDetail::Full);
    KVFrame frame;
    frame.fFormat = KVPixelFormat::Jpeg;
    frame.fWidth = size;
    frame.fHeight = size;
    frame.fData = jpeg.fData;
    frame.fSize = jpeg.fSize;
    return frame;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < a_headSize) {
        return 0;
    }
    static PictureDecoder decoder;
    static const KVFrame soundFrame = makeSoundFrame();
    const KVFrame frame = frameOf(data, size);
    static JpegReader reader;
    const CheckedFrame checked = check(frame, reader);
    const FrameFault fault = checked.fault();
    const bool isLarge = std::uint64_t{frame.fWidth} * frame.fHeight > a_maxPixels;
    if (fault == FrameFault::None && isLarge) {
        return 0;
    }
    const Picture picture = decoder.decode(frame);
    if (fault == FrameFault::None) {
        require(isDecodedToBytes(checked, reader) == (picture.fFault == FrameFault::None),
                "a picture is sound in each layout, or in none");
    }
    require(picture.fImage.isNull() == (picture.fFault != FrameFault::None),
            "there is a picture or a fault");
    require(fault == picture.fFault || picture.fFault == FrameFault::BadJpeg,
            "what passes the check is shown, unless it is a damaged JPEG");
    if (picture.fFault == FrameFault::None) {
        requireSound(picture);
    } else {
        require(decoder.decode(soundFrame).fFault == FrameFault::None,
                "a sound picture is shown after a faulty one");
    }
    return 0;
}

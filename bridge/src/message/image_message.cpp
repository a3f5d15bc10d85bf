#include "message/image_message.h"

#include "message/message_values.h"

#include <base/safe_text.h>
#include <picture/frame_check.h>
#include <picture/jpeg.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <png.h>
#include <string_view>
#include <utility>
#include <vector>

namespace bridge {

namespace {

constexpr std::size_t a_longestEncoding = 40;  // bytes in a line for the user

using Row = unsigned char*;
using ConstRow = const unsigned char*;

/** Rows of a picture as the message has them. */
struct RawImage {
    ConstRow fBytes = nullptr;
    std::uint32_t fWidth = 0;
    std::uint32_t fHeight = 0;
    std::uint32_t fStride = 0;
    bool fIsBigEndian = false;
};

template <int Red, int Green, int Blue, std::size_t PixelSize>
void toRgb(const RawImage& image, std::uint32_t y, Row target) {
    ConstRow source = image.fBytes + std::size_t{y} * image.fStride;
    for (std::uint32_t x = 0; x < image.fWidth; ++x, source += PixelSize, target += 3) {
        target[0] = source[Red];
        target[1] = source[Green];
        target[2] = source[Blue];
    }
}

void upperBytes(const RawImage& image, std::uint32_t y, Row target) {
    ConstRow source = image.fBytes + std::size_t{y} * image.fStride + (image.fIsBigEndian ? 0 : 1);
    for (std::uint32_t x = 0; x < image.fWidth; ++x) {
        target[x] = source[std::size_t{2} * x];
    }
}

void swappedPairs(const RawImage& image, std::uint32_t y, Row target) {
    ConstRow source = image.fBytes + std::size_t{y} * image.fStride;
    for (std::size_t i = 0; i + 1 < std::size_t{2} * image.fWidth; i += 2) {
        target[i] = source[i + 1];
        target[i + 1] = source[i];
    }
}

/**
 * Bayer filters: each pixel has one colour. The 2x2 pixels to the right and below have all three,
 * one of them twice, which are taken as they are; green is the mean of two. The last row and
 * column use the pixels before them.
 *
 * @tparam RedX,RedY place of the red pixel in the first 2x2 pixels; blue is opposite
 */
template <std::uint32_t RedX, std::uint32_t RedY, std::size_t PixelSize>
void fromBayer(const RawImage& image, std::uint32_t y, Row target) {
    const std::uint32_t top = y + 1 < image.fHeight ? y : y - 1;
    const std::size_t upper = PixelSize == 2 && !image.fIsBigEndian ? 1 : 0;
    for (std::uint32_t x = 0; x < image.fWidth; ++x, target += 3) {
        const std::uint32_t left = x + 1 < image.fWidth ? x : x - 1;
        const auto at = [&](std::uint32_t column, std::uint32_t row) {
            return image.fBytes[std::size_t{row} * image.fStride + column * PixelSize + upper];
        };
        // Red is in the column and row of the block that have its parity.
        const std::uint32_t redX = left + ((left ^ RedX) & 1U);
        const std::uint32_t redY = top + ((top ^ RedY) & 1U);
        const std::uint32_t blueX = left + left + 1 - redX;
        const std::uint32_t blueY = top + top + 1 - redY;
        target[0] = at(redX, redY);
        target[1] = static_cast<unsigned char>((at(blueX, redY) + at(redX, blueY)) / 2);
        target[2] = at(blueX, blueY);
    }
}

struct Encoding {
    const char* fName;
    std::size_t fPixelSize;  ///< bytes in the message
    KVPixelFormat fFormat;   ///< of the frame
    /** Makes one row of the frame; null for an encoding that is passed on. */
    void (*fConvert)(const RawImage& image, std::uint32_t y, Row target);
    std::uint32_t fLeast = 1;     ///< pixels of width and height
    std::uint32_t fMultiple = 1;  ///< of which the width must be a multiple
};

constexpr std::array<Encoding, 21> a_encodings{{
    {"rgb8", 3, KVPixelFormat::Rgb888, nullptr},
    {"mono8", 1, KVPixelFormat::Grey8, nullptr},
    {"8UC1", 1, KVPixelFormat::Grey8, nullptr},
    {"yuv422_yuy2", 2, KVPixelFormat::Yuv422, nullptr, 1, 2},
    {"yuyv", 2, KVPixelFormat::Yuv422, nullptr, 1, 2},
    {"yuv422", 2, KVPixelFormat::Yuv422, swappedPairs, 1, 2},
    {"uyvy", 2, KVPixelFormat::Yuv422, swappedPairs, 1, 2},
    {"bgr8", 3, KVPixelFormat::Rgb888, toRgb<2, 1, 0, 3>},
    {"8UC3", 3, KVPixelFormat::Rgb888, toRgb<2, 1, 0, 3>},
    {"rgba8", 4, KVPixelFormat::Rgb888, toRgb<0, 1, 2, 4>},
    {"bgra8", 4, KVPixelFormat::Rgb888, toRgb<2, 1, 0, 4>},
    {"mono16", 2, KVPixelFormat::Grey8, upperBytes},
    {"16UC1", 2, KVPixelFormat::Grey8, upperBytes},
    {"bayer_rggb8", 1, KVPixelFormat::Rgb888, fromBayer<0, 0, 1>, 2},
    {"bayer_bggr8", 1, KVPixelFormat::Rgb888, fromBayer<1, 1, 1>, 2},
    {"bayer_grbg8", 1, KVPixelFormat::Rgb888, fromBayer<1, 0, 1>, 2},
    {"bayer_gbrg8", 1, KVPixelFormat::Rgb888, fromBayer<0, 1, 1>, 2},
    {"bayer_rggb16", 2, KVPixelFormat::Rgb888, fromBayer<0, 0, 2>, 2},
    {"bayer_bggr16", 2, KVPixelFormat::Rgb888, fromBayer<1, 1, 2>, 2},
    {"bayer_grbg16", 2, KVPixelFormat::Rgb888, fromBayer<1, 0, 2>, 2},
    {"bayer_gbrg16", 2, KVPixelFormat::Rgb888, fromBayer<0, 1, 2>, 2},
}};

ImageResult problem(const std::string& text) {
    return {{}, text};
}

std::string quoted(std::string_view encoding) {
    return "'" + base::oneLine(base::shortened(encoding, a_longestEncoding)) + "'";
}

/** Reads a header without its frame; returns its time, or `otherwise` if it has none. */
std::int64_t readHeader(CdrReader& reader, std::int64_t otherwise) {
    const std::int64_t time = readTime(reader);
    reader.text();
    return time > 0 ? time : otherwise;
}

/** Makes room for a frame of rows without gaps. */
Row allocate(KVFrame& frame, std::size_t pixelSize) {
    frame.fStride = static_cast<std::uint32_t>(frame.fWidth * pixelSize);
    frame.fSize = std::size_t{frame.fStride} * frame.fHeight;
    const std::shared_ptr<unsigned char> data(new unsigned char[frame.fSize],
                                              std::default_delete<unsigned char[]>());
    frame.fData = data;
    return data.get();
}

std::size_t pixelSizeOf(KVPixelFormat format) {
    return format == KVPixelFormat::Rgb888 ? 3 : format == KVPixelFormat::Yuv422 ? 2 : 1;
}

void convert(const RawImage& image, const Encoding& encoding, KVFrame& frame) {
    Row target = allocate(frame, pixelSizeOf(frame.fFormat));
    for (std::uint32_t y = 0; y < frame.fHeight; ++y, target += frame.fStride) {
        encoding.fConvert(image, y, target);
    }
}

ImageResult decodePng(Bytes data, KVFrame frame) {
    png_image png{};
    png.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_memory(&png, data.fData, data.fSize) == 0) {
        return problem("it is a damaged PNG");
    }
    if (std::uint64_t{png.width} * png.height > picture::a_maxPixels) {
        png_image_free(&png);
        return problem("the PNG is too large");
    }
    const bool isGrey = (png.format & PNG_FORMAT_FLAG_COLOR) == 0;
    png.format = isGrey ? PNG_FORMAT_GRAY : PNG_FORMAT_RGB;
    frame.fFormat = isGrey ? KVPixelFormat::Grey8 : KVPixelFormat::Rgb888;
    frame.fWidth = png.width;
    frame.fHeight = png.height;
    Row target = allocate(frame, pixelSizeOf(frame.fFormat));
    const png_color black{0, 0, 0};  // behind transparent pixels
    const int finished = png_image_finish_read(&png, &black, target, 0, nullptr);
    png_image_free(&png);
    return finished != 0 ? ImageResult{frame, {}} : problem("it is a damaged PNG");
}

ImageResult passJpeg(Bytes data, const std::shared_ptr<const void>& owner, KVFrame frame) {
    picture::JpegReader reader;
    const auto header = reader.readHeader(data.fData, data.fSize);
    if (!header) {
        return problem("it is a damaged JPEG");
    }
    frame.fFormat = KVPixelFormat::Jpeg;
    frame.fWidth = header->fWidth;
    frame.fHeight = header->fHeight;
    frame.fData = {owner, data.fData};
    frame.fSize = data.fSize;
    return {frame, {}};
}

bool beginsWith(Bytes data, std::string_view signature) {
    return data.fSize >= signature.size() &&
           std::memcmp(data.fData, signature.data(), signature.size()) == 0;
}

}  // namespace

ImageResult imageOf(Bytes message, const std::shared_ptr<const void>& owner, std::int64_t time) {
    CdrReader reader(message);
    KVFrame frame;
    frame.fTime = readHeader(reader, time);
    frame.fHeight = reader.number<std::uint32_t>();
    frame.fWidth = reader.number<std::uint32_t>();
    const std::string_view name = reader.text();
    const bool isBigEndian = reader.number<std::uint8_t>() != 0;
    frame.fStride = reader.number<std::uint32_t>();
    const Bytes data = reader.bytes(reader.length(1));
    if (!reader.isAtEnd()) {
        return problem("it is not a sensor_msgs/msg/Image");
    }
    const auto* const encoding =
        std::find_if(a_encodings.begin(), a_encodings.end(),
                     [&](const Encoding& known) { return name == known.fName; });
    if (encoding == a_encodings.end()) {
        return problem("the encoding " + quoted(name) + " is not supported");
    }
    if (frame.fWidth < encoding->fLeast || frame.fHeight < encoding->fLeast ||
        frame.fWidth % encoding->fMultiple != 0 ||
        std::uint64_t{frame.fWidth} * frame.fHeight > picture::a_maxPixels ||
        frame.fStride < frame.fWidth * encoding->fPixelSize ||
        std::uint64_t{frame.fStride} * frame.fHeight > data.fSize) {
        return problem("its size contradicts its bytes");
    }
    frame.fFormat = encoding->fFormat;
    if (encoding->fConvert != nullptr) {
        convert({data.fData, frame.fWidth, frame.fHeight, frame.fStride, isBigEndian}, *encoding,
                frame);
    } else {
        frame.fData = {owner, data.fData};
        frame.fSize = data.fSize;
    }
    return {frame, {}};
}

ImageResult compressedImageOf(Bytes message, const std::shared_ptr<const void>& owner,
                              std::int64_t time) {
    CdrReader reader(message);
    KVFrame frame;
    frame.fTime = readHeader(reader, time);
    const std::string_view format = reader.text();
    const Bytes data = reader.bytes(reader.length(1));
    if (!reader.isAtEnd()) {
        return problem("it is not a sensor_msgs/msg/CompressedImage");
    }
    if (beginsWith(data, "\xFF\xD8")) {
        return passJpeg(data, owner, frame);
    }
    if (beginsWith(data, "\x89PNG")) {
        return decodePng(data, frame);
    }
    return problem("the format " + quoted(format) + " is not supported");
}

}  // namespace bridge

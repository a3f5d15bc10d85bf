#include <base/safe_text.h>
#include <picture/frame_check.h>
#include <picture/image_encoding.h>
#include <picture/jpeg.h>
#include <picture/pixel_format.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <png.h>

namespace picture {

namespace {

constexpr std::size_t a_longestEncoding = 40;  // bytes in a line for the user

using Row = unsigned char*;
using ConstRow = const unsigned char*;

template <int Red, int Green, int Blue, std::size_t PixelSize>
void toRgb(const EncodedRows& image, std::uint32_t y, Row target) {
    ConstRow source = image.fData + std::size_t{y} * image.fStride;
    for (std::uint32_t x = 0; x < image.fWidth; ++x, source += PixelSize, target += 3) {
        target[0] = source[Red];
        target[1] = source[Green];
        target[2] = source[Blue];
    }
}

void upperBytes(const EncodedRows& image, std::uint32_t y, Row target) {
    ConstRow source = image.fData + std::size_t{y} * image.fStride + (image.fIsBigEndian ? 0 : 1);
    for (std::uint32_t x = 0; x < image.fWidth; ++x) {
        target[x] = source[std::size_t{2} * x];
    }
}

void swappedPairs(const EncodedRows& image, std::uint32_t y, Row target) {
    ConstRow source = image.fData + std::size_t{y} * image.fStride;
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
void fromBayer(const EncodedRows& image, std::uint32_t y, Row target) {
    const std::uint32_t top = y + 1 < image.fHeight ? y : y - 1;
    const std::size_t upper = PixelSize == 2 && !image.fIsBigEndian ? 1 : 0;
    for (std::uint32_t x = 0; x < image.fWidth; ++x, target += 3) {
        const std::uint32_t left = x + 1 < image.fWidth ? x : x - 1;
        const auto at = [&](std::uint32_t column, std::uint32_t row) {
            return image.fData[std::size_t{row} * image.fStride + column * PixelSize + upper];
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
    void (*fConvert)(const EncodedRows& image, std::uint32_t y, Row target);
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

std::string unsupported(std::string_view name) {
    return "'" + base::oneLine(base::shortened(name, a_longestEncoding)) + "' is not supported";
}

/** Makes room for a frame of rows without gaps. */
Row allocate(KVFrame& frame, std::uint32_t pixelSize) {
    frame.fStride = frame.fWidth * pixelSize;
    frame.fSize = std::size_t{frame.fStride} * frame.fHeight;
    const std::shared_ptr<unsigned char> data(new unsigned char[frame.fSize],
                                              std::default_delete<unsigned char[]>());
    frame.fData = data;
    return data.get();
}

void convert(const EncodedRows& image, const Encoding& encoding, KVFrame& frame) {
    Row target = allocate(frame, bytesPerPixel(frame.fFormat));
    for (std::uint32_t y = 0; y < frame.fHeight; ++y, target += frame.fStride) {
        encoding.fConvert(image, y, target);
    }
}

ImageResult decodePng(const unsigned char* data, std::size_t size) {
    KVFrame frame;
    png_image png{};
    png.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_memory(&png, data, size) == 0) {
        return problem("it is a damaged PNG");
    }
    if (std::uint64_t{png.width} * png.height > a_maxPixels) {
        png_image_free(&png);
        return problem("the PNG is too large");
    }
    const bool isGrey = (png.format & PNG_FORMAT_FLAG_COLOR) == 0;
    png.format = isGrey ? PNG_FORMAT_GRAY : PNG_FORMAT_RGB;
    frame.fFormat = isGrey ? KVPixelFormat::Grey8 : KVPixelFormat::Rgb888;
    frame.fWidth = png.width;
    frame.fHeight = png.height;
    Row target = allocate(frame, bytesPerPixel(frame.fFormat));
    const png_color black{0, 0, 0};  // behind transparent pixels
    const int finished = png_image_finish_read(&png, &black, target, 0, nullptr);
    png_image_free(&png);
    return finished != 0 ? ImageResult{frame, {}} : problem("it is a damaged PNG");
}

ImageResult passJpeg(const unsigned char* data, std::size_t size,
                     const std::shared_ptr<const void>& owner) {
    JpegReader reader;
    const auto header = reader.readHeader(data, size);
    if (!header) {
        return problem("it is a damaged JPEG");
    }
    KVFrame frame;
    frame.fFormat = KVPixelFormat::Jpeg;
    frame.fWidth = header->fWidth;
    frame.fHeight = header->fHeight;
    frame.fData = {owner, data};
    frame.fSize = size;
    return {frame, {}};
}

bool beginsWith(const unsigned char* data, std::size_t size, std::string_view signature) {
    return size >= signature.size() && std::memcmp(data, signature.data(), signature.size()) == 0;
}

}  // namespace

ImageResult frameOfRows(const EncodedRows& image, const std::shared_ptr<const void>& owner) {
    const auto* const encoding =
        std::find_if(a_encodings.begin(), a_encodings.end(),
                     [&](const Encoding& known) { return image.fEncoding == known.fName; });
    if (encoding == a_encodings.end()) {
        return problem("the encoding " + unsupported(image.fEncoding));
    }
    if (image.fWidth < encoding->fLeast || image.fHeight < encoding->fLeast ||
        image.fWidth % encoding->fMultiple != 0 ||
        std::uint64_t{image.fWidth} * image.fHeight > a_maxPixels ||
        image.fStride < image.fWidth * encoding->fPixelSize ||
        std::uint64_t{image.fStride} * image.fHeight > image.fSize) {
        return problem("its size contradicts its bytes");
    }
    KVFrame frame;
    frame.fFormat = encoding->fFormat;
    frame.fWidth = image.fWidth;
    frame.fHeight = image.fHeight;
    if (encoding->fConvert != nullptr) {
        convert(image, *encoding, frame);
    } else {
        frame.fStride = image.fStride;
        frame.fData = {owner, image.fData};
        frame.fSize = image.fSize;
    }
    return {frame, {}};
}

ImageResult frameOfFile(const unsigned char* data, std::size_t size, std::string_view format,
                        const std::shared_ptr<const void>& owner) {
    if (beginsWith(data, size, "\xFF\xD8")) {
        return passJpeg(data, size, owner);
    }
    if (beginsWith(data, size, "\x89PNG")) {
        return decodePng(data, size);
    }
    return problem("the format " + unsupported(format));
}

}  // namespace picture

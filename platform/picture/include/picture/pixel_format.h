#ifndef OBVISTA_PICTURE_PIXEL_FORMAT_H
#define OBVISTA_PICTURE_PIXEL_FORMAT_H

#include <robaxi/kv_frame.h>

#include <cstdint>
#include <string>

namespace picture {

/** Returns the name of a format as in docs/video.md: "rgb", "yuv422", "grey", "jpeg", "h264" or
 *  "unknown". */
const char* formatName(KVPixelFormat format);

/** Returns the format with this name; Unknown for any other text. */
KVPixelFormat formatNamed(const std::string& name);

/** Returns the size of a pixel in the rows of a frame in bytes; 0 for formats without rows. */
std::uint32_t bytesPerPixel(KVPixelFormat format);

/** The layout of a decoded picture's pixels in memory. */
enum class PixelLayout {
    Grey8,   ///< one byte
    Rgb888,  ///< bytes of red, green, blue
    Rgbx32,  ///< bytes of red, green, blue and one without meaning
    Rgb32    ///< 0xffRRGGBB as a number of 32 bits in the machine's byte order
};

std::uint32_t bytesPerPixel(PixelLayout layout);

/** Rows of a picture in memory, from top to bottom. */
struct PixelRows {
    const unsigned char* fBytes = nullptr;
    std::uint32_t fWidth = 0;   ///< pixels
    std::uint32_t fHeight = 0;  ///< pixels
    std::size_t fStride = 0;    ///< bytes from one row to the next
    PixelLayout fLayout = PixelLayout::Rgb888;
};

}  // namespace picture

#endif

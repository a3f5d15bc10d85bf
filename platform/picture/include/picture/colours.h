#ifndef OBVISTA_PICTURE_COLOURS_H
#define OBVISTA_PICTURE_COLOURS_H

#include "picture/pixel_format.h"

#include <cstddef>
#include <cstdint>

namespace picture {

/** Returns the brightness of a colour by BT.601, 0 to 255. */
inline std::uint8_t greyOf(int red, int green, int blue) {
    // Weights in units of 1/65536.
    return static_cast<std::uint8_t>((19595 * red + 38470 * green + 7471 * blue + 32768) >> 16);
}

/**
 * Converts a row of YUV 4:2:2 (Y0 Cb Y1 Cr for two pixels), by BT.601 with Y from 16 to 235, in
 * whole numbers:
 *
 *     y = 298 * (Y - 16),  b = Cb - 128,  r = Cr - 128
 *     red   = (y           + 409 * r + 128) / 256
 *     green = (y - 100 * b - 208 * r + 128) / 256
 *     blue  = (y + 516 * b           + 128) / 256
 *
 * each rounded down and then limited to 0 to 255. Both pixels of a pair have the colour of the
 * pair. The result differs by at most 1 from BT.601 in real numbers.
 *
 * @param pixels an even number; source has two bytes for each
 * @param layout Rgb888, or Rgb32 with target at an address for numbers of 32 bits
 */
void convertYuv422Row(const unsigned char* source, std::size_t pixels, PixelLayout layout,
                      unsigned char* target);

}  // namespace picture

#endif

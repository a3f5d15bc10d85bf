#include "picture/colours.h"

#include <algorithm>

namespace picture {

namespace {

inline std::uint32_t limited(std::int32_t value) {
    return static_cast<std::uint32_t>(std::clamp(value >> 8, 0, 255));
}

/** @param put called with the red, green and blue of each pixel in turn */
template <class Put>
inline void convertRow(const unsigned char* source, std::size_t pixels, Put put) {
    for (std::size_t i = 0; i < pixels / 2; ++i) {
        const std::int32_t y0 = 298 * (source[4 * i] - 16);
        const std::int32_t b = source[4 * i + 1] - 128;
        const std::int32_t y1 = 298 * (source[4 * i + 2] - 16);
        const std::int32_t r = source[4 * i + 3] - 128;
        const std::int32_t red = 409 * r + 128;
        const std::int32_t green = -100 * b - 208 * r + 128;
        const std::int32_t blue = 516 * b + 128;
        put(2 * i, limited(y0 + red), limited(y0 + green), limited(y0 + blue));
        put(2 * i + 1, limited(y1 + red), limited(y1 + green), limited(y1 + blue));
    }
}

}  // namespace

void convertYuv422Row(const unsigned char* source, std::size_t pixels, PixelLayout layout,
                      unsigned char* target) {
    if (layout == PixelLayout::Rgb32) {
        auto* const numbers = reinterpret_cast<std::uint32_t*>(target);
        convertRow(
            source, pixels,
            [numbers](std::size_t i, std::uint32_t red, std::uint32_t green, std::uint32_t blue) {
                numbers[i] = 0xff000000U | red << 16 | green << 8 | blue;
            });
        return;
    }
    convertRow(source, pixels,
               [target](std::size_t i, std::uint32_t red, std::uint32_t green, std::uint32_t blue) {
                   target[3 * i] = static_cast<unsigned char>(red);
                   target[3 * i + 1] = static_cast<unsigned char>(green);
                   target[3 * i + 2] = static_cast<unsigned char>(blue);
               });
}

}  // namespace picture

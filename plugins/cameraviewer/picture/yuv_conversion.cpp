#include "yuv_conversion.h"

#include <algorithm>
#include <cstdint>

namespace cameraviewer {
namespace {

inline QRgb limited(std::int32_t value) {
    return static_cast<QRgb>(std::clamp(value >> 8, 0, 255));
}

inline QRgb pixel(std::int32_t y, std::int32_t red, std::int32_t green, std::int32_t blue) {
    return 0xff000000U | limited(y + red) << 16 | limited(y + green) << 8 | limited(y + blue);
}

}  // namespace

void convertYuv422Row(const unsigned char* source, QRgb* target, std::size_t pixels) {
    for (std::size_t i = 0; i < pixels / 2; ++i) {
        const std::int32_t y0 = 298 * (source[4 * i] - 16);
        const std::int32_t b = source[4 * i + 1] - 128;
        const std::int32_t y1 = 298 * (source[4 * i + 2] - 16);
        const std::int32_t r = source[4 * i + 3] - 128;
        const std::int32_t red = 409 * r + 128;
        const std::int32_t green = -100 * b - 208 * r + 128;
        const std::int32_t blue = 516 * b + 128;
        target[2 * i] = pixel(y0, red, green, blue);
        target[2 * i + 1] = pixel(y1, red, green, blue);
    }
}

}  // namespace cameraviewer

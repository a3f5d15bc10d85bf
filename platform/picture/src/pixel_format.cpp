#include "picture/pixel_format.h"

#include <algorithm>
#include <array>

namespace picture {

namespace {

struct Format {
    KVPixelFormat fFormat;
    const char* fName;
    std::uint32_t fBytesPerPixel;
};

constexpr std::array<Format, 5> a_formats{{{KVPixelFormat::Rgb888, "rgb", 3},
                                           {KVPixelFormat::Yuv422, "yuv422", 2},
                                           {KVPixelFormat::Grey8, "grey", 1},
                                           {KVPixelFormat::Jpeg, "jpeg", 0},
                                           {KVPixelFormat::H264, "h264", 0}}};

constexpr Format a_unknown{KVPixelFormat::Unknown, "unknown", 0};

template <class IsWanted>
const Format& find(IsWanted isWanted) {
    const auto* const found = std::find_if(a_formats.begin(), a_formats.end(), isWanted);
    return found != a_formats.end() ? *found : a_unknown;
}

const Format& entryOf(KVPixelFormat format) {
    return find([format](const Format& entry) { return entry.fFormat == format; });
}

}  // namespace

const char* formatName(KVPixelFormat format) {
    return entryOf(format).fName;
}

KVPixelFormat formatNamed(const std::string& name) {
    return find([&name](const Format& entry) { return name == entry.fName; }).fFormat;
}

std::uint32_t bytesPerPixel(KVPixelFormat format) {
    return entryOf(format).fBytesPerPixel;
}

std::uint32_t bytesPerPixel(PixelLayout layout) {
    switch (layout) {
        case PixelLayout::Grey8:
            return 1;
        case PixelLayout::Rgb888:
            return 3;
        case PixelLayout::Rgbx32:
        case PixelLayout::Rgb32:
            break;
    }
    return 4;
}

}  // namespace picture

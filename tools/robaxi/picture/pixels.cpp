#include "picture/pixels.h"

#include "picture/jpeg.h"
#include "process/failure.h"

#include <algorithm>

namespace robaxi_tool {

namespace {

using Channels = Pixels::Channels;

/** A larger picture is refused before any memory is taken for it. */
constexpr std::uint64_t a_mostPixels = 64ULL * 1024 * 1024;

[[noreturn]] void refuse(const std::string& sentence) {
    throw Failure(ExitStatus::BadPicture, sentence);
}

void checkSize(const KVFrame& frame) {
    if (frame.fWidth == 0 || frame.fHeight == 0) {
        refuse("The camera sends pictures without a size.");
    }
    if (std::uint64_t{frame.fWidth} * frame.fHeight > a_mostPixels) {
        refuse("The camera sends pictures of more than 64 million pixels.");
    }
}

void checkRows(const KVFrame& frame, std::uint64_t bytesPerPixel) {
    if (frame.fStride < frame.fWidth * bytesPerPixel) {
        refuse("The camera sends rows that are shorter than its pictures are wide.");
    }
    const std::uint64_t needed = std::uint64_t{frame.fStride} * frame.fHeight;
    if (frame.fData == nullptr || frame.fSize < needed) {
        refuse("The camera sends fewer bytes than its pictures need.");
    }
}

Pixels copied(const KVFrame& frame, Channels channels) {
    checkRows(frame, static_cast<std::uint64_t>(channels));
    Pixels pixels(frame.fWidth, frame.fHeight, channels);
    const unsigned char* source = frame.fData.get();
    auto target = pixels.fBytes.begin();
    for (std::uint32_t row = 0; row < frame.fHeight; ++row) {
        target = std::copy_n(source, pixels.rowSize(), target);
        source += frame.fStride;
    }
    return pixels;
}

unsigned char limited(int value) {
    return static_cast<unsigned char>(std::clamp(value / 256, 0, 255));
}

/** BT.601 in whole numbers, with a brightness of 16 to 235; `pair` is Y0 Cb Y1 Cr. */
void convertPair(const unsigned char* pair, unsigned char* rgb) {
    const int blue = pair[1] - 128;
    const int red = pair[3] - 128;
    for (const int brightness : {pair[0], pair[2]}) {
        const int grey = 298 * (brightness - 16) + 128;
        *rgb++ = limited(grey + 409 * red);
        *rgb++ = limited(grey - 100 * blue - 208 * red);
        *rgb++ = limited(grey + 516 * blue);
    }
}

Pixels ofYuv422(const KVFrame& frame) {
    if (frame.fWidth % 2 != 0) {
        refuse("The camera sends YUV 4:2:2 of an odd width.");
    }
    checkRows(frame, 2);
    Pixels pixels(frame.fWidth, frame.fHeight, Channels::Rgb);
    unsigned char* target = pixels.fBytes.data();
    for (std::uint32_t row = 0; row < frame.fHeight; ++row) {
        const unsigned char* pair = frame.fData.get() + std::size_t{frame.fStride} * row;
        for (std::uint32_t column = 0; column < frame.fWidth; column += 2) {
            convertPair(pair, target);
            pair += 4;
            target += 6;
        }
    }
    return pixels;
}

Pixels ofJpeg(const KVFrame& frame) {
    if (frame.fData == nullptr || frame.fSize == 0) {
        refuse("The camera sends pictures without a byte.");
    }
    return readJpeg(frame.fData.get(), frame.fSize, frame.fWidth, frame.fHeight);
}

unsigned char brightness(const unsigned char* rgb) {
    return static_cast<unsigned char>((299 * rgb[0] + 587 * rgb[1] + 114 * rgb[2] + 500) / 1000);
}

}  // namespace

Pixels::Pixels(std::uint32_t width, std::uint32_t height, Channels channels)
    : fWidth(width), fHeight(height), fChannels(channels), fBytes(rowSize() * height) {
}

std::size_t Pixels::rowSize() const {
    return std::size_t{fWidth} * static_cast<std::size_t>(fChannels);
}

Pixels pixelsOf(const KVFrame& frame) {
    checkSize(frame);
    switch (frame.fFormat) {
        case KVPixelFormat::Rgb888:
            return copied(frame, Channels::Rgb);
        case KVPixelFormat::Grey8:
            return copied(frame, Channels::Grey);
        case KVPixelFormat::Yuv422:
            return ofYuv422(frame);
        case KVPixelFormat::Jpeg:
            return ofJpeg(frame);
        case KVPixelFormat::Unknown:
            break;
    }
    refuse("The camera sends a format that this program does not know.");
}

Pixels converted(Pixels pixels, Channels channels) {
    if (pixels.fChannels == channels) {
        return pixels;
    }
    Pixels result(pixels.fWidth, pixels.fHeight, channels);
    const std::size_t count = std::size_t{pixels.fWidth} * pixels.fHeight;
    for (std::size_t i = 0; i < count; ++i) {
        if (channels == Channels::Grey) {
            result.fBytes[i] = brightness(&pixels.fBytes[3 * i]);
        } else {
            std::fill_n(&result.fBytes[3 * i], 3, pixels.fBytes[i]);
        }
    }
    return result;
}

}  // namespace robaxi_tool

#include "snapshot/pixels.h"

#include "process/failure.h"

#include <picture/colours.h>
#include <picture/frame_decoder.h>
#include <picture/jpeg.h>

#include <algorithm>

namespace robaxi_tool {

namespace {

using Channels = Pixels::Channels;

void requireNone(picture::FrameFault fault) {
    if (fault != picture::FrameFault::None) {
        throw Failure(ExitStatus::BadPicture, faultText(fault));
    }
}

}  // namespace

Pixels::Pixels(std::uint32_t width, std::uint32_t height, Channels channels)
    : fWidth(width), fHeight(height), fChannels(channels), fBytes(rowSize() * height) {
}

std::size_t Pixels::rowSize() const {
    return std::size_t{fWidth} * static_cast<std::size_t>(fChannels);
}

picture::PixelLayout Pixels::layout() const {
    return fChannels == Channels::Grey ? picture::PixelLayout::Grey8 : picture::PixelLayout::Rgb888;
}

Pixels pixelsOf(const KVFrame& frame) {
    picture::JpegReader reader;
    const picture::CheckedFrame checked = check(frame, reader);
    requireNone(checked.fault());
    Pixels pixels(frame.fWidth, frame.fHeight, checked.isGrey() ? Channels::Grey : Channels::Rgb);
    if (!decode(checked, reader, pixels.layout(), pixels.fBytes.data(), pixels.rowSize())) {
        requireNone(picture::FrameFault::BadJpeg);
    }
    return pixels;
}

Pixels converted(Pixels pixels, Channels channels) {
    if (pixels.fChannels == channels) {
        return pixels;
    }
    Pixels result(pixels.fWidth, pixels.fHeight, channels);
    const std::size_t count = std::size_t{pixels.fWidth} * pixels.fHeight;
    for (std::size_t i = 0; i < count; ++i) {
        if (channels == Channels::Grey) {
            const unsigned char* const rgb = &pixels.fBytes[3 * i];
            result.fBytes[i] = picture::greyOf(rgb[0], rgb[1], rgb[2]);
        } else {
            std::fill_n(&result.fBytes[3 * i], 3, pixels.fBytes[i]);
        }
    }
    return result;
}

}  // namespace robaxi_tool

#include "snapshot/pixels.h"

#include "h264/h264_pixels.h"
#include "process/tool_library.h"

#include <picture/colours.h>
#include <picture/frame_decoder.h>

#include <algorithm>

namespace robaxi_tool {

namespace {

using picture::FrameFault;
using Channels = Pixels::Channels;

void requireNone(FrameFault fault) {
    if (fault == FrameFault::NoH264Decoder) {
        throw NoDecoder();
    }
    if (fault != FrameFault::None) {
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

PixelReader::PixelReader() = default;
PixelReader::~PixelReader() = default;

Pixels PixelReader::read(const KVFrame& frame) {
    const picture::CheckedFrame checked = check(frame, fJpegs);
    requireNone(checked.fault());
    const bool isGrey = checked.isGrey();
    Pixels pixels(frame.fWidth, frame.fHeight, isGrey ? Channels::Grey : Channels::Rgb);
    if (frame.fFormat == KVPixelFormat::H264) {
        xDecodeH264(checked);
        requireNone(fH264->read(pixels) ? FrameFault::None : FrameFault::BadH264);
    } else if (!decode(checked, fJpegs, pixels.layout(), pixels.fBytes.data(), pixels.rowSize())) {
        requireNone(FrameFault::BadJpeg);
    }
    return pixels;
}

void PixelReader::skip(const KVFrame& frame) {
    const picture::CheckedFrame checked = check(frame, fJpegs);
    requireNone(checked.fault());
    xDecodeH264(checked);
}

void PixelReader::xDecodeH264(const picture::CheckedFrame& frame) {
    if (!fH264) {
        fH264.reset(functionOfToolLibrary<H264Pixels*()>("robaxi_h264", "robaxiMakeH264Pixels")());
    }
    requireNone(fH264->decode(frame));
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

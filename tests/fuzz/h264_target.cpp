// The check of H.264 frames, before a decoder sees them.
//
// An input is a flag for a key frame (one byte), width and height (two bytes each, little-endian),
// and the frame's bytes.
#include "fuzz_target.h"

#include <picture/frame_check.h>
#include <picture/h264.h>

#include <memory>

using obvista_fuzz::require;
using picture::FrameFault;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t headSize = 5;
    if (size < headSize) {
        return 0;
    }
    KVFrame frame;
    frame.fFormat = KVPixelFormat::H264;
    frame.fIsKey = data[0] % 2 != 0;
    frame.fWidth = data[1] | static_cast<std::uint32_t>(data[2]) << 8U;
    frame.fHeight = data[3] | static_cast<std::uint32_t>(data[4]) << 8U;
    frame.fSize = size - headSize;
    frame.fData = std::shared_ptr<const unsigned char>(data + headSize, [](const auto*) {});
    const FrameFault fault = picture::check(frame).fault();
    if (fault == FrameFault::None && frame.fIsKey) {
        require(frame.fWidth > 0 && frame.fHeight > 0, "a sound key frame has a size");
        require(std::uint64_t{frame.fWidth} * frame.fHeight <=
                    std::uint64_t{picture::a_maxMacroblocks} * 256,
                "a sound key frame is not too large");
        KVFrame other = frame;
        other.fWidth += 2;
        require(picture::check(other).fault() != FrameFault::None,
                "a sound key frame has one size");
    }
    return 0;
}

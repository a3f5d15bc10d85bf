#include "video/frame_trouble.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>
#include <vector>

namespace robot {

namespace {

constexpr std::size_t a_tooMuch = 1'000'000;
constexpr std::uint32_t a_hugeSide = 65'535;
constexpr std::array<unsigned char, 4> a_hugeJpegSize{0xFF, 0xDC, 0xFF, 0xDC};  // 65,500 twice

using Bytes = std::vector<unsigned char>;

Bytes bytesOf(const KVFrame& frame) {
    return {frame.fData.get(), frame.fData.get() + frame.fSize};
}

void setBytes(KVFrame& frame, Bytes bytes) {
    const auto owner = std::make_shared<const Bytes>(std::move(bytes));
    frame.fSize = owner->size();
    frame.fData = std::shared_ptr<const unsigned char>(owner, owner->data());
}

/**
 * Returns the position of the height in a JPEG, followed by the width; the end if there is none.
 */
std::size_t sizeInHeader(const Bytes& jpeg) {
    std::size_t at = 2;  // after the start of the image
    while (at + 9 < jpeg.size()) {
        const unsigned marker = jpeg[at + 1];
        if (marker >= 0xC0 && marker <= 0xC2) {
            return at + 5;
        }
        at += 2 + (std::size_t{jpeg[at + 2]} << 8U) + jpeg[at + 3];
    }
    return jpeg.size();
}

void makeHeaderLie(KVFrame& frame) {
    if (frame.fFormat != KVPixelFormat::Jpeg) {
        return;
    }
    Bytes bytes = bytesOf(frame);
    const std::size_t size = sizeInHeader(bytes);
    if (size + a_hugeJpegSize.size() <= bytes.size()) {
        std::copy(a_hugeJpegSize.begin(), a_hugeJpegSize.end(),
                  bytes.begin() + static_cast<std::ptrdiff_t>(size));
    }
    setBytes(frame, std::move(bytes));
}

void makeNoJpeg(KVFrame& frame) {
    Bytes bytes = bytesOf(frame);
    std::fill_n(bytes.begin(), std::min<std::size_t>(bytes.size(), 64), 'x');
    setBytes(frame, std::move(bytes));
    frame.fFormat = KVPixelFormat::Jpeg;
    frame.fStride = 0;
}

void makeHuge(KVFrame& frame) {
    frame.fStride = frame.fStride / std::max(frame.fWidth, 1U) * a_hugeSide;
    frame.fWidth = a_hugeSide;
    frame.fHeight = a_hugeSide;
}

void makeOversized(KVFrame& frame) {
    Bytes bytes = bytesOf(frame);
    bytes.resize(bytes.size() + a_tooMuch);
    setBytes(frame, std::move(bytes));
}

}  // namespace

const TroubleNames<FrameTrouble>& frameTroubles() {
    static const TroubleNames<FrameTrouble> names{
        {"ok", FrameTrouble::None},
        {"removed", FrameTrouble::Removed},
        {"stopped", FrameTrouble::Stopped},
        {"unsupported", FrameTrouble::Unsupported},
        {"short", FrameTrouble::Short},
        {"oversized", FrameTrouble::Oversized},
        {"stride", FrameTrouble::WrongStride},
        {"no-size", FrameTrouble::NoSize},
        {"huge-size", FrameTrouble::HugeSize},
        {"no-jpeg", FrameTrouble::NoJpeg},
        {"lying-jpeg", FrameTrouble::LyingJpeg},
    };
    return names;
}

KVFrame spoilt(const KVFrame& frame, FrameTrouble trouble) {
    KVFrame result = frame;
    switch (trouble) {
        case FrameTrouble::None:
        case FrameTrouble::Removed:
        case FrameTrouble::Stopped:
            break;
        case FrameTrouble::Unsupported:
            result.fFormat = KVPixelFormat::Unknown;
            break;
        case FrameTrouble::Short:
            result.fSize /= 2;
            break;
        case FrameTrouble::Oversized:
            makeOversized(result);
            break;
        case FrameTrouble::WrongStride:
            result.fStride = frame.fWidth / 2 + 1;
            break;
        case FrameTrouble::NoSize:
            result.fWidth = result.fHeight = result.fStride = 0;
            break;
        case FrameTrouble::HugeSize:
            makeHuge(result);
            break;
        case FrameTrouble::NoJpeg:
            makeNoJpeg(result);
            break;
        case FrameTrouble::LyingJpeg:
            makeHeaderLie(result);
            break;
    }
    return result;
}

}  // namespace robot

#include "plain_frames.h"

#include <picture/jpeg.h>

#include <algorithm>
#include <memory>
#include <random>

namespace obvista_test {

KVFrame makeFrame(KVPixelFormat format, std::uint32_t width, std::uint32_t height,
                  std::uint32_t stride, const Bytes& bytes) {
    KVFrame frame;
    frame.fNumber = 7;
    frame.fTime = 1'700'000'000'123'456;
    frame.fWidth = width;
    frame.fHeight = height;
    frame.fStride = stride;
    frame.fFormat = format;
    const std::shared_ptr<unsigned char[]> block(new unsigned char[bytes.size()]);
    std::copy(bytes.begin(), bytes.end(), block.get());
    frame.fData = std::shared_ptr<const unsigned char>(block, block.get());
    frame.fSize = bytes.size();
    return frame;
}

KVFrame makeJpegFrame(std::uint32_t width, std::uint32_t height, const Bytes& jpeg) {
    return makeFrame(KVPixelFormat::Jpeg, width, height, 0, jpeg);
}

Bytes bytesOf(const KVFrame& frame) {
    return {frame.fData.get(), frame.fData.get() + frame.fSize};
}

Bytes variedBytes(std::size_t count) {
    std::mt19937 random(20261121);
    Bytes bytes(count);
    for (unsigned char& byte : bytes) {
        byte = static_cast<unsigned char>(random());
    }
    return bytes;
}

Bytes jpegOf(const picture::PixelRows& rows) {
    const picture::JpegFile file = picture::JpegWriter().write(rows, picture::JpegDetail::Full);
    return {file.fData.get(), file.fData.get() + file.fSize};
}

Bytes smoothBytes(std::uint32_t width, std::uint32_t height, picture::PixelLayout layout) {
    Bytes bytes;
    const std::uint32_t channels = bytesPerPixel(layout);
    for (std::uint32_t y = 0; y < height; ++y) {
        for (std::uint32_t x = 0; x < width; ++x) {
            for (std::uint32_t channel = 0; channel < channels; ++channel) {
                const std::uint32_t along = channel % 2 == 0 ? x * 255 / width : y * 255 / height;
                bytes.push_back(static_cast<unsigned char>(along));
            }
        }
    }
    return bytes;
}

Bytes smoothJpeg(std::uint32_t width, std::uint32_t height, picture::PixelLayout layout) {
    const Bytes bytes = smoothBytes(width, height, layout);
    return jpegOf(
        {bytes.data(), width, height, std::size_t{width} * bytesPerPixel(layout), layout});
}

}  // namespace obvista_test

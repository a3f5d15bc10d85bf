#ifndef ROBAXI_KV_FRAME_H
#define ROBAXI_KV_FRAME_H

#include <cstddef>
#include <cstdint>
#include <memory>

/** Layout of the bytes of a KVFrame. Rows go from top to bottom. */
enum class KVPixelFormat {
    Unknown,  ///< not known to this library; the bytes are delivered all the same
    Rgb888,   ///< 3 bytes a pixel: red, green, blue
    Yuv422,   ///< 4 bytes for two pixels: Y0 Cb Y1 Cr ("YUYV"), BT.601, Y 16 to 235; even widths
    Grey8,    ///< 1 byte a pixel, 0 black to 255 white
    Jpeg,     ///< one JFIF file; fStride is 0
    H264      ///< one access unit as a byte stream (Annex B); fStride is 0; see KVFrameChain
};

/**
 * One picture of a camera.
 *
 * The bytes are shared and immutable, so that a frame can be kept, passed to another thread and
 * shown without a copy. A received frame is untrusted: check width, height, stride, format and
 * number of bytes against each other before reading any of them.
 */
struct KVFrame {
    std::uint64_t fNumber = 0;  ///< counts the camera's frames from 1; a gap means dropped frames
    std::int64_t fTime = 0;     ///< exposure, microseconds since 1970-01-01 UTC, robot's clock;
                                ///< times from a robot are clamped to 1970 to 9999
    std::uint32_t fWidth = 0;   ///< pixels
    std::uint32_t fHeight = 0;  ///< pixels
    std::uint32_t fStride = 0;  ///< bytes from the start of one row to the start of the next
    KVPixelFormat fFormat = KVPixelFormat::Unknown;  ///< Of the pixels
    std::shared_ptr<const unsigned char> fData;      ///< fSize bytes
    std::size_t fSize = 0;                           ///< Number of bytes
    bool fIsKey = false;          ///< H264: decoding can begin here; has the parameter sets
    std::uint64_t fSequence = 0;  ///< H264: counts the encoded frames; each needs the one before
};

#endif

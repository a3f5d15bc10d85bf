#ifndef OBVISTA_PICTURE_H264_H
#define OBVISTA_PICTURE_H264_H

#include "picture/frame_check.h"

#include <robaxi/kv_frame.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace picture {

/** Most bytes of an H.264 frame. */
constexpr std::size_t a_maxH264Bytes = std::size_t{4} * 1024 * 1024;
/** Most squares of 16 pixels of an H.264 picture, and of all pictures that its decoder keeps: those
 *  of level 5.1, for instance 4096x2304 pixels. */
constexpr std::uint32_t a_maxMacroblocks = 36864;
constexpr std::uint32_t a_maxKeptMacroblocks = 184320;
/** Most slices of a picture. Slices may overlap, so this bounds the work of decoding one. */
constexpr int a_maxSlices = 32;

/**
 * Checks an untrusted H.264 frame as docs/video.md defines it, before a decoder sees it: one
 * picture of the size that the frame claims, without the parts of the standard that cameras do not
 * use. A frame that passes may still be BadH264 when it is decoded.
 *
 * Takes a time in proportion to the frame's bytes. May be called from any thread.
 */
FrameFault checkH264(const KVFrame& frame);

/** Header of an H.264 frame. */
struct H264Header {
    bool fIsKey = false;
    std::uint32_t fWidth = 0;  ///< 0 if the frame has no parameter sets
    std::uint32_t fHeight = 0;
};

/**
 * Reads the header from the bytes of an untrusted H.264 frame, whose other fields are not used.
 *
 * @return nothing if it is not H.264 as docs/video.md defines it
 */
std::optional<H264Header> readH264Header(const KVFrame& frame);

/**
 * Returns the bytes of the parameter sets before the picture of a frame that checkH264() accepts;
 * empty if there are none. Other ones are another stream, for instance of another rate.
 */
std::vector<unsigned char> parameterSets(const KVFrame& frame);

}  // namespace picture

#endif

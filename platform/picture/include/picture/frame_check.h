#ifndef OBVISTA_PICTURE_FRAME_CHECK_H
#define OBVISTA_PICTURE_FRAME_CHECK_H

#include <robaxi/kv_frame.h>

#include <cstdint>

namespace picture {

class JpegReader;

/** Maximum number of pixels of a picture. A larger frame is refused before any memory is allocated
 *  for it. */
constexpr std::uint64_t a_maxPixels = 64ULL * 1024 * 1024;

/** Fault of a frame. A frame with several faults has the first in this order. */
enum class FrameFault {
    None,
    UnsupportedFormat,  ///< a format that this program does not know
    NoSize,             ///< a width or height of 0
    TooLarge,           ///< more than a_maxPixels
    OddWidth,           ///< YUV 4:2:2 shares a colour between two pixels
    ShortStride,        ///< rows that are shorter than their pixels
    ShortData,          ///< fewer than stride * height bytes
    NoData,             ///< a JPEG or H.264 frame without a byte
    UnreadableJpeg,     ///< no JPEG, or one with inks for colours
    JpegSizeDiffers,    ///< the JPEG's width and height are not those of the frame
    BadJpeg,            ///< a JPEG that is damaged or ends early
    H264TooLarge,       ///< above the limits of picture/h264.h
    UnreadableH264,     ///< no H.264 as in docs/video.md
    H264SizeDiffers,    ///< the stream's width and height are not those of the frame
    BadH264,            ///< H.264 that is damaged
    NoH264Decoder       ///< this computer has no decoder
};

/** A frame after its check. Cheap to copy. */
class CheckedFrame {
  public:
    /** An empty frame, which has a fault. */
    CheckedFrame() = default;

    const KVFrame& frame() const { return fFrame; }
    /** BadJpeg, BadH264 and NoH264Decoder are found when a frame is decoded, not by its check. */
    FrameFault fault() const { return fFault; }
    /** Returns true for a sound frame whose picture has no colours: Grey8, or a grey JPEG. */
    bool isGrey() const { return fIsGrey; }

  private:
    friend CheckedFrame check(const KVFrame& frame, JpegReader& reader);

    KVFrame fFrame;
    FrameFault fFault = FrameFault::NoSize;
    bool fIsGrey = false;
};

/**
 * Compares what a frame claims with what it has, without reading its picture: for JPEG and H.264
 * the headers only, so that a frame that passes may still be BadJpeg or BadH264 when it is decoded.
 *
 * Every row counts with its whole stride, the last one too, since pictures are kept, copied and
 * compared in such blocks. Bytes after the last row are ignored. May be called from any thread.
 *
 * @param reader reused by the caller, since setting one up for each JPEG takes time
 */
CheckedFrame check(const KVFrame& frame, JpegReader& reader);

/** The same with a new reader. */
CheckedFrame check(const KVFrame& frame);

/** Returns a sentence for the user; empty for None. */
const char* faultText(FrameFault fault);

}  // namespace picture

#endif

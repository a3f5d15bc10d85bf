#ifndef OBVISTA_CAMERAVIEWER_FRAME_CHECK_H
#define OBVISTA_CAMERAVIEWER_FRAME_CHECK_H

#include <robaxi/kv_frame.h>

#include <QString>

#include <cstdint>

namespace cameraviewer {

class JpegReader;

/** Most pixels of a picture that is shown or recorded. A larger frame is refused before any memory
 *  is taken for it. */
constexpr std::uint64_t a_maxPixels = 64ULL * 1024 * 1024;

/** What is wrong with a frame. A frame with more than one fault has the first in this order. */
enum class FrameFault {
    None,
    UnsupportedFormat,  ///< a format this viewer does not know, or a JPEG with inks for colours
    NoSize,             ///< a width or height of 0
    TooLarge,           ///< more than a_maxPixels
    OddWidth,           ///< YUV 4:2:2 shares a colour between two pixels
    ShortStride,        ///< rows that are shorter than their pixels
    ShortData,          ///< fewer than stride * height bytes; none at all for JPEG
    BadJpeg,            ///< no JPEG, or one that is damaged or ends early
    JpegSizeDiffers     ///< the JPEG's width and height are not those of the frame
};

/**
 * Compares what a frame claims with what it has, without reading its picture: for JPEG the header
 * only, so that a JPEG that passes may still turn out to be BadJpeg when it is decoded.
 *
 * Every row counts with its whole stride, the last one too, since pictures are kept, copied and
 * compared in such blocks. Bytes after the last row are ignored. May be called from any thread.
 */
FrameFault check(const KVFrame& frame);

/** The same with a reader that the caller keeps, which spares setting one up for each JPEG. */
FrameFault check(const KVFrame& frame, JpegReader& reader);

/** A sentence for the user; empty for None. */
QString faultText(FrameFault fault);

}  // namespace cameraviewer

#endif

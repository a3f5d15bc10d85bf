#ifndef OBVISTA_PICTURE_FRAME_DECODER_H
#define OBVISTA_PICTURE_FRAME_DECODER_H

#include "picture/frame_check.h"
#include "picture/pixel_format.h"

#include <cstddef>

namespace picture {

/**
 * Decodes a frame into memory of the caller.
 *
 * @param frame without a fault; not H.264, whose pictures need the frames before them
 * @param reader belongs to the caller's thread
 * @param layout Grey8 for a grey frame; otherwise Rgb888 (every format) or, for YUV 4:2:2 and JPEG,
 *        Rgb32
 * @param rows stride bytes for each row of the frame; at an address for numbers of 32 bits for
 *        Rgb32
 * @return false for a JPEG that is damaged or ends early (BadJpeg); what has been written to rows
 *         is then no picture
 * @throws std::bad_alloc
 */
bool decode(const CheckedFrame& frame, JpegReader& reader, PixelLayout layout, unsigned char* rows,
            std::size_t stride);

}  // namespace picture

#endif

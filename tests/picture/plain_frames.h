#ifndef OBVISTA_TESTS_PICTURE_PLAIN_FRAMES_H
#define OBVISTA_TESTS_PICTURE_PLAIN_FRAMES_H

#include <picture/pixel_format.h>
#include <robaxi/kv_frame.h>

#include <cstdint>
#include <vector>

namespace obvista_test {

using Bytes = std::vector<unsigned char>;

/** A frame with a copy of the bytes in a block of exactly that size, so that AddressSanitizer sees
 *  whoever reads beyond it. */
KVFrame makeFrame(KVPixelFormat format, std::uint32_t width, std::uint32_t height,
                  std::uint32_t stride, const Bytes& bytes);

/** A JPEG frame without a check of its size. */
KVFrame makeJpegFrame(std::uint32_t width, std::uint32_t height, const Bytes& jpeg);

/** The bytes of a frame. */
Bytes bytesOf(const KVFrame& frame);

/** Bytes that do not repeat and are the same in each run. */
Bytes variedBytes(std::size_t count);

/** A JPEG of high quality of these rows. */
Bytes jpegOf(const picture::PixelRows& rows);

/** A picture without sharp edges, which JPEG hardly changes; rows without a gap. */
Bytes smoothBytes(std::uint32_t width, std::uint32_t height, picture::PixelLayout layout);

/** A JPEG of smoothBytes(). */
Bytes smoothJpeg(std::uint32_t width, std::uint32_t height,
                 picture::PixelLayout layout = picture::PixelLayout::Rgb888);

}  // namespace obvista_test

#endif

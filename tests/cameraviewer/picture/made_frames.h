#ifndef OBVISTA_TESTS_CAMERAVIEWER_MADE_FRAMES_H
#define OBVISTA_TESTS_CAMERAVIEWER_MADE_FRAMES_H

#include <robaxi/kv_frame.h>

#include <QImage>

#include <cstdint>
#include <vector>

namespace obvista_test {

using Bytes = std::vector<unsigned char>;

/** A frame with a copy of the bytes in a block of exactly that size, so that AddressSanitizer sees
 *  whoever reads beyond it. */
KVFrame makeFrame(KVPixelFormat format, std::uint32_t width, std::uint32_t height,
                  std::uint32_t stride, const Bytes& bytes);

/** The bytes of a frame. */
Bytes bytesOf(const KVFrame& frame);

/** Bytes that do not repeat and are the same in each run. */
Bytes variedBytes(std::size_t count);

/** A sound frame of a varied picture, with rows that are some bytes longer than they need to be;
 *  for JPEG that of jpegOf(smoothPicture()). */
KVFrame soundFrame(KVPixelFormat format, std::uint32_t width, std::uint32_t height);

/** A picture without sharp edges, which JPEG hardly changes.
 *  @param shift what tells one from another */
QImage smoothPicture(int width, int height, QImage::Format format, int shift = 0);

Bytes jpegOf(const QImage& image);

/** A sound JPEG frame. */
KVFrame jpegFrame(const QImage& image);

/** The most by which a component of a pixel differs between two pictures of one size. */
int difference(const QImage& one, const QImage& other);

}  // namespace obvista_test

#endif

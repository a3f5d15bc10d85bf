#ifndef OBVISTA_TESTS_CAMERAVIEWER_MADE_FRAMES_H
#define OBVISTA_TESTS_CAMERAVIEWER_MADE_FRAMES_H

#include <QImage>

#include <plain_frames.h>

namespace obvista_test {

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

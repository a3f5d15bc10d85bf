#ifndef OBVISTA_DESKTOP_PICTURE_JPEG_SCAN_H
#define OBVISTA_DESKTOP_PICTURE_JPEG_SCAN_H

#include <QByteArray>

namespace KD {

/**
 * Returns a JPEG of the same pixels whose decoding takes a bounded time.
 *
 * Each scan of a progressive picture goes over all of its blocks again, and ten bytes are enough
 * for one, so their number is bounded. Segments of applications (Exif, colour profiles) and
 * comments are left out.
 *
 * @param bytes not trusted
 * @return nothing when the file is incomplete, neither baseline nor progressive Huffman coded, or
 * has more than a_largestRobotPicture pixels in one direction, or too many scans or bytes
 */
QByteArray scanJpeg(const QByteArray& bytes);

}  // namespace KD

#endif

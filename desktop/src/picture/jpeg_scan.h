#ifndef OBVISTA_DESKTOP_PICTURE_JPEG_SCAN_H
#define OBVISTA_DESKTOP_PICTURE_JPEG_SCAN_H

#include <QByteArray>

namespace KD {

/**
 * Returns a JPEG of the same pixels whose decoding takes a bounded time.
 *
 * Each scan of a progressive picture processes all of its blocks again, and a scan can be as short
 * as ten bytes, so their number is bounded. Application segments (Exif, colour profiles) and
 * comments are dropped.
 *
 * @param bytes not trusted
 * @return nothing if the file is incomplete, neither baseline nor progressive Huffman coded, or has
 *         more than a_largestRobotPicture pixels in one direction, or too many scans or bytes
 */
QByteArray scanJpeg(const QByteArray& bytes);

}  // namespace KD

#endif

#ifndef OBVISTA_DESKTOP_PICTURE_PNG_SCAN_H
#define OBVISTA_DESKTOP_PICTURE_PNG_SCAN_H

#include <QByteArray>

namespace KD {

/**
 * Returns a PNG of the same pixels whose decoding takes a bounded time and reports nothing.
 *
 * Texts, colour profiles and other chunks that do not affect the pixels are dropped: libpng
 * inflates each of them to up to 8 MB. The rows are checked and rewritten without filters and
 * compression, because libpng reports errors in them on standard error.
 *
 * @param bytes not trusted
 * @return nothing if the file is damaged, incomplete, or has more than a_largestRobotPicture pixels
 *         in one direction
 */
QByteArray scanPng(const QByteArray& bytes);

}  // namespace KD

#endif

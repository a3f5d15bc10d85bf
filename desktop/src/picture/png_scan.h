#ifndef OBVISTA_DESKTOP_PICTURE_PNG_SCAN_H
#define OBVISTA_DESKTOP_PICTURE_PNG_SCAN_H

#include <QByteArray>

namespace KD {

/**
 * Returns a PNG of the same pixels whose decoding takes a bounded time and reports nothing.
 *
 * Texts, colour profiles and other chunks that no pixel depends on are left out: libpng inflates
 * each of them to up to 8 MB. The rows are checked and written again, neither filtered nor
 * compressed, because libpng reports what it finds wrong in them on standard error.
 *
 * @param bytes not trusted
 * @return nothing when the file is damaged, incomplete, or has more than a_largestRobotPicture
 * pixels in one direction
 */
QByteArray scanPng(const QByteArray& bytes);

}  // namespace KD

#endif

#ifndef OBVISTA_DESKTOP_PICTURE_GIF_SCAN_H
#define OBVISTA_DESKTOP_PICTURE_GIF_SCAN_H

#include <QByteArray>

namespace KD {

/**
 * Returns a GIF of the first frame whose decoding takes a bounded time.
 *
 * A code of 12 bits may stand for 4096 pixels, and the decoder writes out all of them, also those
 * that are beyond the frame. So the lengths are added up.
 *
 * @param bytes not trusted
 * @return nothing when the frame is incomplete, has codes for more pixels than its own, or is not
 * within a screen of at most a_largestRobotPicture pixels in each direction
 */
QByteArray scanGif(const QByteArray& bytes);

}  // namespace KD

#endif

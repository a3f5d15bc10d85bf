#ifndef OBVISTA_DESKTOP_PICTURE_GIF_SCAN_H
#define OBVISTA_DESKTOP_PICTURE_GIF_SCAN_H

#include <QByteArray>

namespace KD {

/**
 * Returns a GIF of the first frame whose decoding takes a bounded time.
 *
 * A code of 12 bits may expand to 4096 pixels, and the decoder writes all of them, even beyond the
 * frame. So this function counts them.
 *
 * @param bytes not trusted
 * @return nothing if the frame is incomplete, has codes for more pixels than its size, or is not
 *         within a screen of at most a_largestRobotPicture pixels in each direction
 */
QByteArray scanGif(const QByteArray& bytes);

}  // namespace KD

#endif

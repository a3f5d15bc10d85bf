#ifndef OBVISTA_DESKTOP_ROBOT_PICTURE_H
#define OBVISTA_DESKTOP_ROBOT_PICTURE_H

#include <base/icon_limits.h>

#include <QByteArray>
#include <QImage>

namespace KD {

/** Maximum width and height of a robot's picture in pixels. It is shown at 60 x 60. */
constexpr int a_largestRobotPicture = base::a_largestIconSide;

/** Maximum size of an accepted picture in bytes. */
constexpr int a_mostRobotPictureBytes = base::a_largestIcon;

/**
 * Decodes the picture that a robot serves as its icon. The format (one of Qt's own: BMP, GIF, ICO,
 * JPEG, PBM, PGM, PNG, PPM, XBM, XPM) is detected from the bytes. May be called on any thread.
 *
 * The GUI thread decodes every robot's picture again once a second, so decoding must be fast: the
 * bytes are scanned first, and those that would be costly to decode are refused. The slowest
 * accepted picture takes about two milliseconds (bench_browser_refresh). Nothing is reported for
 * invalid bytes.
 *
 * @param bytes not trusted
 * @return a null image if the bytes are not such a picture, or one that is costly to decode
 */
QImage readRobotPicture(const QByteArray& bytes);

}  // namespace KD

#endif

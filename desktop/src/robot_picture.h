#ifndef OBVISTA_DESKTOP_ROBOT_PICTURE_H
#define OBVISTA_DESKTOP_ROBOT_PICTURE_H

#include <QByteArray>
#include <QImage>

namespace KD {

/** Pixels, each way, that a robot's picture has at most. It is shown at 60 x 60. */
constexpr int a_largestRobotPicture = 256;

/**
 * Decodes the picture that a robot serves as its icon. The format (one of Qt's own: BMP, GIF, ICO,
 * JPEG, PBM, PGM, PNG, PPM, XBM, XPM) is taken from the bytes. May be called on any thread.
 *
 * The GUI thread decodes every robot's picture again once a second, so no bytes may take long:
 * they are scanned first, and those that would be costly to decode are refused. The worst that
 * passes takes about two milliseconds (bench_browser_refresh). Nothing is reported, whatever the
 * bytes are.
 *
 * @param bytes not trusted
 * @return a null image when the bytes are not such a picture, or one that is costly to decode
 */
QImage readRobotPicture(const QByteArray& bytes);

}  // namespace KD

#endif

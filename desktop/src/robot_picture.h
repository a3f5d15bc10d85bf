#ifndef OBVISTA_DESKTOP_ROBOT_PICTURE_H
#define OBVISTA_DESKTOP_ROBOT_PICTURE_H

#include <QByteArray>
#include <QImage>

namespace KD {

/** Pixels, each way, that a robot's picture has at most. It is shown at 60 x 60. */
constexpr int a_largestRobotPicture = 1024;

/**
 * The picture that a robot serves as its icon. Its format (one of Qt's own: BMP, GIF, ICO, JPEG,
 * PBM, PGM, PNG, PPM, XBM, XPM) is taken from the bytes. May be called on any thread.
 *
 * @param bytes not trusted
 * @return a null image when the bytes are no such picture or one that is too large
 */
QImage readRobotPicture(const QByteArray& bytes);

}  // namespace KD

#endif

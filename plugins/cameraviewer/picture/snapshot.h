#ifndef OBVISTA_CAMERAVIEWER_SNAPSHOT_H
#define OBVISTA_CAMERAVIEWER_SNAPSHOT_H

#include "picture_decoder.h"
#include "picture_origin.h"

#include <QString>

namespace cameraviewer {

/**
 * Writes a picture to a PNG file, with the very values of Picture::fImage: for RGB and grey those
 * of the frame, for YUV 4:2:2 those of picture::convertYuv422Row(), for JPEG the decoded ones.
 *
 * The file has the texts "Robot", "Camera", "Time" (see timeText()), "Frame" (its number),
 * "Format" (that of the frame) and "Software". It appears under its name when it is complete;
 * one that was there before stays as it is until then, and when anything fails.
 *
 * It takes some hundredths of a second for a large picture. May be called from any thread.
 *
 * @return empty, or a sentence that says why there is no file
 */
QString writeSnapshot(const Picture& picture, const PictureOrigin& origin, const QString& file);

}  // namespace cameraviewer

#endif

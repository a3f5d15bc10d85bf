#ifndef OBVISTA_CAMERAVIEWER_PICTURE_ORIGIN_H
#define OBVISTA_CAMERAVIEWER_PICTURE_ORIGIN_H

#include <robaxi/kv_frame.h>

#include <QString>

#include <cstdint>

namespace cameraviewer {

/** Where a picture comes from, as the robot says: texts that are not to be trusted. */
struct PictureOrigin {
    QString fRobot;
    QString fCamera;
};

/** An origin's name as one line for metadata: bounded, and without characters that do not print. */
QString originText(const QString& name);

/** The time of a frame: ISO 8601, UTC, with microseconds ("2026-11-21T05:31:39.000125Z"); outside
 *  the years 1 to 9999, which that cannot tell, the number of microseconds since 1970. */
QString timeText(std::int64_t microseconds);

/** "RGB", "YUV 4:2:2", "Grey", "JPEG" or "Unknown". */
QString formatText(KVPixelFormat format);

/**
 * A name for a file of pictures that were taken at that time:
 * "robot1-head-20261121T053139000125.png".
 *
 * It has no slash, no character that does not print, no leading dot or dash, and every file system
 * can hold it, whatever the robot says.
 *
 * @param suffix without a dot
 */
QString suggestedFileName(const PictureOrigin& origin, std::int64_t microseconds,
                          const QString& suffix);

}  // namespace cameraviewer

#endif

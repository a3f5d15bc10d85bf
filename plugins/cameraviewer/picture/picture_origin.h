#ifndef OBVISTA_CAMERAVIEWER_PICTURE_ORIGIN_H
#define OBVISTA_CAMERAVIEWER_PICTURE_ORIGIN_H

#include <robaxi/kv_frame.h>

#include <QString>

#include <cstdint>
#include <string>

namespace cameraviewer {

/** Origin of a picture. The robot's texts are untrusted. */
struct PictureOrigin {
    QString fRobot;
    QString fCamera;
    std::string fDescription{};  ///< of the camera
    std::string fAddress{};      ///< of the robot
    int fPort = 0;
};

/**
 * Returns an origin's name as one line for metadata: limited, and without non-printing characters.
 */
QString originText(const QString& name);

/**
 * Returns the time of a frame: ISO 8601, UTC, with microseconds ("2026-11-21T05:31:39.000125Z");
 * outside the years 1 to 9999, which that cannot represent, the number of microseconds since 1970.
 */
QString timeText(std::int64_t microseconds);

/** Returns "RGB", "YUV 4:2:2", "Grey", "JPEG", "H.264" or "Unknown", for metadata in English. */
QString formatText(KVPixelFormat format);

/**
 * Returns a file name for pictures taken at that time: "robot1-head-20261121T053139000125.png".
 *
 * For any names it has no slash, no non-printing character, no leading dot or dash, and is valid in
 * every file system.
 *
 * @param suffix without a dot
 */
QString suggestedFileName(const PictureOrigin& origin, std::int64_t microseconds,
                          const QString& suffix);

}  // namespace cameraviewer

#endif

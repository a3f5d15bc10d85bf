#ifndef OBVISTA_ROBOT_VIDEO_STAMP_H
#define OBVISTA_ROBOT_VIDEO_STAMP_H

#include "video/canvas.h"

#include <cstdint>

namespace robot {

/**
 * Draws number and time of a frame across the top of its picture, in black and white blocks that
 * can be read from a screenshot (see docs/video.md).
 *
 * @param time microseconds since 1970-01-01 UTC
 */
void drawStamp(Canvas& canvas, std::uint64_t number, std::int64_t time);

}  // namespace robot

#endif

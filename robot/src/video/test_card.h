#ifndef OBVISTA_ROBOT_VIDEO_TEST_CARD_H
#define OBVISTA_ROBOT_VIDEO_TEST_CARD_H

#include "video/canvas.h"

namespace robot {

/**
 * Draws colour bars, steps of grey and a moving line, for a computer without a camera.
 *
 * @param time seconds; the line moves from left to right in four seconds
 */
void drawTestCard(Canvas& canvas, double time);

}  // namespace robot

#endif

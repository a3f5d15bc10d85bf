#ifndef OBVISTA_ROBOT_VIDEO_ROBOT_VIEWS_H
#define OBVISTA_ROBOT_VIDEO_ROBOT_VIEWS_H

#include "body/humanoid_body.h"
#include "video/canvas.h"

namespace robot {

/**
 * Draws the view of the camera between the humanoid's eyes: the room in the direction of the head.
 */
void drawHeadView(Canvas& canvas, const Pose& pose);

/** Draws the view of the camera below its neck: the floor in front of it and its own arms. */
void drawChestView(Canvas& canvas, const Pose& pose);

}  // namespace robot

#endif

#ifndef OBVISTA_ROBOT_VIDEO_ROBOT_VIEWS_H
#define OBVISTA_ROBOT_VIDEO_ROBOT_VIEWS_H

#include "body/humanoid_body.h"
#include "video/canvas.h"

namespace robot {

/** What the camera between the humanoid's eyes sees: the room, where the head is turned. */
void drawHeadView(Canvas& canvas, const Pose& pose);

/** What the camera below its neck sees: the floor before it and its own arms. */
void drawChestView(Canvas& canvas, const Pose& pose);

}  // namespace robot

#endif

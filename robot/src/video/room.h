#ifndef OBVISTA_ROBOT_VIDEO_ROOM_H
#define OBVISTA_ROBOT_VIDEO_ROOM_H

#include "video/projector.h"

namespace robot {

/**
 * Draws the room in which the simulated humanoid walks in a circle; it fills the whole picture of a
 * camera inside it.
 *
 * @param time seconds, for the moving objects: a ball and a clock
 */
void drawRoom(Projector& projector, double time);

}  // namespace robot

#endif

#ifndef OBVISTA_ROBOT_VIDEO_ROOM_H
#define OBVISTA_ROBOT_VIDEO_ROOM_H

#include "video/projector.h"

namespace robot {

/**
 * Draws the room in which the simulated humanoid walks its circle: it covers the whole picture of a
 * camera inside of it.
 *
 * @param time seconds, moves what moves by itself: a ball and a clock
 */
void drawRoom(Projector& projector, double time);

}  // namespace robot

#endif

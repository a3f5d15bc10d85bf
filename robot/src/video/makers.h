#ifndef OBVISTA_ROBOT_VIDEO_MAKERS_H
#define OBVISTA_ROBOT_VIDEO_MAKERS_H

#include "body/humanoid_body.h"
#include "video/drawn_camera.h"

#include <robaxi/kv_frame.h>
#include <robaxi/kv_video_module.h>

#include <functional>
#include <string>
#include <vector>

namespace robot {

/** Sends a frame of a camera; called from the cameras' threads. */
using Publish = std::function<void(const std::string& camera, const KVFrame& frame)>;

/** Returns true if a client of a camera needs a key frame; called from the cameras' threads. */
using IsKeyWanted = std::function<bool(const std::string& camera)>;

/**
 * Creates the humanoid's cameras: "head" and "chest".
 *
 * @param pose returns the current pose; called from the cameras' threads
 * @param complain called with a message for each failure, on any thread
 */
std::vector<KVCamera> makeHumanoidCameras(std::function<Pose()> pose, Stamp stamp,
                                          const std::function<void(const std::string&)>& complain);

/**
 * Creates the cameras of this computer: "camera0" and so on, or "test" with a test picture if it
 * has none.
 *
 * @param publish sends the frames of the devices
 * @param complain called with a message for each failure, on any thread
 */
std::vector<KVCamera> makeComputerCameras(const Publish& publish, const IsKeyWanted& isKeyWanted,
                                          const std::function<void(const std::string&)>& complain,
                                          Stamp stamp);

}  // namespace robot

#endif

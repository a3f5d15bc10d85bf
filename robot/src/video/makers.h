#ifndef OBVISTA_ROBOT_VIDEO_MAKERS_H
#define OBVISTA_ROBOT_VIDEO_MAKERS_H

#include "body/humanoid_body.h"
#include "video/camera.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace robot {

/**
 * Creates the humanoid's cameras: "head" and "chest".
 *
 * @param pose returns the current pose; called from the cameras' threads
 */
std::vector<std::unique_ptr<Camera>> makeHumanoidCameras(std::function<Pose()> pose);

/**
 * Creates the cameras of this computer: "camera0" and so on, or "test" with a test picture if it
 * has none.
 *
 * @param complain called with a message for each failure, on any thread
 */
std::vector<std::unique_ptr<Camera>> makeComputerCameras(
    const std::function<void(const std::string&)>& complain);

}  // namespace robot

#endif

#ifndef OBVISTA_TOOLS_ROBAXI_SNAPSHOT_CAMERA_H
#define OBVISTA_TOOLS_ROBAXI_SNAPSHOT_CAMERA_H

#include <picture/camera_info.h>
#include <robaxi/kv_value.h>

#include <string>
#include <vector>

namespace robaxi_tool {

using Cameras = std::vector<picture::CameraInfo>;

/** Parses the result of a robot's getCameras(); a result that is not a list has no cameras. */
Cameras camerasOf(const KVValue& described);

/** @throws Failure NotOffered with the names of the existing cameras */
const picture::CameraInfo& findCamera(const Cameras& cameras, const std::string& name);

/** Lines, each with a line break; safe for a terminal. */
std::string textOfCamera(const picture::CameraInfo& camera);
std::string jsonOfCamera(const picture::CameraInfo& camera);

}  // namespace robaxi_tool

#endif

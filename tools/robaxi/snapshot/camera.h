#ifndef OBVISTA_TOOLS_ROBAXI_SNAPSHOT_CAMERA_H
#define OBVISTA_TOOLS_ROBAXI_SNAPSHOT_CAMERA_H

#include <robaxi/kv_value.h>

#include <cstdint>
#include <string>
#include <vector>

namespace robaxi_tool {

/** A camera, as its robot describes it. */
struct Camera {
    std::string fName;  ///< also that of its stream
    std::string fDescription;
    std::int64_t fWidth = 0;   ///< pixels; 0 when the robot does not say
    std::int64_t fHeight = 0;  ///< pixels; 0 when the robot does not say
    std::string fFormat;       ///< empty when the robot does not say
    double fRate = 0;          ///< frames a second; 0 when the robot does not say
};

/** Reads what getCameras() of a robot returns. What is no camera with a name is left out. */
std::vector<Camera> camerasOf(const KVValue& described);

/** @throws Failure NotOffered that names the cameras that there are */
const Camera& findCamera(const std::vector<Camera>& cameras, const std::string& name);

/** Lines, each with its end; safe for a terminal. */
std::string textOfCamera(const Camera& camera);
std::string jsonOfCamera(const Camera& camera);

}  // namespace robaxi_tool

#endif

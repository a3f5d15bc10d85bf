#ifndef OBVISTA_TOOLS_ROBAXI_SNAPSHOT_CAMERA_H
#define OBVISTA_TOOLS_ROBAXI_SNAPSHOT_CAMERA_H

#include <robaxi/kv_value.h>

#include <cstdint>
#include <string>
#include <vector>

namespace robaxi_tool {

/** A camera, as described by its robot. */
struct Camera {
    std::string fName;  ///< also the name of its stream
    std::string fDescription;
    std::int64_t fWidth = 0;   ///< pixels; 0 if not reported
    std::int64_t fHeight = 0;  ///< pixels; 0 if not reported
    std::string fFormat;       ///< empty if not reported
    double fRate = 0;          ///< frames a second; 0 if not reported
};

/**
 * Parses the result of a robot's getCameras(). Entries that are not cameras with a name are left
 * out.
 */
std::vector<Camera> camerasOf(const KVValue& described);

/** @throws Failure NotOffered with the names of the existing cameras */
const Camera& findCamera(const std::vector<Camera>& cameras, const std::string& name);

/** Lines, each with a line break; safe for a terminal. */
std::string textOfCamera(const Camera& camera);
std::string jsonOfCamera(const Camera& camera);

}  // namespace robaxi_tool

#endif

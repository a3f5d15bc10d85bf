#ifndef ROBAXI_CAMERA_SETTINGS_H
#define ROBAXI_CAMERA_SETTINGS_H

#include <robaxi/kv_camera.h>
#include <robaxi/kv_error.h>
#include <robaxi/kv_value.h>

#include <string>

namespace robaxi {

/**
 * Returns the settings of a camera with changes applied.
 *
 * @throws KVError RaisedByModule, with a sentence that lists what the camera supports, if a name or
 *         type is wrong or the result does not match one of its modes
 */
KVCameraSettings changedSettings(const KVCameraInfo& camera, const KVValue::Map& changes);

/** @throws KVError RaisedByModule, with such a sentence, if the settings match none of the modes */
void requireMode(const KVCameraInfo& camera, const KVCameraSettings& settings);

/** Returns the error of a request for a camera that does not exist. */
KVError noSuchCamera(const std::string& name);

}  // namespace robaxi

#endif

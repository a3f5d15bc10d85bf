#ifndef OBVISTA_ROBOT_VIDEO_CAMERA_SETTINGS_H
#define OBVISTA_ROBOT_VIDEO_CAMERA_SETTINGS_H

#include <picture/camera_info.h>
#include <robaxi/kv_value.h>

namespace robot {

/**
 * Returns the settings of a camera with changes applied.
 *
 * @throws KVError RaisedByModule, with a sentence that lists what the camera supports, if a name or
 *         type is wrong or the result does not match one of its modes
 */
picture::CameraSettings changed(const picture::CameraInfo& camera, const KVValue::Map& changes);

}  // namespace robot

#endif

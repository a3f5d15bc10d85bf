#ifndef OBVISTA_ROBOT_VIDEO_CAMERA_SETTINGS_H
#define OBVISTA_ROBOT_VIDEO_CAMERA_SETTINGS_H

#include <robaxi/kv_frame.h>
#include <robaxi/kv_value.h>

#include <string>
#include <vector>

namespace robot {

/** How a camera's pictures are made at present. */
struct CameraSettings {
    int fWidth = 0;   ///< pixels
    int fHeight = 0;  ///< pixels
    KVPixelFormat fFormat = KVPixelFormat::Unknown;
    double fRate = 0;  ///< frames a second
};

bool operator==(const CameraSettings& a, const CameraSettings& b);
inline bool operator!=(const CameraSettings& a, const CameraSettings& b) {
    return !(a == b);
}

/** One size, and what the camera can do at it. */
struct CameraMode {
    int fWidth = 0;   ///< pixels
    int fHeight = 0;  ///< pixels
    std::vector<KVPixelFormat> fFormats;
    std::vector<double> fRates;  ///< frames a second
};

struct CameraDescription {
    std::string fName;  ///< names its stream too
    std::string fText;  ///< for people
    std::vector<CameraMode> fModes;
};

/** @name As docs/video.md has them in calls */
///@{
KVValue toValue(const CameraSettings& settings);
KVValue toValue(const CameraDescription& description, const CameraSettings& settings);
///@}

/**
 * The settings with those changed that are named.
 *
 * @throws KVError RaisedByModule, with a sentence that says what the camera can do, when a name or
 *         type is wrong or the whole does not fit one of its modes
 */
CameraSettings changed(const CameraDescription& description, const CameraSettings& settings,
                       const KVValue::Map& changes);

}  // namespace robot

#endif

#ifndef OBVISTA_ROBOT_VIDEO_CAMERA_SETTINGS_H
#define OBVISTA_ROBOT_VIDEO_CAMERA_SETTINGS_H

#include <robaxi/kv_frame.h>
#include <robaxi/kv_value.h>

#include <string>
#include <vector>

namespace robot {

/** The current settings of a camera. */
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

/** One picture size with its supported formats and rates. */
struct CameraMode {
    int fWidth = 0;   ///< pixels
    int fHeight = 0;  ///< pixels
    std::vector<KVPixelFormat> fFormats;
    std::vector<double> fRates;  ///< frames a second
};

struct CameraDescription {
    std::string fName;  ///< also the name of its stream
    std::string fText;  ///< for users
    std::vector<CameraMode> fModes;
};

/**
 * @name Conversion for calls, see docs/video.md
 */
///@{
KVValue toValue(const CameraSettings& settings);
KVValue toValue(const CameraDescription& description, const CameraSettings& settings);
///@}

/**
 * Returns the settings with changes applied.
 *
 * @throws KVError RaisedByModule, with a sentence that lists what the camera supports, if a name or
 *         type is wrong or the result does not match one of its modes
 */
CameraSettings changed(const CameraDescription& description, const CameraSettings& settings,
                       const KVValue::Map& changes);

}  // namespace robot

#endif

#ifndef OBVISTA_PICTURE_CAMERA_INFO_H
#define OBVISTA_PICTURE_CAMERA_INFO_H

#include <robaxi/kv_camera.h>
#include <robaxi/kv_value.h>

#include <string>
#include <vector>

namespace picture {

/** @name The middleware's descriptions of cameras. Those of a robot are untrusted. */
///@{
using CameraSettings = KVCameraSettings;
using CameraMode = KVCameraMode;
using CameraInfo = KVCameraInfo;
///@}

/**
 * Maximum number of cameras of a robot, modes of a camera, and formats or rates of a mode; others
 * are ignored.
 */
constexpr std::size_t a_maxCameras = 64;
constexpr std::size_t a_maxModes = 256;
constexpr std::size_t a_maxChoices = 64;
/** Maximum size of a camera's or a format's name in bytes. */
constexpr std::size_t a_maxNameLength = 200;
/** Most pixels of a picture's width or height. */
constexpr int a_maxSide = 65535;

/**
 * Parses the result of "getCameras". Invalid entries (a camera without a name or with a duplicate
 * one, a size of 0, a rate that is not a number) are left out.
 *
 * @throws KVError WrongType if it is not a list
 */
std::vector<CameraInfo> readCameras(const KVValue& answer);

/** Parses settings; missing or invalid values are 0 or empty. */
CameraSettings readSettings(const KVValue& value);

/** Returns the modes with this size. */
std::vector<CameraMode> modesOfSize(const CameraInfo& camera, int width, int height);

/**
 * Returns the supported settings closest to the wanted ones: the wanted size, otherwise the one
 * with the closest number of pixels; then the wanted format, otherwise the first; then the closest
 * rate. Without any mode, returns the wanted settings.
 */
CameraSettings fittedSettings(const CameraInfo& camera, const CameraSettings& wanted);

}  // namespace picture

#endif

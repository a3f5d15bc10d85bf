#ifndef OBVISTA_PICTURE_CAMERA_INFO_H
#define OBVISTA_PICTURE_CAMERA_INFO_H

#include <robaxi/kv_value.h>

#include <string>
#include <vector>

namespace picture {

/** Settings of a camera. */
struct CameraSettings {
    int fWidth = 0;       ///< pixels
    int fHeight = 0;      ///< pixels
    std::string fFormat;  ///< as the robot names it, for instance "jpeg"
    double fRate = 0;     ///< frames a second

    bool operator==(const CameraSettings& other) const;
    bool operator!=(const CameraSettings& other) const { return !(*this == other); }
};

/** One picture size with its supported formats and rates. */
struct CameraMode {
    int fWidth = 0;   ///< pixels
    int fHeight = 0;  ///< pixels
    std::vector<std::string> fFormats;
    std::vector<double> fRates;  ///< frames a second

    bool operator==(const CameraMode& other) const;
};

/** A robot's description of one of its cameras. The texts are untrusted. */
struct CameraInfo {
    std::string fName;         ///< also that of its stream
    std::string fDescription;  ///< for people
    std::vector<CameraMode> fModes;
    CameraSettings fSettings;

    bool operator==(const CameraInfo& other) const;
};

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

/** @name The form of docs/video.md, which readSettings() and readCameras() parse */
///@{
KVValue settingsValue(const CameraSettings& settings);
KVValue cameraValue(const CameraInfo& camera);
///@}

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

#ifndef OBVISTA_CAMERAVIEWER_CAMERA_INFO_H
#define OBVISTA_CAMERAVIEWER_CAMERA_INFO_H

#include <robaxi/kv_value.h>

#include <string>
#include <vector>

namespace cameraviewer {

/** What a camera is set to. */
struct CameraSettings {
    int fWidth = 0;       ///< pixels
    int fHeight = 0;      ///< pixels
    std::string fFormat;  ///< as the robot names it, for instance "jpeg"
    double fRate = 0;     ///< frames a second

    bool operator==(const CameraSettings& other) const;
    bool operator!=(const CameraSettings& other) const { return !(*this == other); }
};

/** One size of picture with the formats and rates that go with it. */
struct CameraMode {
    int fWidth = 0;
    int fHeight = 0;
    std::vector<std::string> fFormats;
    std::vector<double> fRates;

    bool operator==(const CameraMode& other) const;
};

/** What a robot tells of one of its cameras. The texts are untrusted. */
struct CameraInfo {
    std::string fName;
    std::string fDescription;
    std::vector<CameraMode> fModes;
    CameraSettings fSettings;

    bool operator==(const CameraInfo& other) const;
};

/** Most cameras of a robot, modes of a camera, and formats or rates of a mode that are taken
 *  over. */
constexpr std::size_t a_maxCameras = 64;
constexpr std::size_t a_maxModes = 256;
constexpr std::size_t a_maxChoices = 64;
/** Most bytes of a camera's or a format's name. */
constexpr std::size_t a_maxNameLength = 200;

/**
 * Reads the answer to "getCameras". What makes no sense (a camera without a name or named twice, a
 * size of 0, a rate that is no number) is left out.
 *
 * @throws KVError WrongType when it is no list
 */
std::vector<CameraInfo> readCameras(const KVValue& answer);

/** Reads settings; what is missing or makes no sense is 0 or empty. */
CameraSettings readSettings(const KVValue& value);

/** The argument of "setSettings". */
KVValue settingsValue(const CameraSettings& settings);

/** The modes of one size. */
std::vector<CameraMode> modesOfSize(const CameraInfo& camera, int width, int height);

/**
 * The settings that a camera's modes allow and that are nearest to those wanted: the size as
 * wanted, or else the one with the nearest number of pixels; then the format, or else the first;
 * then the nearest rate. Without any mode, those wanted.
 */
CameraSettings fittedSettings(const CameraInfo& camera, const CameraSettings& wanted);

}  // namespace cameraviewer

#endif

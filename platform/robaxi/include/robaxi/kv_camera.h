#ifndef ROBAXI_KV_CAMERA_H
#define ROBAXI_KV_CAMERA_H

#include <robaxi/kv_value.h>
#include <robaxi/robaxi_export.h>

#include <string>
#include <vector>

/** Settings of a camera. */
struct ROBAXI_EXPORT KVCameraSettings {
    static constexpr int a_lowestBitRate = 100'000;      ///< bits a second
    static constexpr int a_highestBitRate = 50'000'000;  ///< bits a second

    int fWidth = 0;       ///< pixels
    int fHeight = 0;      ///< pixels
    std::string fFormat;  ///< "rgb", "yuv422", "grey", "jpeg" or "h264"
    double fRate = 0;     ///< frames a second
    int fBitRate = 0;     ///< of "h264", bits a second; 0 for a camera that has no such setting

    /** Returns true if all settings are equal. */
    bool operator==(const KVCameraSettings& other) const;
    bool operator!=(const KVCameraSettings& other) const { return !(*this == other); }  ///< Not ==

    /** Returns the map that "setSettings" accepts and "getSettings" returns (docs/video.md). */
    KVValue toValue() const;
};

/** One picture size of a camera with its supported formats and rates. */
struct ROBAXI_EXPORT KVCameraMode {
    int fWidth = 0;                     ///< pixels
    int fHeight = 0;                    ///< pixels
    std::vector<std::string> fFormats;  ///< see KVCameraSettings::fFormat
    std::vector<double> fRates;         ///< frames a second
    /** Returns true if size, formats and rates are equal. */
    bool operator==(const KVCameraMode& other) const;
};

/** Description of a camera. */
struct ROBAXI_EXPORT KVCameraInfo {
    std::string fName;                 ///< also that of its stream
    std::string fDescription;          ///< for users
    std::vector<KVCameraMode> fModes;  ///< Supported modes; none: only the first settings
    KVCameraSettings fSettings;        ///< Current settings

    bool operator==(const KVCameraInfo& other) const;  ///< Returns true if everything is equal.

    /** Returns the map that "getCameras" lists (docs/video.md). */
    KVValue toValue() const;
};

#endif

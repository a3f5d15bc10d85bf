#include <robaxi/kv_camera.h>

bool KVCameraSettings::operator==(const KVCameraSettings& other) const {
    return fWidth == other.fWidth && fHeight == other.fHeight && fFormat == other.fFormat &&
           fRate == other.fRate && fBitRate == other.fBitRate;
}

KVValue KVCameraSettings::toValue() const {
    KVValue::Map map{{"width", fWidth}, {"height", fHeight}, {"format", fFormat}, {"rate", fRate}};
    if (fBitRate > 0) {
        map.emplace("bitRate", fBitRate);
    }
    return map;
}

bool KVCameraMode::operator==(const KVCameraMode& other) const {
    return fWidth == other.fWidth && fHeight == other.fHeight && fFormats == other.fFormats &&
           fRates == other.fRates;
}

bool KVCameraInfo::operator==(const KVCameraInfo& other) const {
    return fName == other.fName && fDescription == other.fDescription && fModes == other.fModes &&
           fSettings == other.fSettings;
}

KVValue KVCameraInfo::toValue() const {
    KVValue::List modes;
    for (const KVCameraMode& mode : fModes) {
        modes.push_back(
            KVValue::Map{{"width", mode.fWidth},
                         {"height", mode.fHeight},
                         {"formats", KVValue::List(mode.fFormats.begin(), mode.fFormats.end())},
                         {"rates", KVValue::List(mode.fRates.begin(), mode.fRates.end())}});
    }
    return KVValue::Map{{"name", fName},
                        {"description", fDescription},
                        {"modes", modes},
                        {"settings", fSettings.toValue()}};
}

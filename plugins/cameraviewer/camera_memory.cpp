#include "camera_memory.h"

namespace cameraviewer {

namespace {

const QLatin1String a_camera("camera");
const QLatin1String a_zoom("view/zoom");
const QLatin1String a_quarterTurns("view/quarterTurns");
const QLatin1String a_isFlipped("view/isFlipped");
const QLatin1String a_hasGrid("view/hasGrid");
const QLatin1String a_hasHistogram("view/hasHistogram");
const QLatin1String a_isStretching("view/isStretching");

QString keyOf(const std::string& camera, const char* name) {
    return QStringLiteral("cameras/%1/%2")
        .arg(obvista::RobotSettings::level(camera), QLatin1String(name));
}

QVariantMap mapOf(const RememberedView& view) {
    return {{a_zoom, view.fForm.fZoom},           {a_quarterTurns, view.fForm.fQuarterTurns},
            {a_isFlipped, view.fForm.fIsFlipped}, {a_hasGrid, view.fHasGrid},
            {a_hasHistogram, view.fHasHistogram}, {a_isStretching, view.fIsStretching}};
}

}  // namespace

bool RememberedView::operator==(const RememberedView& other) const {
    return fForm == other.fForm && fHasGrid == other.fHasGrid &&
           fHasHistogram == other.fHasHistogram && fIsStretching == other.fIsStretching;
}

CameraMemory::CameraMemory(const std::string& robot)
    : fSettings(QStringLiteral("CameraViewer"), robot) {
}

std::string CameraMemory::camera() const {
    return fSettings.value(a_camera).toString().toStdString();
}

void CameraMemory::setCamera(const std::string& camera) {
    fSettings.setValue(a_camera, QString::fromStdString(camera));
}

std::optional<picture::CameraSettings> CameraMemory::settings(const std::string& camera) const {
    picture::CameraSettings settings;
    settings.fWidth = fSettings.value(keyOf(camera, "width")).toInt();
    settings.fHeight = fSettings.value(keyOf(camera, "height")).toInt();
    settings.fFormat = fSettings.value(keyOf(camera, "format")).toString().toStdString();
    settings.fRate = fSettings.value(keyOf(camera, "rate")).toDouble();
    const int bitRate = fSettings.value(keyOf(camera, "bitRate")).toInt();
    const bool isBitRate = bitRate >= picture::CameraSettings::a_lowestBitRate &&
                           bitRate <= picture::CameraSettings::a_highestBitRate;
    settings.fBitRate = isBitRate ? bitRate : 0;
    const bool isWhole = settings.fWidth > 0 && settings.fHeight > 0 && !settings.fFormat.empty() &&
                         settings.fRate > 0;
    return isWhole ? std::make_optional(settings) : std::nullopt;
}

void CameraMemory::setSettings(const std::string& camera, const picture::CameraSettings& settings) {
    fSettings.setValue(keyOf(camera, "width"), settings.fWidth);
    fSettings.setValue(keyOf(camera, "height"), settings.fHeight);
    fSettings.setValue(keyOf(camera, "format"), QString::fromStdString(settings.fFormat));
    fSettings.setValue(keyOf(camera, "rate"), settings.fRate);
    if (settings.fBitRate > 0) {
        fSettings.setValue(keyOf(camera, "bitRate"), settings.fBitRate);
    }
}

bool CameraMemory::isAutomatic(const std::string& camera) const {
    return fSettings.value(keyOf(camera, "isAutomatic")).toBool();
}

void CameraMemory::setAutomatic(const std::string& camera, bool isAutomatic) {
    fSettings.setValue(keyOf(camera, "isAutomatic"), isAutomatic);
}

RememberedView CameraMemory::view() const {
    RememberedView view;
    view.fForm.fZoom = fSettings.value(a_zoom).toDouble();
    view.fForm.fQuarterTurns = fSettings.value(a_quarterTurns).toInt();
    view.fForm.fIsFlipped = fSettings.value(a_isFlipped).toBool();
    view.fHasGrid = fSettings.value(a_hasGrid).toBool();
    view.fHasHistogram = fSettings.value(a_hasHistogram).toBool();
    view.fIsStretching = fSettings.value(a_isStretching).toBool();
    return view;
}

void CameraMemory::setView(const RememberedView& before, const RememberedView& view) {
    fSettings.setChanged(mapOf(before), mapOf(view));
}

}  // namespace cameraviewer

#include "camera_memory.h"

namespace cameraviewer {

namespace {

const QLatin1String a_camera("camera");

QString keyOf(const std::string& camera, const char* name) {
    return QStringLiteral("cameras/%1/%2")
        .arg(viewer::RobotSettings::level(camera), QLatin1String(name));
}

}  // namespace

CameraMemory::CameraMemory(const std::string& robot)
    : fSettings(QStringLiteral("CameraViewer"), robot) {
}

std::string CameraMemory::camera() const {
    return fSettings.value(a_camera).toString().toStdString();
}

void CameraMemory::setCamera(const std::string& camera) {
    fSettings.setValue(a_camera, QString::fromStdString(camera));
}

std::optional<CameraSettings> CameraMemory::settings(const std::string& camera) const {
    CameraSettings settings;
    settings.fWidth = fSettings.value(keyOf(camera, "width")).toInt();
    settings.fHeight = fSettings.value(keyOf(camera, "height")).toInt();
    settings.fFormat = fSettings.value(keyOf(camera, "format")).toString().toStdString();
    settings.fRate = fSettings.value(keyOf(camera, "rate")).toDouble();
    const bool isWhole = settings.fWidth > 0 && settings.fHeight > 0 && !settings.fFormat.empty() &&
                         settings.fRate > 0;
    return isWhole ? std::make_optional(settings) : std::nullopt;
}

void CameraMemory::setSettings(const std::string& camera, const CameraSettings& settings) {
    fSettings.setValue(keyOf(camera, "width"), settings.fWidth);
    fSettings.setValue(keyOf(camera, "height"), settings.fHeight);
    fSettings.setValue(keyOf(camera, "format"), QString::fromStdString(settings.fFormat));
    fSettings.setValue(keyOf(camera, "rate"), settings.fRate);
}

}  // namespace cameraviewer

#include "camera_memory.h"

#include <QByteArray>
#include <QCryptographicHash>
#include <QSettings>

namespace cameraviewer {

namespace {

constexpr int a_maxKeyLength = 100;

/** A name from the robot as part of a key: whatever it holds, a level of its own. */
QString keyOf(const std::string& name) {
    const QByteArray bytes = QByteArray::fromStdString(name);
    const QByteArray encoded = bytes.toPercentEncoding(QByteArray(), ".");
    return QString::fromLatin1(
        encoded.size() <= a_maxKeyLength
            ? encoded
            : QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex());
}

}  // namespace

CameraMemory::CameraMemory(const std::string& robot)
    : fGroup(QStringLiteral("CameraViewer/robots/") + keyOf(robot)) {
}

std::string CameraMemory::camera() const {
    return QSettings().value(fGroup + QStringLiteral("/camera")).toString().toStdString();
}

void CameraMemory::setCamera(const std::string& camera) {
    QSettings().setValue(fGroup + QStringLiteral("/camera"), QString::fromStdString(camera));
}

std::optional<CameraSettings> CameraMemory::settings(const std::string& camera) const {
    const QSettings store;
    CameraSettings settings;
    settings.fWidth = store.value(xKey(camera, "width")).toInt();
    settings.fHeight = store.value(xKey(camera, "height")).toInt();
    settings.fFormat = store.value(xKey(camera, "format")).toString().toStdString();
    settings.fRate = store.value(xKey(camera, "rate")).toDouble();
    const bool isWhole = settings.fWidth > 0 && settings.fHeight > 0 && !settings.fFormat.empty() &&
                         settings.fRate > 0;
    return isWhole ? std::make_optional(settings) : std::nullopt;
}

void CameraMemory::setSettings(const std::string& camera, const CameraSettings& settings) {
    QSettings store;
    store.setValue(xKey(camera, "width"), settings.fWidth);
    store.setValue(xKey(camera, "height"), settings.fHeight);
    store.setValue(xKey(camera, "format"), QString::fromStdString(settings.fFormat));
    store.setValue(xKey(camera, "rate"), settings.fRate);
}

QString CameraMemory::xKey(const std::string& camera, const char* name) const {
    return QStringLiteral("%1/cameras/%2/%3").arg(fGroup, keyOf(camera), QLatin1String(name));
}

}  // namespace cameraviewer

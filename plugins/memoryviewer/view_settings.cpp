#include "view_settings.h"

#include <QByteArray>

namespace memoryviewer {

namespace {

constexpr int a_longestName = 200;

QString keyOf(const char* name) {
    return QLatin1String("memoryviewer/") + QLatin1String(name);
}

/** The name without what has a meaning in keys of settings. */
QString groupOf(const std::string& robotName) {
    const QByteArray name = QByteArray::fromStdString(robotName.substr(0, a_longestName));
    return QLatin1String("memoryviewer/robots/") + QLatin1String(name.toPercentEncoding()) +
           QLatin1Char('/');
}

}  // namespace

ViewSettings::ViewSettings(const std::string& robotName) : fRobotGroup(groupOf(robotName)) {
}

QVariant ViewSettings::value(const char* name, const QVariant& otherwise) const {
    return fSettings.value(keyOf(name), otherwise);
}

void ViewSettings::setValue(const char* name, const QVariant& value) {
    fSettings.setValue(keyOf(name), value);
}

QVariant ViewSettings::robotValue(const char* name) const {
    return fSettings.value(fRobotGroup + QLatin1String(name));
}

void ViewSettings::setRobotValue(const char* name, const QVariant& value) {
    fSettings.setValue(fRobotGroup + QLatin1String(name), value);
}

}  // namespace memoryviewer

#include <obvista/viewer/robot_settings.h>

#include <QByteArray>
#include <QCryptographicHash>

namespace obvista {

namespace {

constexpr int a_maxLevelLength = 100;

}  // namespace

RobotSettings::RobotSettings(const QString& viewer, const std::string& robotName)
    : fGroup(QStringLiteral("%1/robots/%2/").arg(viewer, level(robotName))) {
}

QVariant RobotSettings::value(const QString& name, const QVariant& otherwise) const {
    return fSettings.value(fGroup + name, otherwise);
}

void RobotSettings::setValue(const QString& name, const QVariant& value) {
    fSettings.setValue(fGroup + name, value);
}

void RobotSettings::setChanged(const QVariantMap& before, const QVariantMap& values) {
    for (auto each = values.begin(); each != values.end(); ++each) {
        if (each.value() != before.value(each.key())) {
            setValue(each.key(), each.value());
        }
    }
}

QString RobotSettings::level(const std::string& text) {
    if (text.empty()) {
        return QStringLiteral("%");  // not the encoding of any text
    }
    const QByteArray bytes = QByteArray::fromStdString(text);
    const QByteArray encoded = bytes.toPercentEncoding(QByteArray(), ".");
    return QString::fromLatin1(
        encoded.size() <= a_maxLevelLength
            ? encoded
            : QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex());
}

}  // namespace obvista

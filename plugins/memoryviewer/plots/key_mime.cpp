#include "plots/key_mime.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QMimeData>
#include <QVariant>

namespace memoryviewer {

QMimeData* keysToMime(const QStringList& names) {
    const QJsonDocument document(QJsonArray::fromStringList(names));
    auto* data = new QMimeData;
    data->setData(QLatin1String(a_keyMimeType), document.toJson(QJsonDocument::Compact));
    data->setText(names.join(QLatin1Char('\n')));
    return data;
}

QStringList keysFromMime(const QMimeData* data) {
    // Any program may offer data in this format.
    const QByteArray bytes = data->data(QLatin1String(a_keyMimeType));
    const QJsonDocument document = QJsonDocument::fromJson(bytes);
    QStringList names;
    for (const QVariant& name : document.array().toVariantList()) {
        names += name.toString();
    }
    return names;
}

}  // namespace memoryviewer

#include "key_mime.h"

#include <QDataStream>
#include <QIODevice>
#include <QMimeData>

namespace memoryviewer {

QMimeData* keysToMime(const QStringList& names) {
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << names;
    auto* data = new QMimeData;
    data->setData(QLatin1String(a_keyMimeType), bytes);
    data->setText(names.join(QLatin1Char('\n')));
    return data;
}

QStringList keysFromMime(const QMimeData* data) {
    QByteArray bytes = data->data(QLatin1String(a_keyMimeType));
    QDataStream stream(&bytes, QIODevice::ReadOnly);
    QStringList names;
    stream >> names;
    return stream.status() == QDataStream::Ok ? names : QStringList();
}

}  // namespace memoryviewer

#include "picture_origin.h"

#include <base/time.h>

#include <QRegularExpression>

namespace cameraviewer {
namespace {

/** UTF-16 units. */
constexpr int a_maxTextLength = 200;
/** Maximum UTF-8 bytes for each of the two names. A file name can have 255. */
constexpr int a_maxNameBytes = 80;
constexpr uint a_replacement = 0xfffd;

QString safeName(const QString& name, const QString& replacement) {
    QString safe;
    int bytes = 0;
    for (const QChar character : name) {
        // For QChar halves of characters beyond the basic plane are not letters.
        const bool isInner = character == QLatin1Char('.') || character == QLatin1Char('-');
        const bool isKept = character.isLetterOrNumber() || (isInner && !safe.isEmpty());
        const QChar next = isKept ? character : QLatin1Char('_');
        bytes += QString(next).toUtf8().size();
        if (bytes > a_maxNameBytes) {
            break;
        }
        safe += next;
    }
    return safe.isEmpty() ? replacement : safe;
}

}  // namespace

QString originText(const QString& name) {
    QString text;
    for (const uint character : name.left(a_maxTextLength).toUcs4()) {
        const uint shown = QChar::isPrint(character) ? character : a_replacement;
        text += QString::fromUcs4(&shown, 1);
    }
    return text.simplified();
}

QString timeText(std::int64_t microseconds) {
    const std::string text = base::utcText(microseconds);
    return text.empty() ? QString::number(microseconds) : QString::fromStdString(text);
}

QString formatText(KVPixelFormat format) {
    switch (format) {
        case KVPixelFormat::Rgb888:
            return QStringLiteral("RGB");
        case KVPixelFormat::Yuv422:
            return QStringLiteral("YUV 4:2:2");
        case KVPixelFormat::Grey8:
            return QStringLiteral("Grey");
        case KVPixelFormat::Jpeg:
            return QStringLiteral("JPEG");
        case KVPixelFormat::Unknown:
            break;
    }
    return QStringLiteral("Unknown");
}

QString suggestedFileName(const PictureOrigin& origin, std::int64_t microseconds,
                          const QString& suffix) {
    QString time = timeText(microseconds);
    // A number keeps its sign.
    time.remove(QRegularExpression(QStringLiteral("[:.Z]|(?<=\\d)-")));
    return safeName(origin.fRobot, QStringLiteral("robot")) + QLatin1Char('-') +
           safeName(origin.fCamera, QStringLiteral("camera")) + QLatin1Char('-') + time +
           QLatin1Char('.') + suffix;
}

}  // namespace cameraviewer

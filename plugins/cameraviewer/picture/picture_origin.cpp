#include "picture_origin.h"

#include <base/safe_text.h>
#include <base/time.h>

#include <QVector>

#include <string>

namespace cameraviewer {
namespace {

/** UTF-16 units. */
constexpr int a_maxTextLength = 200;
constexpr uint a_replacement = 0xfffd;

QString fileNamePart(const QString& name, const QString& replacement) {
    const auto isLetter = [](char32_t code) { return QChar::isLetterOrNumber(code); };
    const std::string part = base::fileNamePart(name.toStdString(), isLetter);
    return part.empty() ? replacement : QString::fromStdString(part);
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
        case KVPixelFormat::H264:
            return QStringLiteral("H.264");
        case KVPixelFormat::Unknown:
            break;
    }
    return QStringLiteral("Unknown");
}

QString suggestedFileName(const PictureOrigin& origin, std::int64_t microseconds,
                          const QString& suffix) {
    return fileNamePart(origin.fRobot, QStringLiteral("robot")) + QLatin1Char('-') +
           fileNamePart(origin.fCamera, QStringLiteral("camera")) + QLatin1Char('-') +
           QString::fromStdString(base::fileTimeText(microseconds)) + QLatin1Char('.') + suffix;
}

}  // namespace cameraviewer

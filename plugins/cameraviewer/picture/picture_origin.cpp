#include "picture_origin.h"

#include <QDateTime>

namespace cameraviewer {
namespace {

constexpr std::int64_t a_microsecondsPerSecond = 1'000'000;
/** UTF-16 units. */
constexpr int a_maxTextLength = 200;
/** Bytes in UTF-8 for each of the two names. A file name can have 255. */
constexpr int a_maxNameBytes = 80;
constexpr uint a_replacement = 0xfffd;

/** A time's whole seconds and the microseconds beyond them, before 1970 too. */
struct SplitTime {
    explicit SplitTime(std::int64_t microseconds)
        : fSecond(microseconds / a_microsecondsPerSecond),
          fMicrosecond(microseconds % a_microsecondsPerSecond) {
        if (fMicrosecond < 0) {
            fMicrosecond += a_microsecondsPerSecond;
            --fSecond;
        }
    }

    std::int64_t fSecond;
    std::int64_t fMicrosecond;
};

/** @return empty outside the years 1 to 9999 */
QString dateText(const SplitTime& time, const QString& form, const QString& point) {
    const QDateTime second = QDateTime::fromSecsSinceEpoch(time.fSecond, Qt::UTC);
    const int year = second.date().year();
    if (!second.isValid() || year < 1 || year > 9999) {
        return {};
    }
    return second.toString(form) + point +
           QString::number(time.fMicrosecond).rightJustified(6, QLatin1Char('0'));
}

QString safeName(const QString& name, const QString& replacement) {
    QString safe;
    int bytes = 0;
    for (const QChar character : name) {
        // Halves of characters beyond the basic plane are no letters for QChar.
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
    const QString date = dateText(SplitTime(microseconds), QStringLiteral("yyyy-MM-ddTHH:mm:ss"),
                                  QStringLiteral("."));
    return date.isEmpty() ? QString::number(microseconds) : date + QLatin1Char('Z');
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
    QString time = dateText(SplitTime(microseconds), QStringLiteral("yyyyMMddTHHmmss"), QString());
    if (time.isEmpty()) {
        time = QString::number(microseconds);
    }
    return safeName(origin.fRobot, QStringLiteral("robot")) + QLatin1Char('-') +
           safeName(origin.fCamera, QStringLiteral("camera")) + QLatin1Char('-') + time +
           QLatin1Char('.') + suffix;
}

}  // namespace cameraviewer

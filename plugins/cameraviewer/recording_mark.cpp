#include "recording_mark.h"

#include "figures.h"

#include <obvista/viewer/labels.h>

#include <QHideEvent>
#include <QPainter>

#include <algorithm>

namespace cameraviewer {

namespace {

constexpr int a_minute = 60;
constexpr int a_hour = 60 * a_minute;
constexpr double a_dotSize = 0.7;  // of the height of a line

int dotSpace(const QFontMetrics& metrics) {
    return metrics.height() * 3 / 2;
}

/** Returns the time as a clock shows it: "0:07", "1:02:03". */
QString clockText(double seconds) {
    const auto whole = static_cast<qint64>(seconds);
    const auto twoDigits = [](qint64 number) {
        return QStringLiteral("%1").arg(number, 2, 10, QLatin1Char('0'));
    };
    const QString minutes = whole < a_hour
                                ? QString::number(whole / a_minute)
                                : QStringLiteral("%1:%2").arg(QString::number(whole / a_hour),
                                                              twoDigits(whole % a_hour / a_minute));
    return minutes + QLatin1Char(':') + twoDigits(whole % a_minute);
}

}  // namespace

RecordingMark::RecordingMark(QWidget* parent) : QLabel(parent) {
    setObjectName(QStringLiteral("recordingMark"));
    setTextFormat(Qt::PlainText);
    setContentsMargins(dotSpace(fontMetrics()), 0, fontMetrics().height() / 2, 0);
    hide();
}

void RecordingMark::showProgress(double seconds, std::int64_t bytes) {
    const QString progress = clockText(seconds) + obvista::statusSeparator() + sizeText(bytes);
    if (progress != text()) {
        setText(progress);
        //: %1 is what the recording says of its progress
        setAccessibleName(tr("Recording: %1").arg(progress));
        // Keeps the following widgets in place when the width of the digits changes.
        setMinimumWidth(std::max(minimumWidth(), sizeHint().width()));
    }
    show();
}

void RecordingMark::paintEvent(QPaintEvent* event) {
    QLabel::paintEvent(event);
    const double size = a_dotSize * fontMetrics().height();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(220, 30, 30));  // red for light and dark palettes
    painter.drawEllipse(
        QRectF((dotSpace(fontMetrics()) - size) / 2, (height() - size) / 2, size, size));
}

void RecordingMark::hideEvent(QHideEvent* event) {
    QLabel::hideEvent(event);
    if (!event->spontaneous()) {
        setMinimumWidth(0);
    }
}

}  // namespace cameraviewer

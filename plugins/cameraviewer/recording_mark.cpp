#include "recording_mark.h"

#include <obvista/viewer/labels.h>
#include <obvista/viewer/value_text.h>

#include <QHideEvent>
#include <QPainter>

#include <algorithm>

namespace cameraviewer {

namespace {

constexpr double a_dotSize = 0.7;  // of the height of a line

int dotSpace(const QFontMetrics& metrics) {
    return metrics.height() * 3 / 2;
}

}  // namespace

RecordingMark::RecordingMark(QWidget* parent) : QLabel(parent) {
    setObjectName(QStringLiteral("recordingMark"));
    setTextFormat(Qt::PlainText);
    setContentsMargins(dotSpace(fontMetrics()), 0, fontMetrics().height() / 2, 0);
    hide();
}

void RecordingMark::showProgress(double seconds, std::int64_t bytes) {
    const QString progress = obvista::clockText(static_cast<qint64>(seconds)) +
                             obvista::statusSeparator() + obvista::sizeText(bytes);
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

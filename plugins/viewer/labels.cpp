#include "labels.h"

#include <QCoreApplication>
#include <QLabel>

namespace viewer {

QLabel* makeLabel(const char* objectName, QWidget* parent) {
    auto* label = new QLabel(parent);
    label->setObjectName(QLatin1String(objectName));
    label->setTextFormat(Qt::PlainText);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return label;
}

QLabel* makeMessage(const char* objectName, QWidget* parent) {
    QLabel* message = makeLabel(objectName, parent);
    message->setAlignment(Qt::AlignCenter);
    message->setWordWrap(true);
    message->setMargin(message->fontMetrics().height());
    return message;
}

QLabel* makeNotice(const char* objectName, QWidget* parent) {
    QLabel* notice = makeLabel(objectName, parent);
    notice->setWordWrap(true);
    notice->setMargin(notice->fontMetrics().height() / 2);
    notice->setAutoFillBackground(true);
    notice->setBackgroundRole(QPalette::ToolTipBase);
    notice->setForegroundRole(QPalette::ToolTipText);
    return notice;
}

QLabel* makeStatusLine(const char* objectName, QWidget* parent) {
    QLabel* line = makeLabel(objectName, parent);
    line->setMargin(line->fontMetrics().height() / 4);
    line->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    return line;
}

void setStatus(QLabel& line, const QString& status) {
    line.setText(status);
    line.setToolTip(QStringLiteral("<p>%1</p>").arg(status.toHtmlEscaped()));
    line.setAccessibleName(QCoreApplication::translate("viewer", "Status: %1").arg(status));
}

QString statusSeparator() {
    return QStringLiteral("  \u00B7  ");
}

}  // namespace viewer

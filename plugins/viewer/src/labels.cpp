#include "keep_units.h"

#include <obvista/viewer/labels.h>

#include <QCoreApplication>
#include <QLabel>
#include <QPainter>
#include <QResizeEvent>

#include <algorithm>

namespace obvista {

namespace {

/** A line that is cut with an ellipsis. */
class StatusLine : public QLabel {
  public:
    using QLabel::QLabel;

  protected:
    void paintEvent(QPaintEvent* event) override {
        QLabel::paintEvent(event);
        if (fontMetrics().horizontalAdvance(text()) + 2 * margin() <= width()) {
            return;
        }
        const QString ellipsis(QChar(0x2026));
        const QRect end(width() - fontMetrics().horizontalAdvance(ellipsis) - margin(), 0, width(),
                        height());
        QPainter painter(this);
        painter.fillRect(end, palette().window());
        painter.setPen(palette().color(QPalette::WindowText));
        painter.drawText(end, Qt::AlignLeft | Qt::AlignVCenter, ellipsis);
    }
};

/** A label that wraps, and whose height only increases while its width is constant. */
class StatusLines : public QLabel {
  public:
    using QLabel::QLabel;

    int heightForWidth(int width) const override {
        const int height = QLabel::heightForWidth(width);
        if (width != this->width()) {
            return height;  // only a query of the layout
        }
        fHeight = std::max(fHeight, height);
        return fHeight;
    }

  protected:
    void resizeEvent(QResizeEvent* event) override {
        QLabel::resizeEvent(event);
        if (event->oldSize().width() != width()) {
            fHeight = 0;
        }
    }

    void changeEvent(QEvent* event) override {
        fHeight = 0;  // for another font
        QLabel::changeEvent(event);
    }

  private:
    mutable int fHeight = 0;
};

void prepare(QLabel& label, const char* objectName) {
    label.setObjectName(QLatin1String(objectName));
    label.setTextFormat(Qt::PlainText);
    label.setTextInteractionFlags(Qt::TextSelectableByMouse);
}

/** Breaks lines neither between a number and its unit nor before a separator. */
QString wrapping(const QString& status) {
    return keepUnits(status).replace(QStringLiteral("  \u00B7"),
                                     QStringLiteral("\u00A0\u00A0\u00B7"));
}

}  // namespace

QLabel* makeLabel(const char* objectName, QWidget* parent) {
    auto* label = new QLabel(parent);
    prepare(*label, objectName);
    return label;
}

QLabel* makeMessage(const char* objectName, QWidget* parent) {
    QLabel* message = makeLabel(objectName, parent);
    message->setAlignment(Qt::AlignCenter);
    message->setWordWrap(true);
    message->setMargin(message->fontMetrics().height());
    return message;
}

QLabel* makeBanner(const char* objectName, QWidget* parent) {
    QLabel* banner = makeLabel(objectName, parent);
    banner->setWordWrap(true);
    banner->setMargin(banner->fontMetrics().height() / 2);
    banner->setAutoFillBackground(true);
    banner->setBackgroundRole(QPalette::ToolTipBase);
    banner->setForegroundRole(QPalette::ToolTipText);
    return banner;
}

QLabel* makeStatusLine(const char* objectName, QWidget* parent) {
    auto* line = new StatusLine(parent);
    prepare(*line, objectName);
    line->setMargin(line->fontMetrics().height() / 4);
    line->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    return line;
}

QLabel* makeStatusLines(const char* objectName, QWidget* parent) {
    auto* lines = new StatusLines(parent);
    prepare(*lines, objectName);
    lines->setMargin(lines->fontMetrics().height() / 4);
    lines->setWordWrap(true);
    QSizePolicy policy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    policy.setHeightForWidth(true);
    lines->setSizePolicy(policy);
    return lines;
}

void explain(QWidget& control, const QString& text) {
    control.setToolTip(QStringLiteral("<p>%1</p>").arg(text.toHtmlEscaped()));
    control.setAccessibleDescription(text);
}

void nameByLabel(QWidget& control, const QString& name) {
    auto* label = new QLabel(name, control.parentWidget());
    label->setTextFormat(Qt::PlainText);
    label->setBuddy(&control);
    label->hide();
    control.setAccessibleName(name);
}

void setStatus(QLabel& line, const QString& status) {
    line.setText(line.wordWrap() ? wrapping(status) : status);
    explain(line, status);
    //: %1 is the status line, for screen readers
    line.setAccessibleName(QCoreApplication::translate("viewer", "Status: %1").arg(status));
}

QString statusSeparator() {
    return QStringLiteral("  \u00B7  ");
}

}  // namespace obvista

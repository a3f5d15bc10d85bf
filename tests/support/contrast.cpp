#include "contrast.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QComboBox>
#include <QHash>
#include <QHeaderView>
#include <QImage>
#include <QLabel>
#include <QLineEdit>

#include <algorithm>
#include <cmath>

namespace obvista_test {

namespace {

double luminance(const QColor& colour) {
    const auto linear = [](double part) {
        return part <= 0.03928 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) +
           0.0722 * linear(colour.blueF());
}

/** Returns the part of a control in which its text is, without its frame. */
QRect insideOf(const QWidget& control) {
    const int frame = control.fontMetrics().height() / 4;
    return control.rect().adjusted(frame, frame, -frame, -frame);
}

class FaintTexts {
  public:
    /** @param area where the text is; empty if it is not visible */
    void examine(QWidget* widget, const QRect& area, const QString& text) {
        if (text.trimmed().isEmpty() || area.isEmpty() || !widget->isVisible() ||
            !widget->isEnabled()) {
            return;
        }
        const double found = coloursIn(widget, area).fContrast;
        if (found < a_textContrast) {
            fTexts += QStringLiteral("%1 (%2)").arg(text).arg(found, 0, 'f', 1);
        }
    }

    QStringList fTexts;
};

void examineRows(QAbstractItemView* view, const QModelIndex& parent, FaintTexts& faint) {
    const QAbstractItemModel* model = view->model();
    const QRect area = view->viewport()->rect();
    for (int row = 0; row < model->rowCount(parent); ++row) {
        for (int column = 0; column < model->columnCount(parent); ++column) {
            const QModelIndex index = model->index(row, column, parent);
            const QRect cell = view->visualRect(index);
            // The desktop chooses both colours of selected rows, often with less contrast.
            const bool isSelected = view->selectionModel()->isSelected(index);
            if ((index.flags() & Qt::ItemIsEnabled) != 0 && !isSelected && area.contains(cell)) {
                faint.examine(view->viewport(), cell, index.data().toString());
            }
        }
        examineRows(view, model->index(row, 0, parent), faint);
    }
}

}  // namespace

double contrast(const QColor& one, const QColor& other) {
    const auto [darker, lighter] = std::minmax({luminance(one), luminance(other)});
    return (lighter + 0.05) / (darker + 0.05);
}

Colours coloursIn(const QImage& image) {
    QHash<QRgb, int> pixels;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            ++pixels[image.pixel(x, y)];
        }
    }
    const auto most = std::max_element(pixels.cbegin(), pixels.cend());
    Colours colours{most.key(), 1};
    for (auto pixel = pixels.cbegin(); pixel != pixels.cend(); ++pixel) {
        colours.fContrast = std::max(colours.fContrast, contrast(colours.fBackground, pixel.key()));
    }
    return colours;
}

Colours coloursIn(QWidget* widget, const QRect& area) {
    return coloursIn(widget->grab(area).toImage());
}

Colours coloursIn(QWidget* widget) {
    return coloursIn(widget, widget->rect());
}

QStringList faintTexts(const QWidget& window) {
    FaintTexts faint;
    for (auto* label : window.findChildren<QLabel*>()) {
        faint.examine(label, label->contentsRect(), label->text());
    }
    for (auto* button : window.findChildren<QAbstractButton*>()) {
        faint.examine(button, insideOf(*button), button->text());
    }
    for (auto* box : window.findChildren<QComboBox*>()) {
        // Without the arrow, which has its own colour.
        faint.examine(box, insideOf(*box).adjusted(0, 0, -box->height(), 0), box->currentText());
    }
    for (auto* line : window.findChildren<QLineEdit*>()) {
        faint.examine(line, insideOf(*line), line->text());
    }
    for (auto* view : window.findChildren<QAbstractItemView*>()) {
        auto* titles = qobject_cast<QHeaderView*>(view);
        if (titles == nullptr && view->isVisible()) {
            examineRows(view, view->rootIndex(), faint);
        } else if (titles != nullptr) {
            faint.examine(titles->viewport(), titles->viewport()->rect(), titles->objectName());
        }
    }
    for (auto* part : window.findChildren<QWidget*>()) {
        if (part->inherits("QwtScaleWidget")) {
            faint.examine(part, part->rect(), QStringLiteral("scale"));
        }
    }
    return faint.fTexts;
}

QPalette darkPalette() {
    const QColor window(49, 54, 59);
    const QColor text(239, 240, 241);
    QPalette palette(text, window, window.lighter(), window.darker(), window, text, Qt::white,
                     QColor(35, 38, 41), window);
    palette.setColor(QPalette::AlternateBase, window);
    palette.setColor(QPalette::Highlight, QColor(30, 90, 140));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::ToolTipBase, window);
    palette.setColor(QPalette::ToolTipText, text);
    return palette;
}

QPalette highContrastPalette() {
    QPalette palette(Qt::white, Qt::black, Qt::white, Qt::gray, Qt::lightGray, Qt::white, Qt::white,
                     Qt::black, Qt::black);
    palette.setColor(QPalette::AlternateBase, Qt::black);
    palette.setColor(QPalette::Highlight, Qt::yellow);
    palette.setColor(QPalette::HighlightedText, Qt::black);
    palette.setColor(QPalette::Link, Qt::yellow);
    palette.setColor(QPalette::ToolTipBase, Qt::black);
    palette.setColor(QPalette::ToolTipText, Qt::white);
    return palette;
}

}  // namespace obvista_test

#include "cut_texts.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QHeaderView>
#include <QLabel>

namespace obvista_test {

namespace {

template <class Widget>
QList<Widget*> visibleParts(const QWidget& window, const QString& name = {}) {
    QList<Widget*> parts;
    for (auto* part : window.findChildren<Widget*>(name)) {
        if (part->isVisible()) {
            parts += part;
        }
    }
    return parts;
}

bool isCut(const QLabel& label) {
    if (label.text().isEmpty() || label.sizePolicy().horizontalPolicy() == QSizePolicy::Ignored) {
        return false;
    }
    return label.wordWrap() ? label.height() < label.heightForWidth(label.width())
                            : label.width() < label.sizeHint().width() ||
                                  label.height() < label.sizeHint().height();
}

}  // namespace

QStringList cutTexts(const QWidget& window) {
    QStringList texts;
    for (const auto* button : visibleParts<QAbstractButton>(window)) {
        const QSize wanted = button->sizeHint();
        if (!button->text().isEmpty() &&
            (button->width() < wanted.width() || button->height() < wanted.height())) {
            texts += button->text();
        }
    }
    for (const auto* box : visibleParts<QComboBox>(window)) {
        if (box->width() < box->sizeHint().width()) {
            texts += box->currentText();
        }
    }
    for (const auto* label : visibleParts<QLabel>(window)) {
        if (isCut(*label)) {
            texts += label->text();
        }
    }
    for (const auto* titles : visibleParts<QHeaderView>(window)) {
        for (int section = 0; section < titles->count(); ++section) {
            if (!titles->isSectionHidden(section) &&
                titles->sectionSize(section) < titles->sectionSizeHint(section)) {
                texts += titles->model()->headerData(section, titles->orientation()).toString();
            }
        }
    }
    for (const char* more : {"qt_toolbar_ext_button", "qt_menubar_ext_button"}) {
        if (!visibleParts<QWidget>(window, QLatin1String(more)).isEmpty()) {
            texts += QLatin1String(more);
        }
    }
    return texts;
}

}  // namespace obvista_test

#include "cut_texts.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>

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

QString nameOf(const QWidget& part) {
    return part.metaObject()->className() + QLatin1Char(' ') + part.objectName() +
           QLatin1Char(' ') + part.property("text").toString();
}

/** Returns true if a part of the widget is outside its window or behind another widget. */
bool isClipped(const QWidget& part) {
    return part.visibleRegion().boundingRect() != part.rect();
}

bool isCut(const QLabel& label) {
    if (label.text().isEmpty() || label.sizePolicy().horizontalPolicy() == QSizePolicy::Ignored) {
        return false;
    }
    if (isClipped(label)) {
        return true;
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
        if (button->text().isEmpty()
                ? !button->icon().isNull() && isClipped(*button)
                : button->width() < wanted.width() || button->height() < wanted.height() ||
                      isClipped(*button)) {
            texts += button->text() + button->objectName();
        }
    }
    for (const auto* box : visibleParts<QComboBox>(window)) {
        if (box->width() < box->sizeHint().width() || isClipped(*box)) {
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

QStringList overlappingParts(const QWidget& window) {
    QList<QWidget*> parts;
    for (auto* part : visibleParts<QWidget>(window)) {
        const auto* label = qobject_cast<QLabel*>(part);
        const bool isControl = qobject_cast<QAbstractButton*>(part) != nullptr ||
                               qobject_cast<QComboBox*>(part) != nullptr ||
                               qobject_cast<QLineEdit*>(part) != nullptr;
        if (isControl || (label != nullptr && !label->text().isEmpty())) {
            parts += part;
        }
    }
    QStringList pairs;
    for (int i = 0; i < parts.size(); ++i) {
        const QRect area(parts[i]->mapTo(&window, QPoint()), parts[i]->size());
        for (int other = i + 1; other < parts.size(); ++other) {
            const QRect otherArea(parts[other]->mapTo(&window, QPoint()), parts[other]->size());
            if (area.intersects(otherArea) && !parts[i]->isAncestorOf(parts[other]) &&
                !parts[other]->isAncestorOf(parts[i])) {
                pairs += nameOf(*parts[i]) + QStringLiteral(" and ") + nameOf(*parts[other]);
            }
        }
    }
    return pairs;
}

}  // namespace obvista_test

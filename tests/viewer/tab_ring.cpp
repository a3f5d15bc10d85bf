#include "tab_ring.h"

#include <QTest>
#include <QWidget>

namespace obvista_test {

namespace {

/** Returns the object name, or another property that identifies a control. */
QString nameOf(const QWidget& widget) {
    if (!widget.objectName().isEmpty()) {
        return widget.objectName();
    }
    const QString text = widget.property("text").toString();
    return text.isEmpty() ? QLatin1String(widget.metaObject()->className()) : text;
}

}  // namespace

QStringList walkedByTab(QWidget& window, Qt::Key key) {
    const QWidget* first = window.focusWidget();
    if (first == nullptr) {
        return {};
    }
    const int most = window.findChildren<QWidget*>().size();
    QStringList names;
    const QWidget* current = first;
    do {
        names += nameOf(*current);
        QTest::keyClick(window.focusWidget(), key);
        current = window.focusWidget();
    } while (current != first && current != nullptr && names.size() <= most);
    return names;
}

QStringList tabStops(const QWidget& widget) {
    QStringList names;
    for (const QWidget* part : widget.findChildren<QWidget*>()) {
        const bool takesTab = (part->focusPolicy() & Qt::TabFocus) == Qt::TabFocus;
        if (takesTab && part->focusProxy() == nullptr && part->isVisible() && part->isEnabled()) {
            names += nameOf(*part);
        }
    }
    names.sort();
    return names;
}

}  // namespace obvista_test

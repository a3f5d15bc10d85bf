#ifndef OBVISTA_TESTS_SUPPORT_HELD_KEY_H
#define OBVISTA_TESTS_SUPPORT_HELD_KEY_H

#include <QApplication>
#include <QtTest>

namespace obvista_test {

/** Sends a repetition of a key that is held to the widget that has the focus then. */
inline void repeatKey(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    QWidget* focus = QApplication::focusWidget();
    if (focus == nullptr) {
        focus = QApplication::activeWindow();
    }
    QTest::simulateEvent(focus, true, key, modifiers, QString(), true);
}

/** Presses a key in the widget that has the focus, and holds it until it has repeated three times.
 */
inline void holdKey(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    QTest::keyPress(QApplication::focusWidget(), key, modifiers);
    for (int i = 0; i < 3; ++i) {
        QCoreApplication::processEvents();
        repeatKey(key, modifiers);
    }
    QTest::keyRelease(QApplication::activeWindow(), key, modifiers);
}

}  // namespace obvista_test

#endif

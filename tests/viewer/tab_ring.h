#ifndef OBVISTA_TESTS_TAB_RING_H
#define OBVISTA_TESTS_TAB_RING_H

#include <QStringList>
#include <Qt>

class QWidget;

namespace obvista_test {

/**
 * Presses `key`, Qt::Key_Tab or Qt::Key_Backtab, until the focus returns to the first control, and
 * returns the names of the visited controls in this order, including the first one.
 *
 * The walk also ends without returning after more key presses than the window has widgets: a trap
 * appears as repeated names.
 */
QStringList walkedByTab(QWidget& window, Qt::Key key);

/**
 * Returns the sorted names of all controls inside a widget that Tab must reach: visible, enabled,
 * and with a focus policy that includes Tab.
 */
QStringList tabStops(const QWidget& widget);

}  // namespace obvista_test

#endif

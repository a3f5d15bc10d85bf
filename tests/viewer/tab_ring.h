#ifndef OBVISTA_TESTS_TAB_RING_H
#define OBVISTA_TESTS_TAB_RING_H

#include <QStringList>
#include <Qt>

class QWidget;

namespace obvista_test {

/**
 * Presses `key`, Qt::Key_Tab or Qt::Key_Backtab, until the keyboard is back at the control that had
 * it first, and returns the names of the controls on the way in this order, the first one included.
 *
 * The walk also ends, without having come back, after more presses than the window has widgets:
 * a trap shows as repeated names.
 */
QStringList walkedByTab(QWidget& window, Qt::Key key);

/** The names of all controls inside a widget that Tab has to reach: visible, enabled, and with a
 *  focus policy that has Tab. Sorted. */
QStringList tabStops(const QWidget& widget);

}  // namespace obvista_test

#endif

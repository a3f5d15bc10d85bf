#ifndef OBVISTA_VIEWER_WIDGET_SEEN_H
#define OBVISTA_VIEWER_WIDGET_SEEN_H

#include <obvista/viewer/viewer_export.h>

class QWidget;

namespace obvista {

/**
 * Returns true if the widget is visible on the screen as far as the window system reports it: not
 * hidden, in a background tab, or in a window that is minimised or on another desktop. No event
 * reports all of these; call it several times a second. GUI thread.
 */
OBVISTA_VIEWER_EXPORT bool isSeen(const QWidget& widget);

}  // namespace obvista

#endif

#ifndef OBVISTA_VIEWER_WIDGET_SEEN_H
#define OBVISTA_VIEWER_WIDGET_SEEN_H

#include <obvista/viewer/viewer_export.h>

class QWidget;

namespace obvista {

/** Returns true if the user can see a widget as far as the window system tells: not when it is
 *  hidden or behind a tab, nor in a window that is minimised or on another desktop. No event tells
 *  of all these; ask a few times a second. GUI thread. */
OBVISTA_VIEWER_EXPORT bool isSeen(const QWidget& widget);

}  // namespace obvista

#endif

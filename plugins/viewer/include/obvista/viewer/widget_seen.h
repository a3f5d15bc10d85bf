#ifndef OBVISTA_VIEWER_WIDGET_SEEN_H
#define OBVISTA_VIEWER_WIDGET_SEEN_H

class QWidget;

namespace viewer {

/** Returns true if the user can see a widget as far as the window system tells: not when it is
 *  hidden or behind a tab, nor in a window that is minimised or on another desktop. No event tells
 *  of all these; ask a few times a second. GUI thread. */
bool isSeen(const QWidget& widget);

}  // namespace viewer

#endif

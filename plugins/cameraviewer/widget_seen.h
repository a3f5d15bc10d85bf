#ifndef OBVISTA_CAMERAVIEWER_WIDGET_SEEN_H
#define OBVISTA_CAMERAVIEWER_WIDGET_SEEN_H

class QWidget;

namespace cameraviewer {

/** Whether anybody can see a widget as far as the window system tells: not when it is hidden or
 *  behind a tab, nor in a window that is minimised or on another desktop. */
bool isSeen(const QWidget& widget);

}  // namespace cameraviewer

#endif

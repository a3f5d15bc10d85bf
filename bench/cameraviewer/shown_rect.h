#ifndef OBVISTA_BENCH_CAMERAVIEWER_SHOWN_RECT_H
#define OBVISTA_BENCH_CAMERAVIEWER_SHOWN_RECT_H

#include <QSize>

class QMainWindow;
class QWidget;

namespace bench {

/** Shows a frameless window with room for a picture of 1280x720, if the screen is large enough. */
void showLarge(QMainWindow& window);

/** Milliseconds until a window manager has placed a window and its layout is settled. */
constexpr int a_settling = 1500;

/**
 * Prints the position of a picture of that size on the screen: centred in the view, and no larger
 * than there is room: "shown LEFT TOP WIDTH".
 */
void tellWhereShown(QWidget* view, const QSize& picture);

}  // namespace bench

#endif

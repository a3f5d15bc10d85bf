#ifndef OBVISTA_BENCH_CAMERAVIEWER_SHOWN_RECT_H
#define OBVISTA_BENCH_CAMERAVIEWER_SHOWN_RECT_H

#include <QSize>

class QMainWindow;
class QWidget;

namespace bench {

/** Shows a window without a frame in which a picture of 1280x720 fits, where the screen allows. */
void showLarge(QMainWindow& window);

/** Milliseconds in which a window manager has placed a window, and its layout is settled. */
constexpr int a_settling = 1500;

/** Says on standard output where on the screen a picture of that size stands: in the middle of the
 *  view, and no larger than there is room: "shown LEFT TOP WIDTH". */
void tellWhereShown(QWidget* view, const QSize& picture);

}  // namespace bench

#endif

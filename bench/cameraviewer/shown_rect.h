#ifndef OBVISTA_BENCH_CAMERAVIEWER_SHOWN_RECT_H
#define OBVISTA_BENCH_CAMERAVIEWER_SHOWN_RECT_H

#include <QSize>

class QMainWindow;
class QWidget;

namespace bench {

/** Shows a window without a frame that fills the screen, so that a large picture fits. */
void fillScreen(QMainWindow& window);

/** Milliseconds in which a window manager has placed a window, and its layout is settled. */
constexpr int a_settling = 1500;

/** Says on standard output where on the screen a picture of that size stands: in the middle of the
 *  view, and no larger than there is room: "shown LEFT TOP WIDTH". */
void tellWhereShown(QWidget* view, const QSize& picture);

}  // namespace bench

#endif

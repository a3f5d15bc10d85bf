#ifndef OBVISTA_BENCH_MEMORYVIEWER_HOST_WINDOW_H
#define OBVISTA_BENCH_MEMORYVIEWER_HOST_WINDOW_H

#include <QElapsedTimer>
#include <QTimer>

class QAbstractItemView;
class QMainWindow;
class QModelIndex;

namespace bench {

/** The key whose value the benchmark sets to see when it appears. */
constexpr const char* a_probedKey = "Ballamor/Clipboard";

/** Milliseconds in which the keys have come, the window is placed, and its layout is settled. */
constexpr int a_settling = 4000;

/** Shows a window without a frame that fills the screen. */
void fillScreen(QMainWindow& window);

/** Says on standard output where on the screen a cell stands: "cell LEFT TOP WIDTH HEIGHT". */
void tellWhereShown(const QAbstractItemView& view, const QModelIndex& cell);

/**
 * Says on standard output, each time one of them gets longer, how many milliseconds the longest
 * hold of this thread's event loop took and for how many this thread ran at most between two looks
 * at it: "NAME HELD RAN". Where the first is far above the second, the thread was kept from
 * running.
 */
class LoopWatch {
  public:
    explicit LoopWatch(const char* name);

  private:
    void xLook();

    const char* fName;
    QTimer fTimer;
    QElapsedTimer fSinceLook;
    double fProcessorTime = 0;  // at the last look, milliseconds
    double fLongestHold = 0;
    double fLongestRun = 0;
};

}  // namespace bench

#endif

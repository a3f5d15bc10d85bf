#ifndef OBVISTA_BENCH_MEMORYVIEWER_HOST_WINDOW_H
#define OBVISTA_BENCH_MEMORYVIEWER_HOST_WINDOW_H

#include <QElapsedTimer>
#include <QTimer>

class QAbstractItemView;
class QMainWindow;
class QModelIndex;

namespace bench {

/** The key whose value the benchmark sets and then searches on the screen. */
constexpr const char* a_probedKey = "Ballamor/Clipboard";

/** Milliseconds until the keys are loaded, the window is placed, and its layout is settled. */
constexpr int a_settling = 4000;

/** Shows a frameless window that fills the screen. */
void fillScreen(QMainWindow& window);

/** Prints the position of a cell on the screen: "cell LEFT TOP WIDTH HEIGHT". */
void tellWhereShown(const QAbstractItemView& view, const QModelIndex& cell);

/**
 * Prints, each time one of them increases, the longest event-loop stall of this thread and the
 * longest processor time of this thread between two samples, in milliseconds: "NAME HELD RAN". If
 * the first is much longer than the second, the thread was not scheduled.
 */
class LoopWatch {
  public:
    explicit LoopWatch(const char* name);

  private:
    void xLook();

    const char* fName;
    QTimer fTimer;
    QElapsedTimer fSinceLook;
    double fProcessorTime = 0;  // at the last sample, milliseconds
    double fLongestHold = 0;
    double fLongestRun = 0;
};

}  // namespace bench

#endif

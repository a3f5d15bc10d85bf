#ifndef OBVISTA_BENCH_MEMORYVIEWER_CELL_WATCH_H
#define OBVISTA_BENCH_MEMORYVIEWER_CELL_WATCH_H

#include <QRect>

namespace bench {

/** Observes one cell on the screen. */
class CellWatch {
  public:
    explicit CellWatch(const QRect& cell) : fCell(cell) {}

    /**
     * Returns the number of text pixels: those that differ from the background, whatever its
     * current colour.
     */
    int ink() const;

  private:
    QRect fCell;
};

}  // namespace bench

#endif

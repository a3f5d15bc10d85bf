#ifndef OBVISTA_BENCH_MEMORYVIEWER_CELL_WATCH_H
#define OBVISTA_BENCH_MEMORYVIEWER_CELL_WATCH_H

#include <QRect>

namespace bench {

/** Looks at one cell on the screen. */
class CellWatch {
  public:
    explicit CellWatch(const QRect& cell) : fCell(cell) {}

    /** How many of its pixels belong to a text: those that stand out from the ground, whatever
     *  colour that has at the moment. */
    int ink() const;

  private:
    QRect fCell;
};

}  // namespace bench

#endif

#ifndef OBVISTA_MEMORYVIEWER_PLOT_HISTORY_H
#define OBVISTA_MEMORYVIEWER_PLOT_HISTORY_H

#include "plots/curve_history.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <vector>

namespace memoryviewer {

/**
 * The histories of all plotted keys, with a common limit: beyond it the oldest points are dropped,
 * so that all curves reach back about equally far.
 */
class PlotHistory {
  public:
    static constexpr std::size_t a_defaultMaximum = 1000000;

    /** Drops points beyond the new limit at once. @param points at least one chunk of a curve */
    void setMaximum(std::size_t points);
    std::size_t maximum() const { return fMaximum; }
    /** Returns the number of points of all curves together. */
    std::size_t size() const { return fSize; }

    /** Creates an empty history for a key. */
    void add(int key) { fCurves[key]; }
    void remove(int key);
    bool contains(int key) const { return fCurves.count(key) != 0; }
    /** The key must be contained. */
    const CurveHistory& curve(int key) const { return fCurves.at(key); }

    /**
     * Replaces the points of a key by those of a recording, which is complete: from now on nothing
     * is appended, and nothing interrupts the curve. Does nothing if the key is not contained.
     */
    void setRecorded(int key, const std::vector<CurvePoint>& points);

    /** Does nothing for keys that are not contained, or whose points are those of a recording. */
    void append(int key, const CurvePoint& point);
    void interrupt(int key, std::int64_t time);
    void interruptAll(std::int64_t time);
    /** Drops the points of all keys. */
    void clear();

  private:
    CurveHistory* xGrowing(int key);
    void xForgetBeyond();

    std::map<int, CurveHistory> fCurves;
    std::set<int> fRecorded;
    std::size_t fMaximum = a_defaultMaximum;
    std::size_t fSize = 0;
    std::uint64_t fOrder = 0;
};

}  // namespace memoryviewer

#endif

#ifndef OBVISTA_MEMORYVIEWER_THINNING_H
#define OBVISTA_MEMORYVIEWER_THINNING_H

#include "plots/curve_history.h"

#include <cstddef>
#include <limits>
#include <vector>

namespace memoryviewer {

/** The visible part of a curve, and how to draw it. */
struct DrawnPart {
    double fLeft = 0;   ///< microseconds
    double fRight = 0;  ///< microseconds, after fLeft
    int fColumns = 1;   ///< number of pixel columns between them, at least 1
    /** Time until which the last value is constant, if it is constant at all. */
    double fNow = 0;
    CurveShape fShape = CurveShape::Line;
    /**
     * Microseconds without a point after which a value of a line is drawn as constant until it
     * changed. The robot sends changes only: a straight line over a long pause would show a slope
     * that never existed.
     */
    double fHoldTime = std::numeric_limits<double>::infinity();
};

/** A point to be drawn. */
struct DrawnPoint {
    double fTime = 0;
    double fValue = 0;
};

/** The drawn points of a curve: straight lines through consecutive points. */
struct DrawnCurve {
    std::vector<DrawnPoint> fPoints;
    /** Index in fPoints of the start of each line; a line of one point is a dot. */
    std::vector<std::size_t> fLines;

    /** Returns the index after the last point of a line. */
    std::size_t endOf(std::size_t line) const {
        return line + 1 < fLines.size() ? fLines[line + 1] : fPoints.size();
    }
};

/**
 * Leaves out what would not be seen: of the points in one column of pixels, the first, the lowest,
 * the highest and the last are kept, of those on either side of the part the nearest one. Lines end
 * where the curve has a gap or its time goes back, unless that is narrower than a column.
 *
 * A robot whose clock goes back thousands of times would give more lines than can be drawn; of such
 * a curve the extent of each column remains.
 */
DrawnCurve thinOut(const CurveHistory& curve, const DrawnPart& part);

/** Minimum and maximum value. */
struct ValueSpan {
    double fMinimum = std::numeric_limits<double>::infinity();
    double fMaximum = -std::numeric_limits<double>::infinity();

    bool isEmpty() const { return fMinimum > fMaximum; }
    void add(double value);
};

/** Extends a span by the drawn points between two times. */
void addValues(ValueSpan& span, const DrawnCurve& drawn, double left, double right);

}  // namespace memoryviewer

#endif

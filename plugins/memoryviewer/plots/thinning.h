#ifndef OBVISTA_MEMORYVIEWER_THINNING_H
#define OBVISTA_MEMORYVIEWER_THINNING_H

#include "plots/curve_history.h"

#include <cstddef>
#include <limits>
#include <vector>

namespace memoryviewer {

/** The part of a curve that is drawn, and how. */
struct DrawnPart {
    double fLeft = 0;   ///< microseconds
    double fRight = 0;  ///< microseconds, after fLeft
    int fColumns = 1;   ///< of pixels between them, at least 1
    /** Up to which time the last value holds, if it does so at all. */
    double fNow = 0;
    CurveShape fShape = CurveShape::Line;
    /**
     * Microseconds without a point after which a value of a line counts as one that held and then
     * changed. The robot sends changes only: a straight line over a long pause would show a slope
     * that never was.
     */
    double fHoldTime = std::numeric_limits<double>::infinity();
};

/** A point to be drawn. */
struct DrawnPoint {
    double fTime = 0;
    double fValue = 0;
};

/** What is drawn of a curve: straight lines through consecutive points. */
struct DrawnCurve {
    std::vector<DrawnPoint> fPoints;
    /** Index in fPoints where each line begins; a line of one point is a dot. */
    std::vector<std::size_t> fLines;

    /** Index behind the last point of a line. */
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

/** Lowest and highest value. */
struct ValueSpan {
    double fMinimum = std::numeric_limits<double>::infinity();
    double fMaximum = -std::numeric_limits<double>::infinity();

    bool isEmpty() const { return fMinimum > fMaximum; }
    void add(double value);
};

/** Extends a span by what is drawn between two times. */
void addValues(ValueSpan& span, const DrawnCurve& drawn, double left, double right);

}  // namespace memoryviewer

#endif

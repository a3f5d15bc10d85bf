#ifndef OBVISTA_MEMORYVIEWER_CURVE_READING_H
#define OBVISTA_MEMORYVIEWER_CURVE_READING_H

#include <QString>

namespace memoryviewer {

class CurveHistory;
class TimeAxis;

/** Returns a value for the user. */
QString readingOf(double value);

/**
 * Returns the value of a curve for the user: at the cursor or, if there is no cursor, at the
 * position of a replay, or the newest one.
 */
QString readingOf(const CurveHistory& curve, const TimeAxis& time);

/**
 * Returns the title of the readings: a time with the resolution of `pixels`, or which values they
 * are.
 */
QString readingTitle(const TimeAxis& time, int pixels);

}  // namespace memoryviewer

#endif

#ifndef OBVISTA_MEMORYVIEWER_CURVE_READING_H
#define OBVISTA_MEMORYVIEWER_CURVE_READING_H

#include <QString>

namespace memoryviewer {

class CurveHistory;
class TimeAxis;

/**
 * Returns the value of a curve at the cursor, or the newest one if there is no cursor, for the
 * user.
 */
QString readingOf(const CurveHistory& curve, const TimeAxis& time);

/**
 * Returns the title of the readings: a time with the resolution of `pixels`, or the newest values.
 */
QString readingTitle(const TimeAxis& time, int pixels);

}  // namespace memoryviewer

#endif

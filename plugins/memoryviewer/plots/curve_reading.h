#ifndef OBVISTA_MEMORYVIEWER_CURVE_READING_H
#define OBVISTA_MEMORYVIEWER_CURVE_READING_H

#include <QString>

namespace memoryviewer {

class CurveHistory;
class TimeAxis;

/** The value of a curve at the cursor, or the newest one when there is no cursor, as the user reads
 *  it. */
QString readingOf(const CurveHistory& curve, const TimeAxis& time);

/** What readings are of: a time, as finely as `pixels` show it, or the newest values. */
QString readingTitle(const TimeAxis& time, int pixels);

}  // namespace memoryviewer

#endif

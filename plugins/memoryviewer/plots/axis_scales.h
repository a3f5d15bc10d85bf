#ifndef OBVISTA_MEMORYVIEWER_AXIS_SCALES_H
#define OBVISTA_MEMORYVIEWER_AXIS_SCALES_H

#include "plots/thinning.h"

#include <QString>
#include <qwt_scale_div.h>
#include <qwt_scale_draw.h>

namespace memoryviewer {

/** A time as the user reads it, in local time and with as many digits as `step` microseconds ask
 *  for; in plain seconds where it is no date of this or a near age. */
QString timeText(double time, double step);
/** The day of a time, or nothing. */
QString dayText(double time);
/** A number by the user's locale, with as many digits as tell it from its neighbours `step` away.
 */
QString numberText(double value, double step);

/** Ticks at round times: seconds, minutes, hours, days. @param maxLabels at least 1 */
QwtScaleDiv timeScale(double left, double right, int maxLabels);
/** Ticks at round values. The bounds must be finite and in order. */
QwtScaleDiv valueScale(double low, double high, int maxLabels);
/** Bounds in which a span is well seen: finite, apart, and round so that they seldom change. */
ValueSpan roomFor(const ValueSpan& span);

/** Labels of the time axis. None reaches beyond the ends of the axis, so that the plots above,
 * which have no labels, are as wide. */
class TimeScaleDraw : public QwtScaleDraw {
  public:
    /** @param pixels half the width of a label */
    void setLabelRoom(double pixels) { fLabelRoom = pixels; }
    QwtText label(double value) const override;

  private:
    double fLabelRoom = 0;
};

/** Labels of a values axis. */
class ValueScaleDraw : public QwtScaleDraw {
  public:
    QwtText label(double value) const override;
};

}  // namespace memoryviewer

#endif

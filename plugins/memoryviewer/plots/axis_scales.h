#ifndef OBVISTA_MEMORYVIEWER_AXIS_SCALES_H
#define OBVISTA_MEMORYVIEWER_AXIS_SCALES_H

#include "plots/thinning.h"

#include <QString>
#include <qwt_scale_div.h>
#include <qwt_scale_draw.h>

namespace memoryviewer {

/**
 * Returns a time for the user, in local time and with as many digits as `step` microseconds need;
 * in plain seconds if it is not a date of this or a near century.
 */
QString timeText(double time, double step);
/** Returns the day of a time, or nothing. */
QString dayText(double time);
/**
 * Returns a number with as many digits as distinguish it from its neighbours `step` away, and with
 * a decimal point in every language.
 */
QString numberText(double value, double step);

/** Returns ticks at round times: seconds, minutes, hours, days. @param maxLabels at least 1 */
QwtScaleDiv timeScale(double left, double right, int maxLabels);
/**
 * Returns ticks at round values, at least two. The bounds must be finite and in order.
 * @param maxLabels at least 2
 */
QwtScaleDiv valueScale(double low, double high, int maxLabels);
/**
 * Returns suitable axis bounds for a span: finite, distinct, and round so that they seldom change.
 */
ValueSpan roomFor(const ValueSpan& span);

/**
 * Labels of the time axis. None extends beyond the ends of the axis, so that the plots above, which
 * have no labels, have the same width.
 */
class TimeScaleDraw : public QwtScaleDraw {
  public:
    /** @param pixels half the width of a label */
    void setLabelRoom(double pixels) { fLabelRoom = pixels; }
    QwtText label(double value) const override;

  private:
    double fLabelRoom = 0;
};

/** Labels of a value axis. */
class ValueScaleDraw : public QwtScaleDraw {
  public:
    QwtText label(double value) const override;
};

}  // namespace memoryviewer

#endif

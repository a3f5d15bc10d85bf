#include "plots/curve_reading.h"

#include "plots/axis_scales.h"
#include "plots/curve_history.h"
#include "plots/time_axis.h"

#include <QCoreApplication>

#include <algorithm>
#include <cmath>

namespace memoryviewer {

namespace {

constexpr int a_significantDigits = 7;

/** The texts of this file in the catalogues of translations. */
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(memoryviewer::CurveReading)
};

/** Returns the value before the gap if a curve ends with one. */
CurvePoint lastValue(const CurveHistory& curve) {
    const std::size_t last = curve.size() - 1;
    return last > 0 && curve.isInterruption(last) ? curve.at(last - 1) : curve.at(last);
}

}  // namespace

QString readingOf(double value) {
    return std::isnan(value) ? Texts::tr("none") : QString::number(value, 'g', a_significantDigits);
}

QString readingOf(const CurveHistory& curve, const TimeAxis& time) {
    if (curve.isEmpty()) {
        return Texts::tr("no value yet");
    }
    const auto cursor = time.cursor();
    const auto at = !cursor && time.replay() ? time.now() : cursor;
    const auto point = at ? curve.pointAt(*at) : lastValue(curve);
    const bool isAhead = at && *at > time.knownUntil();
    //: no value at the time of the cursor
    return !point || isAhead ? Texts::tr("none") : readingOf(point->fValue);
}

QString readingTitle(const TimeAxis& time, int pixels) {
    const auto cursor = time.cursor();
    if (cursor) {
        return timeText(*cursor, time.span() / std::max(1, pixels));
    }
    //: the value at the position of a replay
    return time.replay() ? Texts::tr("Current value") : Texts::tr("Newest value");
}

}  // namespace memoryviewer

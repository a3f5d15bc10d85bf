#include "plots/axis_scales.h"

#include <base/time.h>

#include <QDateTime>
#include <QLocale>

#include <algorithm>
#include <array>
#include <cmath>

namespace memoryviewer {

namespace {

constexpr double a_second = base::a_microsecondsPerSecond;
constexpr double a_millisecond = 1e3;
/** The years 1900 to 2200, the range of a robot's clock that is set. */
constexpr double a_firstDate = -2208988800.0 * a_second;
constexpr double a_endOfDates = 7258118400.0 * a_second;
/** Maximum value that is drawn; the differences of larger ones are infinite. */
constexpr double a_largestValue = 1e300;
constexpr double a_margin = 0.05;
constexpr int a_maxDigits = 15;

bool isDate(double time) {
    return time >= a_firstDate && time < a_endOfDates;
}

QDateTime dateTime(double time) {
    return QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(std::floor(time / a_millisecond)));
}

/** Returns the decimals with which numbers `step` apart differ. */
int digitsFor(double step) {
    return step > 0
               ? std::clamp(static_cast<int>(std::ceil(-std::log10(step) - 1e-9)), 0, a_maxDigits)
               : 0;
}

double roundStep(double least) {
    constexpr double smallest = 1e-300;
    const double power = std::pow(10, std::floor(std::log10(std::max(least, smallest))));
    for (const double factor : {1.0, 2.0, 5.0}) {
        if (factor * power >= least * (1 - 1e-9)) {
            return factor * power;
        }
    }
    return 10 * power;
}

/** Returns 5 for 10, 2 for 5, 1 for 2. */
double nextFinerStep(double step) {
    return roundStep(step / 3);
}

double roundTimeStep(double least) {
    constexpr std::array<double, 17> steps{1,   2,   5,    10,   15,   30,    60,    120,  300,
                                           600, 900, 1800, 3600, 7200, 10800, 21600, 43200};
    constexpr double day = 86400;
    const double seconds = least / a_second;
    if (seconds <= steps.front()) {
        return roundStep(least);
    }
    const auto step = std::lower_bound(steps.begin(), steps.end(), seconds);
    return (step != steps.end() ? *step : day * std::ceil(roundStep(seconds / day))) * a_second;
}

/**
 * Returns the offset of local time from the robot's microseconds, so that ticks are at full local
 * hours.
 */
double localOffset(double time) {
    return isDate(time) ? dateTime(time).offsetFromUtc() * a_second : 0;
}

QwtScaleDiv ticks(double low, double high, double step, double offset) {
    QList<double> major;
    const double first = std::ceil((low + offset) / step);
    const double last = std::floor((high + offset) / step);
    constexpr double mostTicks = 100;
    const int count = static_cast<int>(std::clamp(last - first + 1, 0.0, mostTicks));
    for (int i = 0; i < count; ++i) {
        const double tick = (first + i) * step - offset;
        // Zero instead of a rounding error.
        major.append(std::fabs(tick) < step / 1e6 ? 0 : tick);
    }
    return QwtScaleDiv(low, high, {}, {}, major);
}

double majorStep(const QwtScaleDiv& scale) {
    const QList<double> major = scale.ticks(QwtScaleDiv::MajorTick);
    return major.size() > 1 ? major.at(1) - major.at(0) : scale.range();
}

QwtText plain(const QString& text) {
    return QwtText(text, QwtText::PlainText);
}

}  // namespace

QString timeText(double time, double step) {
    if (!isDate(time)) {
        return QString::number(time / a_second, 'f', std::min(digitsFor(step / a_second), 6)) +
               QStringLiteral(" s");
    }
    QString seconds = dateTime(time).toString(QStringLiteral("HH:mm:ss"));
    const int digits = std::min(digitsFor(step / a_second), 6);
    if (digits == 0) {
        return seconds;
    }
    const double fraction = time / a_second - std::floor(time / a_second);
    const double scale = std::pow(10, digits);
    const auto shown =
        static_cast<qlonglong>(std::min(std::floor(fraction * scale + 0.5), scale - 1));
    return seconds + QLatin1Char('.') +
           QStringLiteral("%1").arg(shown, digits, 10, QLatin1Char('0'));
}

QString dayText(double time) {
    return isDate(time) ? QLocale().toString(dateTime(time).date(), QLocale::ShortFormat)
                        : QString();
}

QString numberText(double value, double step) {
    constexpr double largestPlain = 1e7;
    constexpr double smallestPlain = 1e-6;
    const double size = std::fabs(value);
    if (size < largestPlain && step >= smallestPlain) {
        return QString::number(value, 'f', digitsFor(step));
    }
    const double digits = size > 0 && step > 0 ? std::ceil(std::log10(size / step)) + 1 : 1;
    return QString::number(value, 'g', static_cast<int>(std::clamp(digits, 1.0, 15.0)));
}

QwtScaleDiv timeScale(double left, double right, int maxLabels) {
    const double step = roundTimeStep((right - left) / std::max(maxLabels, 1));
    return ticks(left, right, step, localOffset(left));
}

QwtScaleDiv valueScale(double low, double high, int maxLabels) {
    const double step = roundStep((high - low) / std::max(maxLabels, 1));
    const QwtScaleDiv scale = ticks(low, high, step, 0);
    // A single value does not tell the scale of a low plot.
    const bool isEnough = scale.ticks(QwtScaleDiv::MajorTick).size() > 1;
    return isEnough ? scale : ticks(low, high, nextFinerStep(step), 0);
}

ValueSpan roomFor(const ValueSpan& span) {
    if (span.isEmpty()) {
        return {0, 1};
    }
    const double low = std::clamp(span.fMinimum, -a_largestValue, a_largestValue);
    const double high = std::clamp(span.fMaximum, -a_largestValue, a_largestValue);
    const double size = std::max(std::fabs(low), std::fabs(high));
    // Below this share a double has no distinct neighbours.
    constexpr double leastShare = 1e-12;
    constexpr double leastSize = 1e-290;
    const bool isFlat = high - low <= std::max(size * leastShare, leastSize);
    const double margin = !isFlat ? (high - low) * a_margin : size > leastSize ? size / 2 : 1;
    constexpr double steps = 20;
    const double step = roundStep((high - low + 2 * margin) / steps);
    return {std::floor((low - margin) / step) * step, std::ceil((high + margin) / step) * step};
}

QwtText TimeScaleDraw::label(double value) const {
    const double fromEnd =
        std::min(value - scaleDiv().lowerBound(), scaleDiv().upperBound() - value);
    if (fromEnd * length() < fLabelRoom * scaleDiv().range()) {
        return plain(QString());
    }
    return plain(timeText(value, majorStep(scaleDiv())));
}

QwtText ValueScaleDraw::label(double value) const {
    return plain(numberText(value, majorStep(scaleDiv())));
}

}  // namespace memoryviewer

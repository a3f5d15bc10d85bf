#include "plots/thinning.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace memoryviewer {

namespace {

/**
 * Points in a column beyond which only the extent of the columns is drawn. A curve that ascends in
 * time has up to 4, and as many again where values are constant.
 */
constexpr std::size_t a_maxPointsPerColumn = 16;

/** Where times lie in the part. */
class Columns {
  public:
    explicit Columns(const DrawnPart& part)
        : fLeft(part.fLeft),
          fRight(part.fRight),
          fCount(std::max(part.fColumns, 1)),
          fPerMicrosecond(fCount / (part.fRight - part.fLeft)) {}

    int count() const { return fCount; }
    /** -1 and count() stand for all that is on either side of the part. */
    int of(double time) const {
        if (time < fLeft) {
            return -1;
        }
        if (time > fRight) {
            return fCount;
        }
        return std::min(static_cast<int>((time - fLeft) * fPerMicrosecond), fCount - 1);
    }
    bool isInView(int column) const { return column >= 0 && column < fCount; }

  private:
    double fLeft;
    double fRight;
    int fCount;
    double fPerMicrosecond;
};

DrawnPoint drawn(const CurvePoint& point) {
    return {static_cast<double>(point.fTime), point.fValue};
}

/** Returns true if the value of a point is drawn as constant until a later time. */
bool holdsUntil(const DrawnPart& part, double from, double to) {
    return to > from && (part.fShape == CurveShape::Steps || to - from > part.fHoldTime);
}

/** Appends points and keeps the shape of the curve between them. */
class LineWriter {
  public:
    LineWriter(const DrawnPart& part, DrawnCurve& curve) : fPart(part), fCurve(curve) {}

    void end() { fIsInLine = false; }

    void add(const DrawnPoint& point) {
        if (!fIsInLine) {
            fCurve.fLines.push_back(fCurve.fPoints.size());
            fIsInLine = true;
        } else {
            const DrawnPoint before = fCurve.fPoints.back();
            if (holdsUntil(fPart, before.fTime, point.fTime) && point.fValue != before.fValue) {
                fCurve.fPoints.push_back({point.fTime, before.fValue});
            }
        }
        fCurve.fPoints.push_back(point);
    }

  private:
    const DrawnPart& fPart;
    DrawnCurve& fCurve;
    bool fIsInLine = false;
};

/** Merges points that lie in one column. */
class ColumnMerger {
  public:
    explicit ColumnMerger(LineWriter& writer) : fWriter(writer) {}

    /** Adds points that are finite at both ends. */
    void add(int column, const PointSummary& group) {
        if (fIsFilled && column == fColumn) {
            fLast = drawn(group.fLast);
            fMinimum = std::min(fMinimum, group.fMinimum);
            fMaximum = std::max(fMaximum, group.fMaximum);
            return;
        }
        flush();
        fIsFilled = true;
        fColumn = column;
        fFirst = drawn(group.fFirst);
        fLast = drawn(group.fLast);
        fMinimum = group.fMinimum;
        fMaximum = group.fMaximum;
    }

    void endLine() {
        flush();
        fWriter.end();
    }

    void flush() {
        if (!fIsFilled) {
            return;
        }
        fIsFilled = false;
        fWriter.add(fFirst);
        const double low = std::min(fFirst.fValue, fLast.fValue);
        const double high = std::max(fFirst.fValue, fLast.fValue);
        // Between the first and the last, to keep lines from going back and forth.
        const bool isRising = fFirst.fValue <= fLast.fValue;
        xAddPeak(isRising, low, high);
        xAddPeak(!isRising, low, high);
        if (fLast.fTime > fFirst.fTime || fLast.fValue != fFirst.fValue) {
            fWriter.add(fLast);
        }
    }

  private:
    void xAddPeak(bool isMinimum, double low, double high) {
        if (isMinimum ? fMinimum < low : fMaximum > high) {
            fWriter.add({fFirst.fTime, isMinimum ? fMinimum : fMaximum});
        }
    }

    LineWriter& fWriter;
    bool fIsFilled = false;
    int fColumn = 0;
    DrawnPoint fFirst;
    DrawnPoint fLast;
    double fMinimum = 0;
    double fMaximum = 0;
};

PointSummary summaryOf(const CurvePoint& point) {
    PointSummary summary;
    summary.fFirst = point;
    summary.fLast = point;
    summary.fMinimum = point.fValue;
    summary.fMaximum = point.fValue;
    return summary;
}

/** Follows the curve and gives what lies in the part, and its neighbours, to the merger. */
class Thinner : public CurveHistory::Visitor {
  public:
    explicit Thinner(const DrawnPart& part)
        : fPart(part), fColumns(part), fWriter(part, fCurve), fMerger(fWriter) {}

    bool takeGroup(const PointSummary& group) override {
        if (fIsTooFine) {
            return true;
        }
        const int column = fColumns.of(static_cast<double>(group.fEarliest));
        if (column != fColumns.of(static_cast<double>(group.fLatest))) {
            return false;
        }
        if (!fColumns.isInView(column)) {
            takePoint(group.fFirst, group.fBeginsAnew);
            xSkipTo(group.fLast, column);
            return true;
        }
        if (!std::isfinite(group.fFirst.fValue) || !std::isfinite(group.fLast.fValue)) {
            return false;
        }
        xComeTo(column, group.fBeginsAnew);
        xAdd(column, group);
        xSkipTo(group.fLast, column);
        fIsBeforeDrawn = true;
        return true;
    }

    void takePoint(const CurvePoint& point, bool beginsAnew) override {
        if (fIsTooFine) {
            return;
        }
        if (!std::isfinite(point.fValue)) {
            xTakeGap(point, beginsAnew);
            return;
        }
        const int column = fColumns.of(static_cast<double>(point.fTime));
        xComeTo(column, beginsAnew);
        // A point beside the part is drawn when the line to it passes through the part.
        const bool isDrawn = fColumns.isInView(column) || (fBefore && fBeforeColumn != column);
        if (isDrawn) {
            xAdd(column, summaryOf(point));
        }
        if (isDrawn && !fColumns.isInView(column)) {
            fMerger.endLine();
        }
        xSkipTo(point, column);
        fIsBeforeDrawn = isDrawn && fColumns.isInView(column);
    }

    bool isTooFine() const { return fIsTooFine; }

    DrawnCurve finish() {
        fMerger.endLine();
        return std::move(fCurve);
    }

  private:
    void xTakeGap(const CurvePoint& gap, bool beginsAnew) {
        const bool wasHeld =
            fBefore && !beginsAnew &&
            holdsUntil(fPart, static_cast<double>(fBefore->fTime), static_cast<double>(gap.fTime));
        if (wasHeld) {
            takePoint({gap.fTime, fBefore->fValue}, false);
        }
        fMerger.endLine();
        fBefore.reset();
    }

    /** Begins another line, or draws the neighbour that a line comes from into the part. */
    void xComeTo(int column, bool beginsAnew) {
        if (beginsAnew) {
            fMerger.endLine();
            fBefore.reset();
        }
        if (fBefore && !fIsBeforeDrawn && fBeforeColumn != column) {
            xAdd(fBeforeColumn, summaryOf(*fBefore));
        }
    }

    void xAdd(int column, const PointSummary& group) {
        fMerger.add(column, group);
        fIsTooFine = fCurve.fPoints.size() >
                     a_maxPointsPerColumn * static_cast<std::size_t>(fColumns.count() + 2);
    }

    void xSkipTo(const CurvePoint& point, int column) {
        fBefore = std::isfinite(point.fValue) ? std::optional<CurvePoint>(point) : std::nullopt;
        fBeforeColumn = column;
        fIsBeforeDrawn = false;
    }

    const DrawnPart& fPart;
    Columns fColumns;
    DrawnCurve fCurve;
    LineWriter fWriter;
    ColumnMerger fMerger;
    std::optional<CurvePoint> fBefore;
    int fBeforeColumn = 0;
    bool fIsBeforeDrawn = false;
    bool fIsTooFine = false;
};

/** The extent of the values in each column, without lines between columns. */
class Envelope : public CurveHistory::Visitor {
  public:
    explicit Envelope(const DrawnPart& part)
        : fColumns(part), fPart(part), fSpans(static_cast<std::size_t>(fColumns.count())) {}

    bool takeGroup(const PointSummary& group) override {
        const int column = fColumns.of(static_cast<double>(group.fEarliest));
        if (column != fColumns.of(static_cast<double>(group.fLatest))) {
            return false;
        }
        if (fColumns.isInView(column) && group.hasValues()) {
            xAdd(column, group.fMinimum);
            xAdd(column, group.fMaximum);
        }
        return true;
    }

    void takePoint(const CurvePoint& point, bool /*beginsAnew*/) override {
        const int column = fColumns.of(static_cast<double>(point.fTime));
        if (fColumns.isInView(column) && std::isfinite(point.fValue)) {
            xAdd(column, point.fValue);
        }
    }

    DrawnCurve finish() const {
        DrawnCurve curve;
        const double width = (fPart.fRight - fPart.fLeft) / fColumns.count();
        for (std::size_t column = 0; column < fSpans.size(); ++column) {
            if (fSpans[column].isEmpty()) {
                continue;
            }
            const double time = fPart.fLeft + (static_cast<double>(column) + 0.5) * width;
            curve.fLines.push_back(curve.fPoints.size());
            curve.fPoints.push_back({time, fSpans[column].fMinimum});
            curve.fPoints.push_back({time, fSpans[column].fMaximum});
        }
        return curve;
    }

  private:
    void xAdd(int column, double value) { fSpans[static_cast<std::size_t>(column)].add(value); }

    Columns fColumns;
    const DrawnPart& fPart;
    std::vector<ValueSpan> fSpans;
};

}  // namespace

DrawnCurve thinOut(const CurveHistory& curve, const DrawnPart& part) {
    // Written so that NaN is refused, too.
    if (!(part.fRight > part.fLeft) || curve.isEmpty()) {
        return {};
    }
    Thinner thinner(part);
    curve.visit(thinner);
    const CurvePoint last = curve.last();
    if (part.fNow > static_cast<double>(last.fTime)) {
        thinner.takePoint({pointTime(part.fNow), last.fValue}, false);
    }
    if (!thinner.isTooFine()) {
        return thinner.finish();
    }
    Envelope envelope(part);
    curve.visit(envelope);
    return envelope.finish();
}

void ValueSpan::add(double value) {
    fMinimum = std::min(fMinimum, value);
    fMaximum = std::max(fMaximum, value);
}

void addValues(ValueSpan& span, const DrawnCurve& drawn, double left, double right) {
    const auto isInView = [left, right](const DrawnPoint& point) {
        return point.fTime >= left && point.fTime <= right;
    };
    const auto addCrossing = [&span](const DrawnPoint& from, const DrawnPoint& to, double time) {
        if ((from.fTime < time) != (to.fTime < time)) {
            const double share = (time - from.fTime) / (to.fTime - from.fTime);
            span.add(from.fValue * (1 - share) + to.fValue * share);
        }
    };
    for (std::size_t line = 0; line < drawn.fLines.size(); ++line) {
        for (std::size_t i = drawn.fLines[line]; i < drawn.endOf(line); ++i) {
            const DrawnPoint& point = drawn.fPoints[i];
            if (isInView(point)) {
                span.add(point.fValue);
            }
            if (i > drawn.fLines[line]) {
                addCrossing(drawn.fPoints[i - 1], point, left);
                addCrossing(drawn.fPoints[i - 1], point, right);
            }
        }
    }
}

}  // namespace memoryviewer

#include "plots/curve_item.h"

#include <QPainter>
#include <QPolygonF>
#include <qwt_clipper.h>
#include <qwt_scale_map.h>

#include <algorithm>

namespace memoryviewer {

namespace {

/** Maximum coordinates that are passed to the painter. */
constexpr qreal a_farthest = 30000;
/** Clipping beside the canvas leaves a line along the edge, which must not be visible. */
constexpr qreal a_cutDistance = 20;
constexpr qreal a_dotSize = 3;
/**
 * Above this number of points for each pixel of the width, a curve is a pattern that smoothing
 * would only slow down.
 */
constexpr qreal a_smoothedDensity = 0.5;

bool isFar(const QPointF& point) {
    return std::max(std::abs(point.x()), std::abs(point.y())) > a_farthest;
}

}  // namespace

void CurveItem::prepare(const CurveHistory& history, DrawnPart part) {
    part.fShape = fShape;
    fDrawn = thinOut(history, part);
}

void CurveItem::draw(QPainter* painter, const QwtScaleMap& times, const QwtScaleMap& values,
                     const QRectF& canvas) const {
    painter->save();
    QPen pen = fPen;
    pen.setWidthF(painter->device()->devicePixelRatioF());
    painter->setPen(pen);
    const auto density = static_cast<qreal>(fDrawn.fPoints.size()) / std::max(canvas.width(), 1.0);
    painter->setRenderHint(QPainter::Antialiasing, density < a_smoothedDensity);
    for (std::size_t line = 0; line < fDrawn.fLines.size(); ++line) {
        const std::size_t end = fDrawn.endOf(line);
        QPolygonF points;
        points.reserve(static_cast<int>(end - fDrawn.fLines[line]));
        for (std::size_t i = fDrawn.fLines[line]; i < end; ++i) {
            points.append({times.transform(fDrawn.fPoints[i].fTime),
                           values.transform(fDrawn.fPoints[i].fValue)});
        }
        xDrawLine(painter, std::move(points), canvas);
    }
    painter->restore();
}

void CurveItem::xDrawLine(QPainter* painter, QPolygonF line, const QRectF& canvas) const {
    if (line.size() == 1) {
        if (canvas.contains(line.first())) {
            const QRectF dot(0, 0, a_dotSize, a_dotSize);
            painter->fillRect(dot.translated(line.first() - dot.center()), fPen.color());
        }
        return;
    }
    if (std::any_of(line.cbegin(), line.cend(), isFar)) {
        const QRectF area =
            canvas.adjusted(-a_cutDistance, -a_cutDistance, a_cutDistance, a_cutDistance);
        line = QwtClipper::clipPolygonF(area, line, false);
    }
    painter->drawPolyline(line);
}

}  // namespace memoryviewer

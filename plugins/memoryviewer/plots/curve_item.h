#ifndef OBVISTA_MEMORYVIEWER_CURVE_ITEM_H
#define OBVISTA_MEMORYVIEWER_CURVE_ITEM_H

#include "plots/thinning.h"

#include <QPen>
#include <qwt_plot_item.h>

namespace memoryviewer {

/**
 * The curve of one key in one plot.
 *
 * Before each picture prepare() selects the points to draw, so that the value axis can be fitted to
 * them first.
 */
class CurveItem : public QwtPlotItem {
  public:
    explicit CurveItem(int key) : fKey(key) {}

    int key() const { return fKey; }
    void setPen(const QPen& pen) { fPen = pen; }
    const QPen& pen() const { return fPen; }
    void setShape(CurveShape shape) { fShape = shape; }

    /** @param part its shape is the item's own */
    void prepare(const CurveHistory& history, DrawnPart part);
    const DrawnCurve& drawn() const { return fDrawn; }

    void draw(QPainter* painter, const QwtScaleMap& times, const QwtScaleMap& values,
              const QRectF& canvas) const override;

  private:
    void xDrawLine(QPainter* painter, QPolygonF line, const QRectF& canvas) const;

    int fKey;
    QPen fPen;
    CurveShape fShape = CurveShape::Line;
    DrawnCurve fDrawn;
};

}  // namespace memoryviewer

#endif

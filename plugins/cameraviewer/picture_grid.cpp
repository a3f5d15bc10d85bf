#include "picture_grid.h"

#include "view_geometry.h"

#include <QLineF>
#include <QPainter>
#include <QVector>

namespace cameraviewer {

namespace {

/** Minimum size of a picture pixel that gets a grid line, in units of the view. */
constexpr double a_framedPixel = 8;
/** Minimum distance of the lines of a coarser grid, in units of the view. */
constexpr double a_leastDistance = 48;
constexpr int a_alpha = 110;
constexpr double a_leastMarkSize = 9;

/** Alternates dark and bright, so that lines are visible on every picture. */
void drawLines(QPainter& painter, const QVector<QLineF>& lines) {
    painter.setPen(QPen(QColor(0, 0, 0, a_alpha), 0));
    painter.drawLines(lines);
    QPen bright(QColor(255, 255, 255, a_alpha), 0);
    bright.setDashPattern({3, 3});
    painter.setPen(bright);
    painter.drawLines(lines);
}

/** Returns the multiple of `step` at or above a non-negative number. */
int firstMultiple(int from, int step) {
    return (from + step - 1) / step * step;
}

}  // namespace

int gridStep(const ViewGeometry& geometry) {
    const double pixel = geometry.zoom() / geometry.pixelRatio();
    if (pixel >= a_framedPixel) {
        return 1;
    }
    for (int decade = 10;; decade *= 10) {
        for (const int factor : {1, 2, 5}) {
            const int step = factor * decade;
            if (step * pixel >= a_leastDistance) {
                return step;
            }
        }
    }
}

void paintGrid(QPainter& painter, const ViewGeometry& geometry, const QRect& pixels) {
    const int step = gridStep(geometry);
    const QTransform toView = geometry.pictureToView();
    const int right = pixels.x() + pixels.width();
    const int bottom = pixels.y() + pixels.height();
    QVector<QLineF> lines;
    for (int x = firstMultiple(pixels.x(), step); x <= right; x += step) {
        lines += toView.map(QLineF(x, pixels.y(), x, bottom));
    }
    for (int y = firstMultiple(pixels.y(), step); y <= bottom; y += step) {
        lines += toView.map(QLineF(pixels.x(), y, right, y));
    }
    drawLines(painter, lines);
}

void paintMark(QPainter& painter, const ViewGeometry& geometry, const QPoint& pixel) {
    QRectF mark = geometry.pictureToView().mapRect(QRectF(pixel, QSizeF(1, 1)));
    if (mark.width() < a_leastMarkSize) {
        const QPointF centre = mark.center();
        mark.setSize(QSizeF(a_leastMarkSize, a_leastMarkSize));
        mark.moveCenter(centre);
    }
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(Qt::black, 0));
    painter.drawRect(mark.adjusted(-1, -1, 1, 1));
    painter.setPen(QPen(Qt::yellow, 0));
    painter.drawRect(mark);
}

}  // namespace cameraviewer

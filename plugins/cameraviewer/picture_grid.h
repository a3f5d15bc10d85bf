#ifndef OBVISTA_CAMERAVIEWER_PICTURE_GRID_H
#define OBVISTA_CAMERAVIEWER_PICTURE_GRID_H

#include <QRect>

class QPainter;

namespace cameraviewer {

class ViewGeometry;

/**
 * Returns the distance of the grid lines in picture pixels: 1 if a pixel is large enough, otherwise
 * the smallest of 10, 20, 50, 100 and so on that leaves the picture between the lines visible.
 */
int gridStep(const ViewGeometry& geometry);

/** Draws lines on the borders of the picture's pixels, at multiples of gridStep(). */
void paintGrid(QPainter& painter, const ViewGeometry& geometry, const QRect& pixels);

/** Draws a frame around one pixel. */
void paintMark(QPainter& painter, const ViewGeometry& geometry, const QPoint& pixel);

}  // namespace cameraviewer

#endif

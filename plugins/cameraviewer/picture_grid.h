#ifndef OBVISTA_CAMERAVIEWER_PICTURE_GRID_H
#define OBVISTA_CAMERAVIEWER_PICTURE_GRID_H

#include <QRect>

class QPainter;

namespace cameraviewer {

class ViewGeometry;

/**
 * Pixels of the picture from one line of the grid to the next: 1 where a pixel is large enough to
 * be framed, else the least of 10, 20, 50, 100 and so on that leaves the picture between the lines
 * visible.
 */
int gridStep(const ViewGeometry& geometry);

/** Draws lines on the borders of the picture's pixels, at the multiples of gridStep(). */
void paintGrid(QPainter& painter, const ViewGeometry& geometry, const QRect& pixels);

/** Frames one pixel. */
void paintMark(QPainter& painter, const ViewGeometry& geometry, const QPoint& pixel);

}  // namespace cameraviewer

#endif

#ifndef OBVISTA_CAMERAVIEWER_PICTURE_GRID_H
#define OBVISTA_CAMERAVIEWER_PICTURE_GRID_H

#include <QRect>

class QPainter;

namespace cameraviewer {

class ViewGeometry;

/** Pixels of the picture from one line of the grid to the next: 1, 2, 5, 10, 20 and so on, as few
 * as can be told apart. */
int gridStep(const ViewGeometry& geometry);

/** Draws lines on the borders of the picture's pixels: of every pixel where they are large. */
void paintGrid(QPainter& painter, const ViewGeometry& geometry, const QRect& pixels);

/** Frames one pixel. */
void paintMark(QPainter& painter, const ViewGeometry& geometry, const QPoint& pixel);

}  // namespace cameraviewer

#endif

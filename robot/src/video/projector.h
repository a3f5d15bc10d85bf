#ifndef OBVISTA_ROBOT_VIDEO_PROJECTOR_H
#define OBVISTA_ROBOT_VIDEO_PROJECTOR_H

#include "video/canvas.h"
#include "video/geometry.h"

#include <vector>

namespace robot {

/** Position, direction and angle of view of a camera. */
struct View {
    Vector fPlace;
    Axes fAxes;
    double fWidth = 1;  ///< horizontal angle of view, rad
};

/** Draws three-dimensional shapes as a camera sees them. Later ones cover earlier ones. */
class Projector {
  public:
    Projector(Canvas& canvas, const View& view);

    const Vector& place() const { return fView.fPlace; }

    /** @param corners of a flat convex polygon */
    void drawPolygon(const std::vector<Vector>& corners, const Colour& colour);
    void drawBall(const Vector& middle, double radius, const Colour& colour);
    /** Draws a rod with round ends. */
    void drawRod(const Vector& from, const Vector& to, double radius, const Colour& colour);

  private:
    Vector xSeen(const Vector& place) const;
    Point xShown(const Vector& seen) const;
    double xShownLength(double length, double distance) const;

    Canvas& fCanvas;
    const View fView;
    const double fFocus;  // size of an object of one metre at a distance of one metre, pixels
};

}  // namespace robot

#endif

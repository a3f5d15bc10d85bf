#ifndef OBVISTA_ROBOT_VIDEO_PROJECTOR_H
#define OBVISTA_ROBOT_VIDEO_PROJECTOR_H

#include "video/canvas.h"
#include "video/geometry.h"

#include <vector>

namespace robot {

/** Where a camera is and looks, and how much it sees. */
struct View {
    Vector fPlace;
    Axes fAxes;
    double fWidth = 1;  ///< angle from the left to the right edge of the picture, rad
};

/** Draws shapes of space as a camera sees them. Later ones cover earlier ones. */
class Projector {
  public:
    Projector(Canvas& canvas, const View& view);

    const Vector& place() const { return fView.fPlace; }

    /** @param corners of a flat convex polygon */
    void drawPolygon(const std::vector<Vector>& corners, const Colour& colour);
    void drawBall(const Vector& middle, double radius, const Colour& colour);
    /** A rod with round ends. */
    void drawRod(const Vector& from, const Vector& to, double radius, const Colour& colour);

  private:
    Vector xSeen(const Vector& place) const;
    Point xShown(const Vector& seen) const;
    double xShownLength(double length, double distance) const;

    Canvas& fCanvas;
    const View fView;
    const double fFocus;  // of a thing one metre away and one metre long, pixels
};

}  // namespace robot

#endif

#include "video/projector.h"

#include <algorithm>
#include <cmath>

namespace robot {

namespace {

constexpr double a_nearest = 0.02;  // metres; anything nearer is clipped

/** Returns the part of a polygon in front of the camera. */
std::vector<Vector> inFront(const std::vector<Vector>& corners) {
    std::vector<Vector> kept;
    kept.reserve(corners.size() + 1);
    for (std::size_t i = 0; i < corners.size(); ++i) {
        const Vector& here = corners[i];
        const Vector& next = corners[(i + 1) % corners.size()];
        if (here.fX >= a_nearest) {
            kept.push_back(here);
        }
        if ((here.fX >= a_nearest) != (next.fX >= a_nearest)) {
            kept.push_back(here + (a_nearest - here.fX) / (next.fX - here.fX) * (next - here));
        }
    }
    return kept;
}

}  // namespace

Projector::Projector(Canvas& canvas, const View& view)
    : fCanvas(canvas), fView(view), fFocus(canvas.width() / 2.0 / std::tan(view.fWidth / 2)) {
}

void Projector::drawPolygon(const std::vector<Vector>& corners, const Colour& colour) {
    std::vector<Vector> seen;
    seen.reserve(corners.size());
    for (const Vector& corner : corners) {
        seen.push_back(xSeen(corner));
    }
    std::vector<Point> shown;
    for (const Vector& corner : inFront(seen)) {
        shown.push_back(xShown(corner));
    }
    fCanvas.fillPolygon(shown, colour);
}

void Projector::drawBall(const Vector& middle, double radius, const Colour& colour) {
    const Vector seen = xSeen(middle);
    if (seen.fX < a_nearest) {
        return;
    }
    const Point shown = xShown(seen);
    const double size = xShownLength(radius, seen.fX);
    fCanvas.fillDisc(shown, size, lit(colour, 0.75));
    fCanvas.fillDisc({shown.fX - size / 8, shown.fY - size / 8}, size * 0.86, colour);
    fCanvas.fillDisc({shown.fX - size / 3, shown.fY - size / 3}, size * 0.25, lit(colour, 1.5));
}

void Projector::drawRod(const Vector& from, const Vector& to, double radius, const Colour& colour) {
    const Vector a = xSeen(from);
    const Vector b = xSeen(to);
    if (std::min(a.fX, b.fX) < a_nearest) {
        return;
    }
    const Point shownA = xShown(a);
    const Point shownB = xShown(b);
    const double radiusA = xShownLength(radius, a.fX);
    const double radiusB = xShownLength(radius, b.fX);
    const double dx = shownB.fX - shownA.fX;
    const double dy = shownB.fY - shownA.fY;
    const double along = std::max(std::hypot(dx, dy), 1e-9);
    const double sideX = -dy / along;
    const double sideY = dx / along;
    fCanvas.fillDisc(shownA, radiusA, colour);
    fCanvas.fillDisc(shownB, radiusB, colour);
    fCanvas.fillPolygon({{shownA.fX + sideX * radiusA, shownA.fY + sideY * radiusA},
                         {shownB.fX + sideX * radiusB, shownB.fY + sideY * radiusB},
                         {shownB.fX - sideX * radiusB, shownB.fY - sideY * radiusB},
                         {shownA.fX - sideX * radiusA, shownA.fY - sideY * radiusA}},
                        colour);
}

Vector Projector::xSeen(const Vector& place) const {
    return fView.fAxes.inside(place - fView.fPlace);
}

Point Projector::xShown(const Vector& seen) const {
    return {fCanvas.width() / 2.0 - xShownLength(seen.fY, seen.fX),
            fCanvas.height() / 2.0 - xShownLength(seen.fZ, seen.fX)};
}

double Projector::xShownLength(double length, double distance) const {
    return fFocus * length / distance;
}

}  // namespace robot

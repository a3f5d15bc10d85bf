#include "video/canvas.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace robot {

namespace {

/** Returns the first pixel whose centre is at or beyond a position. */
int firstPixelFrom(double place, int count) {
    return static_cast<int>(std::clamp(std::ceil(place - 0.5), 0.0, static_cast<double>(count)));
}

std::uint8_t lit(std::uint8_t part, double light) {
    return static_cast<std::uint8_t>(std::clamp(part * light, 0.0, 255.0));
}

struct Span {
    double fLeft = std::numeric_limits<double>::infinity();
    double fRight = -std::numeric_limits<double>::infinity();

    /** Extends it to where the line from one corner to the next crosses a height. */
    void takeIn(const Point& from, const Point& to, double y) {
        if ((from.fY <= y) == (to.fY <= y)) {
            return;
        }
        const double x = from.fX + (to.fX - from.fX) * (y - from.fY) / (to.fY - from.fY);
        fLeft = std::min(fLeft, x);
        fRight = std::max(fRight, x);
    }
};

}  // namespace

Colour lit(const Colour& colour, double light) {
    return {lit(colour.fRed, light), lit(colour.fGreen, light), lit(colour.fBlue, light)};
}

void Canvas::resize(int width, int height) {
    fWidth = width;
    fHeight = height;
    fPixels.resize(xOffset(height));
}

void Canvas::fillRectangle(double left, double top, double right, double bottom,
                           const Colour& colour) {
    const int end = firstPixelFrom(bottom, fHeight);
    for (int y = firstPixelFrom(top, fHeight); y < end; ++y) {
        xFillSpan(y, left, right, colour);
    }
}

void Canvas::fillDisc(const Point& middle, double radius, const Colour& colour) {
    const int end = firstPixelFrom(middle.fY + radius, fHeight);
    for (int y = firstPixelFrom(middle.fY - radius, fHeight); y < end; ++y) {
        const double away = y + 0.5 - middle.fY;
        const double half = std::sqrt(std::max(0.0, radius * radius - away * away));
        xFillSpan(y, middle.fX - half, middle.fX + half, colour);
    }
}

void Canvas::fillPolygon(const std::vector<Point>& corners, const Colour& colour) {
    if (corners.size() < 3) {
        return;
    }
    const auto [top, bottom] = std::minmax_element(
        corners.begin(), corners.end(), [](const Point& a, const Point& b) { return a.fY < b.fY; });
    const int end = firstPixelFrom(bottom->fY, fHeight);
    for (int y = firstPixelFrom(top->fY, fHeight); y < end; ++y) {
        Span span;
        for (std::size_t i = 0; i < corners.size(); ++i) {
            span.takeIn(corners[i], corners[(i + 1) % corners.size()], y + 0.5);
        }
        xFillSpan(y, span.fLeft, span.fRight, colour);
    }
}

void Canvas::xFillSpan(int y, double left, double right, const Colour& colour) {
    const int begin = firstPixelFrom(left, fWidth);
    const int end = firstPixelFrom(right, fWidth);
    if (begin < end) {
        std::fill(row(y) + begin, row(y) + end, colour);
    }
}

}  // namespace robot

#ifndef OBVISTA_ROBOT_VIDEO_CANVAS_H
#define OBVISTA_ROBOT_VIDEO_CANVAS_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace robot {

/** Red, green, blue and an unused byte, in the order of the bytes in memory. */
struct Colour {
    std::uint8_t fRed = 0;
    std::uint8_t fGreen = 0;
    std::uint8_t fBlue = 0;
    std::uint8_t fUnused = 255;
};

constexpr Colour a_black{0, 0, 0};
constexpr Colour a_white{255, 255, 255};

/** Returns the colour under less or more light: 0 is black, 1 unchanged. */
Colour lit(const Colour& colour, double light);

/** A position in a picture, in pixels from its upper left corner. */
struct Point {
    double fX = 0;
    double fY = 0;
};

/** A picture to draw on. Drawing is clipped to its area. */
class Canvas {
  public:
    /** Sets the size; a change of the size discards the contents. */
    void resize(int width, int height);

    int width() const { return fWidth; }
    int height() const { return fHeight; }
    const Colour* row(int y) const { return fPixels.data() + xOffset(y); }
    Colour* row(int y) { return fPixels.data() + xOffset(y); }

    void fillRectangle(double left, double top, double right, double bottom, const Colour& colour);
    void fillDisc(const Point& middle, double radius, const Colour& colour);
    /** @param corners of a convex polygon, in either direction */
    void fillPolygon(const std::vector<Point>& corners, const Colour& colour);

  private:
    std::size_t xOffset(int y) const {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(fWidth);
    }
    void xFillSpan(int y, double left, double right, const Colour& colour);

    int fWidth = 0;
    int fHeight = 0;
    std::vector<Colour> fPixels;
};

}  // namespace robot

#endif

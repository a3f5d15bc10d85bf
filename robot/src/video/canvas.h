#ifndef OBVISTA_ROBOT_VIDEO_CANVAS_H
#define OBVISTA_ROBOT_VIDEO_CANVAS_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace robot {

/** Red, green, blue and a byte without meaning, in the order of the bytes in memory. */
struct Colour {
    std::uint8_t fRed = 0;
    std::uint8_t fGreen = 0;
    std::uint8_t fBlue = 0;
    std::uint8_t fUnused = 255;
};

constexpr Colour a_black{0, 0, 0};
constexpr Colour a_white{255, 255, 255};

/** The colour under less or more light: 0 is black, 1 as it is. */
Colour lit(const Colour& colour, double light);

/** A place in a picture, pixels from its left upper corner. */
struct Point {
    double fX = 0;
    double fY = 0;
};

/** A picture that is drawn. What lies outside of it is cut off. */
class Canvas {
  public:
    /** Makes it so large; what was drawn is lost when that is another size. */
    void resize(int width, int height);

    int width() const { return fWidth; }
    int height() const { return fHeight; }
    const Colour* row(int y) const { return fPixels.data() + xOffset(y); }
    Colour* row(int y) { return fPixels.data() + xOffset(y); }

    void fillRectangle(double left, double top, double right, double bottom, const Colour& colour);
    void fillDisc(const Point& middle, double radius, const Colour& colour);
    /** @param corners of a convex polygon, in any sense of rotation */
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

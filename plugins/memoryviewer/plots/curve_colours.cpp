#include "plots/curve_colours.h"

#include <array>

namespace memoryviewer {

namespace {

constexpr int a_colours = 8;
constexpr int a_darkest = 128;
/**
 * Blue, orange, green, pink, brown, light blue, red, grey: dark ones for light backgrounds and
 * light ones for dark.
 */
constexpr std::array<QRgb, a_colours> a_onLight{0xff0060a8, 0xffc25a00, 0xff00806a, 0xffb0418c,
                                                0xff6b4a10, 0xff2a9fd6, 0xffc01818, 0xff606060};
constexpr std::array<QRgb, a_colours> a_onDark{0xff6fb4ff, 0xffffa040, 0xff35d0a8, 0xffff8fd0,
                                               0xffe8d060, 0xff90e8ff, 0xffff6f6f, 0xffc8c8c8};
constexpr std::array<Qt::PenStyle, 4> a_dashes{Qt::SolidLine, Qt::DashLine, Qt::DotLine,
                                               Qt::DashDotLine};

}  // namespace

QPen curvePen(int number, const QPalette& palette) {
    const auto colour = static_cast<std::size_t>(number % a_colours);
    const auto dashes = static_cast<std::size_t>(number / a_colours) % a_dashes.size();
    const bool isDark = palette.color(QPalette::Base).lightness() < a_darkest;
    QPen pen(QColor(isDark ? a_onDark[colour] : a_onLight[colour]), 1, a_dashes[dashes]);
    pen.setCosmetic(true);
    return pen;
}

}  // namespace memoryviewer

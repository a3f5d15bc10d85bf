#include "video/test_card.h"

#include <array>
#include <cmath>

namespace robot {

namespace {

constexpr std::array<Colour, 7> a_bars{{{191, 191, 191},
                                        {191, 191, 0},
                                        {0, 191, 191},
                                        {0, 191, 0},
                                        {191, 0, 191},
                                        {191, 0, 0},
                                        {0, 0, 191}}};
constexpr int a_greySteps = 16;
constexpr double a_sweep = 4;  // seconds

}  // namespace

void drawTestCard(Canvas& canvas, double time) {
    const double width = canvas.width();
    const double height = canvas.height();
    const double bar = width / static_cast<double>(a_bars.size());
    for (std::size_t i = 0; i < a_bars.size(); ++i) {
        const double left = bar * static_cast<double>(i);
        canvas.fillRectangle(left, 0, left + bar, 0.75 * height, a_bars[i]);
    }
    const double step = width / a_greySteps;
    for (int i = 0; i < a_greySteps; ++i) {
        const Colour grey = lit(a_white, i / (a_greySteps - 1.0));
        canvas.fillRectangle(i * step, 0.75 * height, (i + 1) * step, height, grey);
    }
    const double along = width * std::fmod(time, a_sweep) / a_sweep;
    canvas.fillRectangle(along - width / 160, 0.3 * height, along + width / 160, 0.7 * height,
                         a_white);
}

}  // namespace robot

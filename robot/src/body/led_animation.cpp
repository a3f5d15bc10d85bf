#include "body/led_animation.h"

#include <array>
#include <cmath>

namespace robot {

namespace {

constexpr double a_framesPerSecond = 10;
constexpr std::array<std::int64_t, 3> a_colours{0xff0000, 0xffd000, 0x00a030};

int frame(double elapsed) {
    return static_cast<int>(std::floor(elapsed * a_framesPerSecond));
}

}  // namespace

std::int64_t rastaColour(double elapsed, int segment) {
    return a_colours[static_cast<std::size_t>(frame(elapsed) + segment) % a_colours.size()];
}

double rastaBrightness(double elapsed, int segment) {
    return (frame(elapsed) + segment) % 3 == 0 ? 1 : 0.2;
}

}  // namespace robot

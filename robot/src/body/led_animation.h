#ifndef OBVISTA_ROBOT_BODY_LED_ANIMATION_H
#define OBVISTA_ROBOT_BODY_LED_ANIMATION_H

#include <cstdint>

namespace robot {

constexpr int a_faceSegments = 8;  ///< LEDs around each eye
constexpr int a_earSegments = 10;  ///< LEDs in each ear

/** Maximum duration of an LED animation in seconds. */
constexpr double a_longestAnimation = 60;

/**
 * Returns the colour of a face LED in the "rasta" animation: red, yellow and green circle around
 * the eye, ten segments a second.
 *
 * @param elapsed seconds since its start
 * @return 0xRRGGBB
 */
std::int64_t rastaColour(double elapsed, int segment);

/** Returns the brightness of an ear LED in the same animation, 0 to 1. */
double rastaBrightness(double elapsed, int segment);

}  // namespace robot

#endif

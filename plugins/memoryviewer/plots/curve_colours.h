#ifndef OBVISTA_MEMORYVIEWER_CURVE_COLOURS_H
#define OBVISTA_MEMORYVIEWER_CURVE_COLOURS_H

#include <QPalette>
#include <QPen>

namespace memoryviewer {

/**
 * Returns the pen of the curve with a number: in colours that are distinguishable on the palette's
 * base, also for the colour-blind, and with other dashes when all colours are in use.
 */
QPen curvePen(int number, const QPalette& palette);

}  // namespace memoryviewer

#endif

#ifndef OBVISTA_MEMORYVIEWER_CURVE_COLOURS_H
#define OBVISTA_MEMORYVIEWER_CURVE_COLOURS_H

#include <QPalette>
#include <QPen>

namespace memoryviewer {

/**
 * How the curve of a number is drawn: in colours that can be told apart on the palette's base,
 * by the colour-blind too, and in other dashes when the colours are used up.
 */
QPen curvePen(int number, const QPalette& palette);

}  // namespace memoryviewer

#endif

#ifndef OBVISTA_VIEWER_COLOURS_H
#define OBVISTA_VIEWER_COLOURS_H

#include <obvista/viewer/viewer_export.h>

#include <QColor>
#include <QPalette>

namespace obvista {

// Colours derived from a palette, readable on its base, dark or light.

/** Returns the colour of secondary text. */
OBVISTA_VIEWER_EXPORT QColor dimmedText(const QPalette& palette);

/** Returns the colour of text with an error. */
OBVISTA_VIEWER_EXPORT QColor faultText(const QPalette& palette);

/** Returns another shade of the highlight, with higher contrast to selected text. */
OBVISTA_VIEWER_EXPORT QColor markedHighlight(const QPalette& palette);

}  // namespace obvista

#endif

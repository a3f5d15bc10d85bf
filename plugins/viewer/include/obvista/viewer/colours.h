#ifndef OBVISTA_VIEWER_COLOURS_H
#define OBVISTA_VIEWER_COLOURS_H

#include <QColor>
#include <QPalette>

namespace viewer {

// Colours beside those of a palette, made of it so that they can be read on its base, dark or
// light.

/** Text that is plainly second to the rest. */
QColor dimmedText(const QPalette& palette);

/** Text in which something is wrong. */
QColor faultText(const QPalette& palette);

/** Another shade of what is behind chosen text, on which that text can be read still better. */
QColor markedHighlight(const QPalette& palette);

}  // namespace viewer

#endif

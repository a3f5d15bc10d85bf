#ifndef OBVISTA_VIEWER_COLOURS_H
#define OBVISTA_VIEWER_COLOURS_H

#include <obvista/viewer/viewer_export.h>

#include <QColor>
#include <QPalette>

namespace obvista {

// Colours beside those of a palette, made of it so that they can be read on its base, dark or
// light.

/** Text that is plainly second to the rest. */
OBVISTA_VIEWER_EXPORT QColor dimmedText(const QPalette& palette);

/** Text in which something is wrong. */
OBVISTA_VIEWER_EXPORT QColor faultText(const QPalette& palette);

/** Another shade of what is behind chosen text, on which that text can be read still better. */
OBVISTA_VIEWER_EXPORT QColor markedHighlight(const QPalette& palette);

}  // namespace obvista

#endif

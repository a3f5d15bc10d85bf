#ifndef OBVISTA_VIEWER_KEEP_UNITS_H
#define OBVISTA_VIEWER_KEEP_UNITS_H

#include <QString>

namespace obvista {

/** Returns the text with no-break spaces between numbers and the words after them, so that a label
 * that wraps leaves a unit beside its number. A word before another number, as in "R 200 G 100",
 * stays with that one. */
QString keepUnits(QString text);

}  // namespace obvista

#endif

#ifndef OBVISTA_TESTS_SUPPORT_CUT_TEXTS_H
#define OBVISTA_TESTS_SUPPORT_CUT_TEXTS_H

#include <QStringList>

class QWidget;

namespace obvista_test {

/**
 * Returns the texts of a window's visible buttons, boxes, labels, column titles and tool bars that
 * do not fit into them, and of those that are partly outside the window. Labels that may have any
 * width, such as status lines, are not included.
 */
QStringList cutTexts(const QWidget& window);

/** Returns the pairs of a window's visible texts, buttons and boxes that cover each other. */
QStringList overlappingParts(const QWidget& window);

}  // namespace obvista_test

#endif

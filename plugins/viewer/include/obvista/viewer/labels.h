#ifndef OBVISTA_VIEWER_LABELS_H
#define OBVISTA_VIEWER_LABELS_H

#include <obvista/viewer/viewer_export.h>

class QLabel;
class QString;
class QWidget;

namespace obvista {

// Labels for texts that may come from the robot: shown as plain text, and copyable. `objectName` is
// the name by which tests and style sheets find them. GUI thread.

/** Creates a label of one line. */
OBVISTA_VIEWER_EXPORT QLabel* makeLabel(const char* objectName, QWidget* parent);

/** Creates the page shown when there is nothing to show; it gives the reason. */
OBVISTA_VIEWER_EXPORT QLabel* makeMessage(const char* objectName, QWidget* parent);

/** Creates the bar above the contents that says what is wrong with them; it wraps its text. */
OBVISTA_VIEWER_EXPORT QLabel* makeBanner(const char* objectName, QWidget* parent);

/** Creates the line below the contents. However long its text, it does not force the dock to be
 *  wide; an ellipsis marks text that is cut off. */
OBVISTA_VIEWER_EXPORT QLabel* makeStatusLine(const char* objectName, QWidget* parent);

/** Creates a line like makeStatusLine(), but wrapped into further lines where it is narrow. It
 * keeps its number of lines until its width changes, since the contents above would move with each
 * figure otherwise. */
OBVISTA_VIEWER_EXPORT QLabel* makeStatusLines(const char* objectName, QWidget* parent);

/** Shows a text in a status line, with the whole text as its tool tip and for screen readers. In a
 * line that wraps, a unit stays beside its number, and a separator behind its part. */
OBVISTA_VIEWER_EXPORT void setStatus(QLabel& line, const QString& status);

/** Returns the separator of two parts of a status line. */
OBVISTA_VIEWER_EXPORT QString statusSeparator();

/** Gives a control the tool tip `text`, wrapped where it is long, and the same text without markup
 *  as its description for screen readers. */
OBVISTA_VIEWER_EXPORT void explain(QWidget& control, const QString& text);

/**
 * Names a control for screen readers by a label that is not shown, and sets its accessible name.
 *
 * For controls that show only their value: Qt reports the value as the name of a combo box,
 * whatever its accessible name, and screen readers take the label's text.
 */
OBVISTA_VIEWER_EXPORT void nameByLabel(QWidget& control, const QString& name);

}  // namespace obvista

#endif

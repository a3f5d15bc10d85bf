#ifndef OBVISTA_VIEWER_LABELS_H
#define OBVISTA_VIEWER_LABELS_H

class QLabel;
class QString;
class QWidget;

namespace viewer {

/** A label for texts that the robot may have a part in: shown as they stand, and copyable. */
QLabel* makeLabel(const char* objectName, QWidget* parent);

/** The page that says why there is nothing to show. */
QLabel* makeMessage(const char* objectName, QWidget* parent);

/** The bar above what is shown that says what is the matter with it. */
QLabel* makeNotice(const char* objectName, QWidget* parent);

/** The line below; however long, it does not force the dock to be wide, and shows that it is cut.
 */
QLabel* makeStatusLine(const char* objectName, QWidget* parent);

/** Like makeStatusLine(), but wrapped into further lines where it is narrow. It never gives a line
 *  back until its width changes, as what is above would move with each figure. */
QLabel* makeStatusLines(const char* objectName, QWidget* parent);

/** Gives a control the tool tip `text`, wrapped where it is long, and the same as its description
 *  for screen readers, which would read the tool tip's markup otherwise. */
void explain(QWidget& control, const QString& text);

/**
 * Names a control for screen readers by a label that is not shown, and sets its accessible name.
 *
 * For controls that show their value only: Qt gives the value for the name of a combo box, whatever
 * its accessible name, and screen readers take the label's text.
 */
void nameByLabel(QWidget& control, const QString& name);

/** Shows a text in the line, whole in its tool tip, and by name to a screen reader. */
void setStatus(QLabel& line, const QString& status);

/** What stands between two parts of the status line. */
QString statusSeparator();

}  // namespace viewer

#endif

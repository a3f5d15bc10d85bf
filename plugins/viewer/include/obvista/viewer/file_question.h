#ifndef OBVISTA_VIEWER_FILE_QUESTION_H
#define OBVISTA_VIEWER_FILE_QUESTION_H

#include <obvista/viewer/viewer_export.h>

#include <QString>

#include <functional>

class QWidget;

namespace obvista {

/** Texts of the question into which file something is saved. */
struct FileQuestion {
    QString fTitle;         ///< the name of the viewer's robot is added to it
    QString fFilter;        ///< for instance "Pictures (*.png)"; several are separated by ";;"
    QString fSuffix;        ///< of the first filter; appended to a name without one
    QString fProposedName;  ///< time and suffix are appended to it; may come from the robot
};

/**
 * Opens a dialog and returns; `save` is called with the file if the user chooses one. GUI thread.
 *
 * @param parent a part of the viewer; `save` is not called after its destruction
 */
OBVISTA_VIEWER_EXPORT void askForFile(QWidget* parent, const FileQuestion& question,
                                      const std::function<void(const QString&)>& save);

}  // namespace obvista

#endif

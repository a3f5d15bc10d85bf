#ifndef OBVISTA_MEMORYVIEWER_FILE_QUESTION_H
#define OBVISTA_MEMORYVIEWER_FILE_QUESTION_H

#include <QString>

#include <functional>

class QWidget;

namespace memoryviewer {

/** What is asked of the user who saves something. */
struct FileQuestion {
    QString fTitle;
    QString fFilter;        ///< for instance "Pictures (*.png)"
    QString fSuffix;        ///< added to a name without one
    QString fProposedName;  ///< time and suffix are added to it; may come from the robot
};

/** Opens a dialog and returns; `save` is called with the file when the user has chosen one. */
void askForFile(QWidget* parent, const FileQuestion& question,
                const std::function<void(const QString&)>& save);

}  // namespace memoryviewer

#endif

#include <obvista/viewer/file_question.h>
#include <obvista/viewer/viewer_widget.h>

#include <QDateTime>
#include <QFileDialog>
#include <QStandardPaths>

namespace obvista {

namespace {

constexpr int a_maxNameLength = 60;

/** Returns a part of a file name that is valid in every file system. */
QString fileNamePart(const QString& text) {
    QString part;
    for (const QChar character : text.left(a_maxNameLength)) {
        const bool isGood =
            character.isLetterOrNumber() || QStringLiteral("-_.").contains(character);
        part += isGood ? character : QLatin1Char('_');
    }
    return part.startsWith(QLatin1Char('.')) ? QLatin1Char('_') + part : part;
}

}  // namespace

void askForFile(QWidget* parent, const FileQuestion& question,
                const std::function<void(const QString&)>& save) {
    auto* dialog = new QFileDialog(parent, dialogTitle(question.fTitle, parent));
    dialog->setObjectName(QStringLiteral("fileQuestion"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setNameFilter(question.fFilter);
    dialog->setDefaultSuffix(question.fSuffix);
    dialog->setDirectory(QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation));
    const QString time = QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss"));
    dialog->selectFile(QStringLiteral("%1-%2.%3")
                           .arg(fileNamePart(question.fProposedName), time, question.fSuffix));
    QObject::connect(dialog, &QFileDialog::fileSelected, parent, save);
    dialog->open();
}

}  // namespace obvista

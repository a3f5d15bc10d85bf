#include <base/safe_text.h>
#include <obvista/viewer/file_question.h>
#include <obvista/viewer/viewer_widget.h>

#include <QDateTime>
#include <QFileDialog>
#include <QLineEdit>
#include <QRegularExpression>
#include <QStandardPaths>

namespace obvista {

namespace {

QString fileNamePart(const QString& text) {
    const auto isLetter = [](char32_t code) { return QChar::isLetterOrNumber(code); };
    return QString::fromStdString(base::fileNamePart(text.toStdString(), isLetter));
}

/** Returns the suffix of a filter's first pattern: "png" of "Pictures (*.png)". */
QString suffixOf(const QString& filter) {
    return QRegularExpression(QStringLiteral("\\*\\.(\\w+)")).match(filter).captured(1);
}

/** Gives the name in the dialog the suffix of the chosen filter. */
void changeSuffix(QFileDialog& dialog, const QString& filter) {
    const QString before = dialog.defaultSuffix();
    const QString suffix = suffixOf(filter);
    dialog.setDefaultSuffix(suffix);
    auto* name = dialog.findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
    if (name != nullptr && name->text().endsWith(QLatin1Char('.') + before)) {
        name->setText(name->text().chopped(before.size()) + suffix);
    }
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
    QObject::connect(dialog, &QFileDialog::filterSelected, dialog,
                     [dialog](const QString& filter) { changeSuffix(*dialog, filter); });
    QObject::connect(dialog, &QFileDialog::fileSelected, parent, save);
    dialog->open();
}

}  // namespace obvista

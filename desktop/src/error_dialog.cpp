#include "error_dialog.h"

#include <QApplication>
#include <QCloseEvent>
#include <QPushButton>
#include <QSettings>

namespace KD {

ErrorDialog::ErrorDialog(const QString& title, const QString& text, QWidget* parent,
                         QMessageBox::StandardButton button)
    : QMessageBox(QMessageBox::Warning, title, text, button | QMessageBox::Ok, parent,
                  Qt::Dialog | Qt::MSWindowsFixedSizeDialogHint) {
    QApplication::setOverrideCursor(QCursor(Qt::ArrowCursor));
    if (auto* ok = qobject_cast<QPushButton*>(this->button(QMessageBox::Ok))) {
        setDefaultButton(ok);
    }
}

ErrorDialog::ErrorDialog(const QString& title, const QString& text, const QString& detailedText,
                         QWidget* parent, QMessageBox::StandardButton button)
    : ErrorDialog(title, text, parent, button) {
    setDetailedText(detailedText);
}

ErrorDialog::~ErrorDialog() {
    QApplication::restoreOverrideCursor();
}

int ErrorDialog::displayDialog() {
    const QSettings settings;
    if (settings.value(QStringLiteral("Preferences/remoteControl"), false).toBool()) {
        return QMessageBox::Ok;
    }
    return QDialog::exec();
}

void ErrorDialog::closeEvent(QCloseEvent* event) {
    event->accept();
}

InformationDialog::InformationDialog(const QString& title, const QString& text, QWidget* parent)
    : ErrorDialog(title, text, parent, QMessageBox::NoButton) {
    setIcon(QMessageBox::Information);
}

}  // namespace KD

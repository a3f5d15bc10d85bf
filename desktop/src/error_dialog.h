#ifndef OBVISTA_DESKTOP_ERROR_DIALOG_H
#define OBVISTA_DESKTOP_ERROR_DIALOG_H

#include <QMessageBox>

class QCloseEvent;

namespace KD {

/**
 * The dialog that reports a failure to the user: a modal warning with an OK button.
 *
 * Created on the stack and displayed once:
 *
 *     KD::ErrorDialog dialog(tr("Error"), tr("No robot."), this, QMessageBox::NoButton);
 *     dialog.displayDialog();
 *
 * The arrow cursor is set while the object exists, so that the box can be used during work that
 * shows the busy cursor. Dialogs and WaitCursors share one stack of cursors and must be destroyed
 * in reverse order, as objects on the stack are.
 *
 * GUI thread only. Another thread reports through a queued signal to an object of the GUI thread.
 */
class ErrorDialog : public QMessageBox {
    Q_OBJECT
  public:
    /**
     * @param parent window over which the box opens, or null
     * @param button a standard button beside OK, or QMessageBox::NoButton. OK is the default
     *        button in any case.
     */
    ErrorDialog(const QString& title, const QString& text, QWidget* parent,
                QMessageBox::StandardButton button);

    /** Creates a dialog with a detailed text that the user can unfold. */
    ErrorDialog(const QString& title, const QString& text, const QString& detailedText,
                QWidget* parent, QMessageBox::StandardButton button);

    ~ErrorDialog() override;

    /**
     * Shows the box and waits for the user's answer.
     *
     * If the setting "Preferences/remoteControl" is true, nothing is shown and the box counts as
     * acknowledged, so that a remotely controlled program never blocks.
     *
     * @return the QMessageBox::StandardButton that closed the box. The value for the window's close
     *         button depends on Qt: do not rely on it.
     */
    int displayDialog();

  protected:
    /** Enables the window's close button even on a box without an escape button. */
    void closeEvent(QCloseEvent* event) override;
};

/** A dialog for information that is not a failure; otherwise like ErrorDialog. */
class InformationDialog : public ErrorDialog {
  public:
    InformationDialog(const QString& title, const QString& text, QWidget* parent);
};

}  // namespace KD

#endif

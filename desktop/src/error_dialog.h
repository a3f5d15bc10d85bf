#ifndef OBVISTA_DESKTOP_ERROR_DIALOG_H
#define OBVISTA_DESKTOP_ERROR_DIALOG_H

#include <QMessageBox>

class QCloseEvent;

namespace KD {

/**
 * The one way in which a failure is reported to the user: a modal warning with an OK button.
 *
 * Built on the caller's stack, displayed once and let go:
 *
 *     KD::ErrorDialog dialog(tr("Error"), tr("No robot."), this, QMessageBox::NoButton);
 *     dialog.displayDialog();
 *
 * The arrow cursor is forced for as long as the object lives, so that the box can be used in the
 * middle of work that shows the busy cursor. Dialogs and WaitCursors share one stack of cursors
 * and have to go in the reverse order in which they came, as objects on the stack do.
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

    /** The same with a detailed text, which the user can unfold. */
    ErrorDialog(const QString& title, const QString& text, const QString& detailedText,
                QWidget* parent, QMessageBox::StandardButton button);

    ~ErrorDialog() override;

    /**
     * Shows the box and waits until the user has answered it.
     *
     * With the setting "Preferences/remoteControl" true nothing is shown and every box counts as
     * acknowledged, so that a program at the other end of a remote control is never blocked.
     *
     * @return the QMessageBox::StandardButton that closed the box. Which one stands for the
     *         window's own close button is the toolkit's affair: do not depend on it.
     */
    int displayDialog();

  protected:
    /** Lets the window's close button work even on a box without an escape button. */
    void closeEvent(QCloseEvent* event) override;
};

/** Tells the user something that is no failure. Everything else is as with ErrorDialog. */
class InformationDialog : public ErrorDialog {
  public:
    InformationDialog(const QString& title, const QString& text, QWidget* parent);
};

}  // namespace KD

#endif

#ifndef OBVISTA_TESTS_SUPPORT_MODAL_ANSWER_H
#define OBVISTA_TESTS_SUPPORT_MODAL_ANSWER_H

#include <QList>
#include <QMessageBox>
#include <QObject>
#include <QString>

#include <functional>

namespace obvista_test {

/** Contents of a message box while it was open. */
struct SeenDialog {
    QString fClassName;
    QString fTitle;
    QString fText;
    QString fDetails;
    QMessageBox::Icon fIcon = QMessageBox::NoIcon;
    QMessageBox::StandardButtons fButtons = QMessageBox::NoButton;
    QMessageBox::StandardButton fDefaultButton = QMessageBox::NoButton;
    QWidget* fParent = nullptr;
    Qt::CursorShape fCursor = Qt::BlankCursor;  ///< BlankCursor if no cursor was forced
};

/**
 * A simulated user of modal message boxes: while it exists, it records and answers each box once.
 *
 * The test function fails if no box opened during the object's lifetime.
 */
class ModalAnswer : public QObject {
  public:
    /** Handles an open box: closes it, possibly after other actions. */
    using Answer = std::function<void(QMessageBox&)>;

    /** Presses the given button in every box. */
    explicit ModalAnswer(QMessageBox::StandardButton button = QMessageBox::Ok);
    /** Uses the first answer for the first box and so on; the last answer for all further ones. */
    explicit ModalAnswer(const QList<Answer>& answers);
    ~ModalAnswer() override;

    /** Returns the boxes so far, in the order in which they opened. */
    const QList<SeenDialog>& dialogs() const { return fDialogs; }

    /** Returns the only box; the test function fails if there was not exactly one. */
    SeenDialog only() const;

    static Answer press(QMessageBox::StandardButton button);

  private:
    void xPollAgain();
    void xPoll();

    QList<Answer> fAnswers;
    QList<SeenDialog> fDialogs;
};

}  // namespace obvista_test

#endif

#ifndef OBVISTA_TESTS_SUPPORT_MODAL_ANSWER_H
#define OBVISTA_TESTS_SUPPORT_MODAL_ANSWER_H

#include <QList>
#include <QMessageBox>
#include <QObject>
#include <QString>

#include <functional>

namespace obvista_test {

/** What a message box showed when it was open in front of the user. */
struct SeenDialog {
    QString fClassName;
    QString fTitle;
    QString fText;
    QString fDetails;
    QMessageBox::Icon fIcon = QMessageBox::NoIcon;
    QMessageBox::StandardButtons fButtons = QMessageBox::NoButton;
    QMessageBox::StandardButton fDefaultButton = QMessageBox::NoButton;
    QWidget* fParent = nullptr;
    Qt::CursorShape fCursor = Qt::BlankCursor;  ///< BlankCursor when none was forced
};

/**
 * The user in front of the modal message boxes: while it lives, each box that opens is looked at
 * and answered once.
 *
 * The test function fails when no box came in the object's whole life.
 */
class ModalAnswer : public QObject {
  public:
    /** Given a box that is open; ends it, or lets something happen first. */
    using Answer = std::function<void(QMessageBox&)>;

    /** Presses the given button on every box. */
    explicit ModalAnswer(QMessageBox::StandardButton button = QMessageBox::Ok);
    /** Gives the first answer to the first box and so on; the last answer to all further ones. */
    explicit ModalAnswer(const QList<Answer>& answers);
    ~ModalAnswer() override;

    /** The boxes so far, in the order in which they opened. */
    const QList<SeenDialog>& dialogs() const { return fDialogs; }

    /** The one box that came; the test function fails when it was not exactly one. */
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

#include "modal_answer.h"

#include <QAbstractButton>
#include <QApplication>
#include <QPushButton>
#include <QTimer>
#include <QWindow>
#include <QtTest>

namespace obvista_test {

namespace {

const char a_answered[] = "obvista_test_answered";

SeenDialog look(const QMessageBox& box) {
    SeenDialog seen;
    seen.fClassName = QString::fromLatin1(box.metaObject()->className());
    seen.fTitle = box.windowTitle();
    seen.fText = box.text();
    seen.fDetails = box.detailedText();
    seen.fIcon = box.icon();
    seen.fButtons = box.standardButtons();
    seen.fDefaultButton = box.standardButton(box.defaultButton());
    seen.fParent = box.parentWidget();
    if (const QCursor* cursor = QApplication::overrideCursor()) {
        seen.fCursor = cursor->shape();
    }
    return seen;
}

// Active, too: the window manager has then finished with the window, which may be destroyed.
bool isOpenInFront(const QWidget& window) {
    return window.isVisible() && window.isActiveWindow() && window.windowHandle() != nullptr &&
           window.windowHandle()->isExposed();
}

}  // namespace

ModalAnswer::ModalAnswer(QMessageBox::StandardButton button)
    : ModalAnswer(QList<Answer>{press(button)}) {
}

ModalAnswer::ModalAnswer(const QList<Answer>& answers) : fAnswers(answers) {
    xPollAgain();
}

ModalAnswer::~ModalAnswer() {
    if (fDialogs.isEmpty()) {
        QTest::qFail("no dialog came", __FILE__, __LINE__);
    }
}

SeenDialog ModalAnswer::only() const {
    if (fDialogs.size() != 1) {
        QTest::qFail(qPrintable(QStringLiteral("%1 dialogs came").arg(fDialogs.size())), __FILE__,
                     __LINE__);
        return {};
    }
    return fDialogs.first();
}

ModalAnswer::Answer ModalAnswer::press(QMessageBox::StandardButton button) {
    return [button](QMessageBox& box) {
        if (QAbstractButton* target = box.button(button)) {
            QTest::mouseClick(target, Qt::LeftButton);
        } else {
            QTest::qFail("the dialog has no such button", __FILE__, __LINE__);
            box.done(QMessageBox::NoButton);
        }
    };
}

// Single shots, and the next one starts before the answer is given: a timer does not fire while its
// handler runs, and an answer may open another dialog and wait for it.
void ModalAnswer::xPollAgain() {
    QTimer::singleShot(5, this, [this] { xPoll(); });
}

void ModalAnswer::xPoll() {
    xPollAgain();
    auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
    if (box == nullptr || box->property(a_answered).toBool() || !isOpenInFront(*box)) {
        return;
    }
    box->setProperty(a_answered, true);
    const Answer answer = fAnswers.value(qMin(fDialogs.size(), fAnswers.size() - 1));
    fDialogs += look(*box);
    answer(*box);
}

}  // namespace obvista_test

#include "wait_cursor.h"

#include "error_dialog.h"
#include "modal_answer.h"
#include "qt_test_main.h"

#include <QtTest>

#include <type_traits>

using KD::ErrorDialog;
using KD::WaitCursor;

static_assert(std::is_empty_v<WaitCursor> && !std::is_polymorphic_v<WaitCursor>);

namespace {

/** Returns the shape of the forced cursor, BlankCursor if there is none. */
Qt::CursorShape forcedCursor() {
    const QCursor* cursor = QApplication::overrideCursor();
    return cursor == nullptr ? Qt::BlankCursor : cursor->shape();
}

}  // namespace

class WaitCursorTest : public QObject {
    Q_OBJECT
  private Q_SLOTS:
    void cleanup() { QCOMPARE(forcedCursor(), Qt::BlankCursor); }

    void isBusyForItsScope() {
        {
            const WaitCursor busy;
            QCOMPARE(forcedCursor(), Qt::WaitCursor);
        }
        QCOMPARE(forcedCursor(), Qt::BlankCursor);
    }

    void givesWayToAnErrorDialogAndComesBack() {
        {
            const WaitCursor busy;
            {
                ErrorDialog dialog(QStringLiteral("Error"), QStringLiteral("No robot."), nullptr,
                                   QMessageBox::NoButton);
                obvista_test::ModalAnswer user;
                dialog.displayDialog();
                QCOMPARE(user.only().fCursor, Qt::ArrowCursor);
            }
            QCOMPARE(forcedCursor(), Qt::WaitCursor);
        }
        QCOMPARE(forcedCursor(), Qt::BlankCursor);
    }

    void restoringEarlyPopsTwoEntriesInAll() {
        QApplication::setOverrideCursor(Qt::CrossCursor);
        QApplication::setOverrideCursor(Qt::PointingHandCursor);
        {
            WaitCursor busy;
            busy.restoreCursor();
            QCOMPARE(forcedCursor(), Qt::PointingHandCursor);
        }
        QCOMPARE(forcedCursor(), Qt::CrossCursor);
        QApplication::restoreOverrideCursor();
    }

    void restoringEarlyOnAnOtherwiseEmptyStackIsHarmless() {
        WaitCursor busy;
        busy.restoreCursor();
        QCOMPARE(forcedCursor(), Qt::BlankCursor);
    }
};

OBVISTA_QTEST_MAIN(WaitCursorTest)

#include "wait_cursor_test.moc"

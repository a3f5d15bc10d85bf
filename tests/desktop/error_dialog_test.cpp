#include "error_dialog.h"

#include "modal_answer.h"
#include "qt_test_main.h"

#include <QAbstractButton>
#include <QProcess>
#include <QPushButton>
#include <QSettings>
#include <QtTest>

#include <type_traits>

using KD::ErrorDialog;
using KD::InformationDialog;
using obvista_test::ModalAnswer;
using obvista_test::SeenDialog;

Q_DECLARE_METATYPE(QMessageBox::StandardButton)

static_assert(std::has_virtual_destructor_v<ErrorDialog>);
static_assert(std::is_base_of_v<ErrorDialog, InformationDialog>);
static_assert(sizeof(ErrorDialog) == sizeof(QMessageBox), "all state is the message box's");

namespace {

const QString a_remoteControl = QStringLiteral("Preferences/remoteControl");

}  // namespace

class ErrorDialogTest : public QObject {
    Q_OBJECT
  private Q_SLOTS:
    void cleanup() {
        QSettings().clear();
        QVERIFY(QApplication::overrideCursor() == nullptr);
    }

    void showsAWarningWithOkAlone() {
        QWidget parent;
        ErrorDialog dialog(QStringLiteral("Error"), QStringLiteral("No robot."), &parent,
                           QMessageBox::NoButton);
        ModalAnswer user;
        QCOMPARE(dialog.displayDialog(), int(QMessageBox::Ok));

        const SeenDialog seen = user.only();
        QCOMPARE(seen.fClassName, QStringLiteral("KD::ErrorDialog"));
        QCOMPARE(seen.fTitle, QStringLiteral("Error"));
        QCOMPARE(seen.fText, QStringLiteral("No robot."));
        QCOMPARE(seen.fDetails, QString());
        QCOMPARE(seen.fIcon, QMessageBox::Warning);
        QCOMPARE(seen.fButtons, QMessageBox::StandardButtons(QMessageBox::Ok));
        QCOMPARE(seen.fDefaultButton, QMessageBox::Ok);
        QCOMPARE(seen.fParent, &parent);
        QVERIFY(dialog.isModal());
        QVERIFY(!dialog.testAttribute(Qt::WA_DeleteOnClose));
    }

    void returnCountsAsOk() {
        ErrorDialog dialog(QStringLiteral("Error"), QStringLiteral("No robot."), nullptr,
                           QMessageBox::NoButton);
        ModalAnswer user({[](QMessageBox& box) { QTest::keyClick(&box, Qt::Key_Return); }});
        QCOMPARE(dialog.displayDialog(), int(QMessageBox::Ok));
    }

    void addsOneMoreButtonAndKeepsOkAsDefault() {
        ErrorDialog dialog(QStringLiteral("Error"), QStringLiteral("Try again?"), nullptr,
                           QMessageBox::Cancel);
        ModalAnswer user(QMessageBox::Cancel);
        QCOMPARE(dialog.displayDialog(), int(QMessageBox::Cancel));
        QCOMPARE(user.only().fButtons, QMessageBox::Ok | QMessageBox::Cancel);
        QCOMPARE(user.only().fDefaultButton, QMessageBox::Ok);
    }

    void offersDetailsToUnfold() {
        ErrorDialog dialog(QStringLiteral("Error"), QStringLiteral("No robot."),
                           QStringLiteral("connection refused"), nullptr, QMessageBox::NoButton);
        ModalAnswer user;
        QCOMPARE(dialog.displayDialog(), int(QMessageBox::Ok));
        QCOMPARE(user.only().fDetails, QStringLiteral("connection refused"));
        QCOMPARE(user.only().fDefaultButton, QMessageBox::Ok);
    }

    void informsWithTheInformationIcon() {
        InformationDialog dialog(QStringLiteral("Sent"), QStringLiteral("The text was sent."),
                                 nullptr);
        ModalAnswer user;
        QCOMPARE(dialog.displayDialog(), int(QMessageBox::Ok));
        QCOMPARE(user.only().fIcon, QMessageBox::Information);
        QCOMPARE(user.only().fButtons, QMessageBox::StandardButtons(QMessageBox::Ok));
        QCOMPARE(user.only().fCursor, Qt::ArrowCursor);
    }

    void isSwallowedUnderRemoteControl_data() {
        QTest::addColumn<QVariant>("setting");
        QTest::newRow("boolean") << QVariant(true);
        QTest::newRow("text") << QVariant(QStringLiteral("true"));
    }

    void isSwallowedUnderRemoteControl() {
        QFETCH(QVariant, setting);
        QSettings().setValue(a_remoteControl, setting);
        ErrorDialog error(QStringLiteral("Error"), QStringLiteral("No robot."), nullptr,
                          QMessageBox::Cancel);
        InformationDialog information(QStringLiteral("Sent"), QStringLiteral("Done."), nullptr);
        for (ErrorDialog* dialog : {&error, static_cast<ErrorDialog*>(&information)}) {
            // There is no user: a box that opened would block the test.
            QCOMPARE(dialog->displayDialog(), 0x400);
            QVERIFY(!dialog->isVisible());
            QVERIFY(!dialog->testAttribute(Qt::WA_WState_ExplicitShowHide));
        }
    }

    void isShownWhenRemoteControlIsOff() {
        QSettings().setValue(a_remoteControl, false);
        ErrorDialog dialog(QStringLiteral("Error"), QStringLiteral("No robot."), nullptr,
                           QMessageBox::NoButton);
        ModalAnswer user;
        dialog.displayDialog();
        user.only();
    }

    void isShownWhenTheSettingsCannotBeRead() {
        QSettings settings;
        settings.setValue(a_remoteControl, true);
        settings.sync();
        QFile file(settings.fileName());
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write("\0\1[[[ no settings", 18);
        file.close();

        ErrorDialog dialog(QStringLiteral("Error"), QStringLiteral("No robot."), nullptr,
                           QMessageBox::NoButton);
        ModalAnswer user;
        dialog.displayDialog();
        user.only();
        QVERIFY(file.remove());
    }

    void closesFromTheTitleBarEvenWithoutAnEscapeButton_data() {
        QTest::addColumn<QMessageBox::StandardButton>("button");
        QTest::newRow("OK alone") << QMessageBox::NoButton;
        QTest::newRow("with Cancel") << QMessageBox::Cancel;
        // Neither OK nor Apply is an escape button, so a plain message box would refuse to close.
        QTest::newRow("with Apply") << QMessageBox::Apply;
    }

    void closesFromTheTitleBarEvenWithoutAnEscapeButton() {
        QFETCH(QMessageBox::StandardButton, button);
        ErrorDialog dialog(QStringLiteral("Error"), QStringLiteral("No robot."), nullptr, button);
        ModalAnswer user({[](QMessageBox& box) { closeByWindowManager(box); }});
        dialog.displayDialog();
        user.only();
        QVERIFY(!dialog.isVisible());
    }

    void forcesTheArrowWhileItExists() {
        ErrorDialog dialog(QStringLiteral("Error"), QStringLiteral("No robot."), nullptr,
                           QMessageBox::NoButton);
        QCOMPARE(QApplication::overrideCursor()->shape(), Qt::ArrowCursor);
        ModalAnswer user;
        dialog.displayDialog();
        QCOMPARE(user.only().fCursor, Qt::ArrowCursor);
        QCOMPARE(QApplication::overrideCursor()->shape(), Qt::ArrowCursor);
    }

  private:
    // On X11 the window manager closes it, as a click on the title bar's cross does.
    static void closeByWindowManager(QMessageBox& box) {
        if (QGuiApplication::platformName() == QLatin1String("xcb")) {
            QVERIFY(obvista_test::waitForActive(&box));
            QProcess::startDetached(QStringLiteral("xdotool"),
                                    {QStringLiteral("key"), QStringLiteral("alt+F4")});
        } else {
            QVERIFY(box.close());
        }
    }
};

OBVISTA_QTEST_MAIN(ErrorDialogTest)

#include "error_dialog_test.moc"

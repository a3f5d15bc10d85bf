// The choice of a connection: initial contents of the dialog, its checks, and its saved settings.

#include "announced.h"
#include "browserobots_dialog.h"
#include "discovery_resolver.h"
#include "modal_answer.h"
#include "qt_test_main.h"

#include <bonjour/bonjour_discovery.h>

#include <QCheckBox>
#include <QIntValidator>
#include <QLineEdit>
#include <QMetaMethod>
#include <QPushButton>
#include <QSettings>
#include <QSignalSpy>
#include <QTreeWidget>
#include <QtTest>

#include <limits>

using KD::BrowseRobotsDialog;

namespace {

/** The dialog with its widgets, found by their visible texts. */
class Dialog : public BrowseRobotsDialog {
  public:
    Dialog() : BrowseRobotsDialog(nullptr, QString(), QString()) {
        const QList<QCheckBox*> boxes = findChildren<QCheckBox*>();
        for (QCheckBox* box : boxes) {
            (box->text() == "Use fixed port" ? fPortBox : fIPBox) = box;
        }
        const QList<QLineEdit*> edits = findChildren<QLineEdit*>();
        for (QLineEdit* edit : edits) {
            (edit->validator() != nullptr ? fPort : fIP) = edit;
        }
        fTree = findChild<QTreeWidget*>();
    }

    QPushButton* button(const QString& text) const {
        const QList<QPushButton*> buttons = findChildren<QPushButton*>();
        for (QPushButton* button : buttons) {
            if (button->text() == text) {
                return button;
            }
        }
        return nullptr;
    }

    void select(int row) { fTree->topLevelItem(row)->setSelected(true); }

    /** Returns the result of getIPandPort(), or an empty address if there is none. */
    QPair<QString, int> choice() {
        QPair<QString, int> result;
        getIPandPort(result.first, result.second);
        return result;
    }

    QCheckBox* fPortBox = nullptr;
    QCheckBox* fIPBox = nullptr;
    QLineEdit* fPort = nullptr;
    QLineEdit* fIP = nullptr;
    QTreeWidget* fTree = nullptr;
};

using Choice = QPair<QString, int>;

QVariant stored(const QString& key) {
    QSettings settings;
    settings.sync();
    return settings.value("BrowseRobotsDialog::" + key);
}

void store(const QString& key, const QVariant& value) {
    QSettings().setValue("BrowseRobotsDialog::" + key, value);
}

const char* a_noRobaxi =
    "Robaxi is not running on this robot.\nPlease select another robot, or try to force the port.";

}  // namespace

class ChoiceTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init() { QSettings().clear(); }

    void metaObjectKeepsItsOrder() {
        const QMetaObject& meta = BrowseRobotsDialog::staticMetaObject;
        QCOMPARE(meta.className(), "KD::BrowseRobotsDialog");
        const QList<QByteArray> expected{"useFixedPort(bool)",
                                         "setFixedPort(QString)",
                                         "useFixedIP(bool)",
                                         "setFixedIP(QString)",
                                         "changePortState(bool)",
                                         "refreshIP()",
                                         "onOk()",
                                         "updateRobotList()",
                                         "onItemClicked(QTreeWidgetItem*,int)",
                                         "onItemDoubleClicked(QTreeWidgetItem*,int)",
                                         "onItemSelectionChanged()",
                                         "onUseFixedPort(bool)",
                                         "onUseFixedIP(bool)",
                                         "onViewWebPage()",
                                         "onTestLEDs()",
                                         "onSendClipboardContents()"};
        QList<QByteArray> methods;
        for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
            methods += meta.method(i).methodSignature();
        }
        QCOMPARE(methods, expected);
        QCOMPARE(meta.method(meta.indexOfSlot("refreshIP()")).returnType(),
                 static_cast<int>(QMetaType::Bool));
    }

    void looksAsUsersKnowIt() {
        const Dialog dialog;
        QCOMPARE(dialog.windowTitle(), "Browse robots");
        QCOMPARE(dialog.minimumSize(), QSize(750, 480));
        const QTreeWidgetItem* header = dialog.fTree->headerItem();
        QCOMPARE(header->columnCount(), 5);
        const QStringList titles{"", "Type", "Name", "Port", "IP"};
        for (int column = 0; column < titles.size(); ++column) {
            QCOMPARE(header->text(column), titles.at(column));
        }
        QCOMPARE(dialog.fTree->iconSize(), QSize(60, 60));
        QVERIFY(!dialog.fTree->rootIsDecorated());
        QVERIFY(dialog.fTree->testAttribute(Qt::WA_MouseTracking));
        QVERIFY(dialog.button("Connect to")->isDefault());
        QVERIFY(dialog.button("Cancel") != nullptr);
        const auto* validator = qobject_cast<const QIntValidator*>(dialog.fPort->validator());
        QCOMPARE(validator->bottom(), 0);
        QCOMPARE(validator->top(), std::numeric_limits<int>::max());
    }

    void portBoxShowsTheToolTipMeantForTheAddressBox() {
        const Dialog dialog;
        QCOMPARE(dialog.fPortBox->toolTip(),
                 "If you want to connect to a robot that does not appear in the list");
        QCOMPARE(dialog.fIPBox->toolTip(), "");
        QCOMPARE(dialog.fIPBox->text(), "Use fixed IP/hostname");
    }

    void startsWithTheDefaults() {
        Dialog dialog;
        QCOMPARE(dialog.fIP->text(), "127.0.0.1");
        QCOMPARE(dialog.fPort->text(), "9559");
        QVERIFY(!dialog.fIP->isEnabled());
        QVERIFY(!dialog.fPort->isEnabled());
        QVERIFY(!dialog.fIPBox->isChecked());
        QVERIFY(!dialog.fPortBox->isChecked());
        QVERIFY(dialog.fPortBox->isEnabled());
        QCOMPARE(dialog.choice(), Choice());
    }

    void restoresWhatWasRemembered_data() {
        QTest::addColumn<bool>("useIP");
        QTest::addColumn<bool>("usePort");
        for (const bool useIP : {false, true}) {
            for (const bool usePort : {false, true}) {
                QTest::addRow("address %d port %d", useIP, usePort) << useIP << usePort;
            }
        }
    }

    void restoresWhatWasRemembered() {
        QFETCH(bool, useIP);
        QFETCH(bool, usePort);
        store("defaultIP", "10.1.2.3");
        store("defaultPort", 1234);
        store("defaultUseIP", useIP);
        store("defaultUsePort", usePort);
        const Dialog dialog;
        QCOMPARE(dialog.fIP->text(), "10.1.2.3");
        QCOMPARE(dialog.fPort->text(), "1234");
        QCOMPARE(dialog.fIPBox->isChecked(), useIP);
        QCOMPARE(dialog.fIP->isEnabled(), useIP);
        // A fixed address requires a fixed port and disables the list.
        QCOMPARE(dialog.fPortBox->isChecked(), useIP || usePort);
        QCOMPARE(dialog.fPort->isEnabled(), useIP || usePort);
        QCOMPARE(dialog.fPortBox->isEnabled(), !useIP);
    }

    void endingTheFixedAddressLeavesThePortBoxChecked() {
        const Dialog dialog;
        dialog.fIPBox->click();
        QVERIFY(dialog.fPortBox->isChecked());
        QVERIFY(!dialog.fPortBox->isEnabled());
        dialog.fIPBox->click();
        QVERIFY(!dialog.fIP->isEnabled());
        QVERIFY(dialog.fPortBox->isEnabled());
        QVERIFY(dialog.fPortBox->isChecked());
        QVERIFY(dialog.fPort->isEnabled());
    }

    void selectedRowIsTheChoice() {
        obvista_test::Announced announced;
        announced.robot("robot1.local", 9560, "10.0.0.1");
        Dialog dialog;
        dialog.select(0);
        QCOMPARE(dialog.choice(), Choice("10.0.0.1", 9560));
        QCOMPARE(dialog.getName(), "robot1");
    }

    void fixedAddressClearsTheSelectionAndTheChoice() {
        obvista_test::Announced announced;
        announced.robot("robot1.local", 9560, "10.0.0.1");
        Dialog dialog;
        dialog.select(0);
        dialog.fIPBox->click();
        QVERIFY(dialog.fTree->selectedItems().isEmpty());
        QCOMPARE(dialog.choice(), Choice());
    }

    void selectingARowEndsTheFixedAddress() {
        obvista_test::Announced announced;
        announced.robot("robot1.local", 9560, "10.0.0.1");
        Dialog dialog;
        dialog.fIPBox->click();
        dialog.select(0);
        QVERIFY(!dialog.fIPBox->isChecked());
        QVERIFY(!dialog.fIP->isEnabled());
        QCOMPARE(dialog.choice(), Choice("10.0.0.1", 9560));
    }

    void unresolvedRowIsLookedUpWhenChosen() {
        obvista_test::Announced announced;
        announced.robot("localhost", 9560, "");
        Dialog dialog;
        QCOMPARE(dialog.fTree->topLevelItem(0)->text(BrowseRobotsDialog::a_IPColumn), "");
        dialog.select(0);
        QCOMPARE(dialog.choice(), Choice("127.0.0.1", 9560));
        QCOMPARE(dialog.fTree->topLevelItem(0)->text(BrowseRobotsDialog::a_IPColumn), "127.0.0.1");
    }

    void nameThatDoesNotResolveIsTheAddress() {
        obvista_test::Announced announced;
        announced.robot("nosuchrobot.invalid", 9560, "");
        Dialog dialog;
        dialog.select(0);
        QCOMPARE(dialog.choice(), Choice("nosuchrobot.invalid", 9560));
        QCOMPARE(dialog.fTree->topLevelItem(0)->text(BrowseRobotsDialog::a_IPColumn), "");
    }

    void lookUpGivesTheFirstIPv4AddressOrNothing() {
        Dialog dialog;
        QCOMPARE(dialog.lookupName("127.0.0.7"), "127.0.0.7");
        QCOMPARE(dialog.lookupName("::1"), "");
        QCOMPARE(dialog.lookupName("nosuchrobot.invalid"), "");
        QVERIFY(QApplication::overrideCursor() == nullptr);
    }

    // The resolver waits forever for an Avahi daemon that hangs.
    void lookUpGivesUpAfterFiveSeconds() {
        Dialog dialog;
        const obvista_test::resolver::Hold hold;
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(dialog.lookupName("localhost"), "");
        // Five times the five seconds, on a busy machine; the lookup itself is still held.
        QVERIFY2(timer.elapsed() < 25000, qPrintable(QString::number(timer.elapsed())));
        QVERIFY(QApplication::overrideCursor() == nullptr);
        QVERIFY(obvista_test::resolver::areHeld(1));
    }

    void okWithoutAChoiceAsksForOne() {
        Dialog dialog;
        obvista_test::ModalAnswer answer;
        dialog.onOk();
        QCOMPARE(answer.only().fText, "Please select a robot from the list");
        QCOMPARE(answer.only().fTitle, "Error");
        QVERIFY(!dialog.result());
        QCOMPARE(stored("defaultUseIP"), QVariant(false));
        QVERIFY(!stored("defaultUsePort").isValid());
    }

    void emptyFixedAddressIsRefusedButItsUseIsRemembered() {
        Dialog dialog;
        dialog.fIPBox->click();
        dialog.fIP->clear();
        obvista_test::ModalAnswer answer;
        dialog.onOk();
        QCOMPARE(answer.only().fText, "Please enter a correct hostname");
        QCOMPARE(stored("defaultUseIP").toBool(), true);
        QVERIFY(!stored("defaultIP").isValid());
        QVERIFY(!stored("defaultUsePort").isValid());
    }

    void forcedPortZeroIsRefusedButItsUseIsRemembered() {
        Dialog dialog;
        dialog.fIPBox->click();
        dialog.fIP->setText("10.9.8.7");
        dialog.fPort->setText("0");
        QVERIFY(dialog.fPort->hasAcceptableInput());
        obvista_test::ModalAnswer answer;
        dialog.onOk();
        QCOMPARE(answer.only().fText, "Please enter a valid port");
        QCOMPARE(stored("defaultIP").toString(), "10.9.8.7");
        QCOMPARE(stored("defaultUsePort").toBool(), true);
        QVERIFY(!stored("defaultPort").isValid());
    }

    void rowWithoutMiddlewareIsRefusedByOkAndByDoubleClick() {
        obvista_test::Announced announced;
        announced.robotWithoutMiddleware("robot1.local", "10.0.0.1");
        Dialog dialog;
        dialog.select(0);
        QCOMPARE(dialog.choice(), Choice());
        {
            obvista_test::ModalAnswer answer;
            dialog.onOk();
            QCOMPARE(answer.only().fText, QString(a_noRobaxi));
        }
        {
            obvista_test::ModalAnswer answer;
            dialog.onItemDoubleClicked(dialog.fTree->topLevelItem(0),
                                       BrowseRobotsDialog::a_nameColumn);
            QCOMPARE(answer.only().fText, QString(a_noRobaxi));
            QCOMPARE(answer.only().fTitle, "Error");
        }
        QCOMPARE(dialog.result(), 0);
    }

    void rowWithoutMiddlewareIsAcceptedWithAForcedPort() {
        obvista_test::Announced announced;
        announced.robotWithoutMiddleware("robot1.local", "10.0.0.1");
        Dialog dialog;
        dialog.select(0);
        dialog.fPortBox->click();
        dialog.fPort->setText("4444");
        dialog.onOk();
        QCOMPARE(dialog.result(), static_cast<int>(QDialog::Accepted));
        QCOMPARE(dialog.choice(), Choice("10.0.0.1", 4444));
        QCOMPARE(stored("defaultPort").toInt(), 4444);
    }

    void fixedAddressIsTakenAsTypedAndRemembered() {
        Dialog dialog;
        dialog.fIPBox->click();
        dialog.fIP->setText("my robot.example");
        dialog.fPort->setText("2222");
        QSignalSpy accepted(&dialog, SIGNAL(accepted()));
        dialog.button("Connect to")->click();
        QCOMPARE(accepted.count(), 1);
        QCOMPARE(dialog.choice(), Choice("my robot.example", 2222));
        QCOMPARE(dialog.getName(), "my robot.example");
        QCOMPARE(stored("defaultUseIP").toBool(), true);
        QCOMPARE(stored("defaultUsePort").toBool(), true);
        QCOMPARE(stored("defaultIP").toString(), "my robot.example");
        QCOMPARE(stored("defaultPort").toInt(), 2222);
    }

    void fixedAddressForgetsTheNameOfTheRowChosenBefore() {
        obvista_test::Announced announced;
        announced.robot("robot1.local", 9560, "10.0.0.1");
        Dialog dialog;
        dialog.select(0);
        dialog.fIPBox->click();
        dialog.fIP->setText("10.9.8.7");
        dialog.onOk();
        QCOMPARE(dialog.getName(), "10.9.8.7");
    }

    void settingsFileHoldsTheKeysUnderTheirNames() {
        Dialog dialog;
        dialog.fIPBox->click();
        dialog.fIP->setText("10.9.8.7");
        dialog.fPort->setText("2222");
        dialog.onOk();
        QSettings settings;
        settings.sync();
        QFile file(settings.fileName());
        QVERIFY2(file.open(QIODevice::ReadOnly), qPrintable(file.fileName()));
        const QByteArray content = file.readAll();
        // A colon in the name of a key is encoded as %3A.
        for (const char* line : {"BrowseRobotsDialog%3A%3AdefaultIP=10.9.8.7\n",
                                 "BrowseRobotsDialog%3A%3AdefaultPort=2222\n",
                                 "BrowseRobotsDialog%3A%3AdefaultUseIP=true\n",
                                 "BrowseRobotsDialog%3A%3AdefaultUsePort=true\n"}) {
            QVERIFY2(content.contains(line), content.constData());
        }
    }

    void doubleClickAcceptsAndSavesNothing() {
        obvista_test::Announced announced;
        announced.robot("robot1.local", 9560, "10.0.0.1");
        Dialog dialog;
        dialog.select(0);
        dialog.onItemDoubleClicked(dialog.fTree->topLevelItem(0), BrowseRobotsDialog::a_nameColumn);
        QCOMPARE(dialog.result(), static_cast<int>(QDialog::Accepted));
        QVERIFY(QSettings().allKeys().isEmpty());
    }

    void cancelRejects() {
        Dialog dialog;
        QSignalSpy rejected(&dialog, SIGNAL(rejected()));
        dialog.button("Cancel")->click();
        QCOMPARE(rejected.count(), 1);
        QVERIFY(QSettings().allKeys().isEmpty());
    }
};

OBVISTA_QTEST_MAIN(ChoiceTest)
#include "choice_test.moc"

// The context menu and its actions, with real brokers in this process.

#include "announced.h"
#include "browserobots_dialog.h"
#include "modal_answer.h"
#include "qt_test_main.h"
#include "robot_process.h"

#include <bonjour/bonjour_discovery.h>
#include <robaxi/kv_broker.h>
#include <robaxi/kv_error.h>
#include <robaxi/kv_module.h>

#include <QContextMenuEvent>
#include <QDesktopServices>
#include <QHeaderView>
#include <QMenu>
#include <QScopeGuard>
#include <QScrollBar>
#include <QTimer>
#include <QTreeWidget>
#include <QUrl>
#include <QtTest>

#include <condition_variable>
#include <memory>
#include <mutex>

using KD::BrowseRobotsDialog;
using obvista_test::Announced;

namespace {

/** A broker with the two modules that the dialog calls, and a record of the calls. */
class Robot {
  public:
    Robot() {
        auto leds = std::make_shared<KVModule>("KVLeds", "LEDs");
        leds->bindMethod({"rasta", "rasta(duration: float)", "Runs an animation."},
                         {KVValue::Type::Float}, [this](const KVValue::List& arguments) {
                             xKeep("rasta " + std::to_string(arguments.at(0).toFloat()));
                             return KVValue();
                         });
        auto editor = std::make_shared<KVModule>("KVBallamor", "Behaviour editor");
        editor->bindMethod({"sendClipboard", "sendClipboard(text: string)", "Takes a text."},
                           {KVValue::Type::String}, [this](const KVValue::List& arguments) {
                               xKeep("sendClipboard " + arguments.at(0).toString());
                               return KVValue();
                           });
        fBroker = xListen();
        fBroker->addModule(leds);
        fBroker->addModule(editor);
    }

    int port() const { return fBroker->getPort(); }

    /** Waits for the next call; returns an empty string if there is none. */
    std::string nextCall() {
        std::unique_lock<std::mutex> lock(fMutex);
        fCalled.wait_for(lock, std::chrono::seconds(60), [this] { return !fCall.empty(); });
        return std::exchange(fCall, std::string());
    }

  private:
    static boost::shared_ptr<KVBroker> xListen() {
        for (int port = 20000;; ++port) {
            try {
                return KVBroker::createBroker({"robot", "127.0.0.1", port});
            } catch (const KVError& error) {
                if (error.cause() != KVError::Cause::AddressInUse) {
                    throw;
                }
            }
        }
    }

    void xKeep(const std::string& call) {
        const std::lock_guard<std::mutex> lock(fMutex);
        fCall = call;
        fCalled.notify_all();
    }

    std::mutex fMutex;
    std::condition_variable fCalled;
    std::string fCall;
    boost::shared_ptr<KVBroker> fBroker;
};

QStringList describe(const QMenu& menu) {
    QStringList entries;
    const QList<QAction*> actions = menu.actions();
    for (const QAction* action : actions) {
        entries += action->text() + (action->isEnabled() ? " on" : " off");
    }
    return entries;
}

}  // namespace

class ActionsTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void nothingSelectedShowsNoMenu() {
        Announced announced;
        announced.robot("robot1.local", 9559, "10.0.0.1");
        BrowseRobotsDialog dialog(nullptr, QString(), "text");
        QCOMPARE(openMenu(dialog), QStringList());
    }

    void initialSizeFollowsTheFont_data() {
        QTest::addColumn<double>("factor");
        QTest::newRow("usual") << 1.0;
        QTest::newRow("large") << 1.75;
    }

    void initialSizeFollowsTheFont() {
        QFETCH(double, factor);
        const QFont usual = QApplication::font();
        const auto restore = qScopeGuard([&usual] { QApplication::setFont(usual); });
        QFont font = usual;
        font.setPointSizeF(usual.pointSizeF() * factor);
        QApplication::setFont(font);
        Announced announced;
        announced.robot("robot1.local", 9559, "192.168.100.100");
        BrowseRobotsDialog dialog(nullptr, QString(), QString());
        QCOMPARE(dialog.minimumSize(), QSize(750, 480));
        dialog.show();
        QVERIFY(obvista_test::waitForExposed(&dialog));
        const auto* list = dialog.findChild<QTreeWidget*>();
        QVERIFY(!list->horizontalScrollBar()->isVisible());
        const QAbstractItemView* const view = list;
        const int end = list->header()->sectionPosition(BrowseRobotsDialog::a_IPColumn) +
                        view->sizeHintForColumn(BrowseRobotsDialog::a_IPColumn);
        QVERIFY2(end <= list->viewport()->width(), qPrintable(QString::number(end)));
    }

    void menuFollowsTheRow_data() {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("clipboard");
        QTest::addColumn<QStringList>("entries");
        QTest::newRow("robot") << "robot"
                               << ""
                               << QStringList{"View web page on", "Test LEDs on", "Refresh IP on"};
        QTest::newRow("robot, text") << "robot"
                                     << "text"
                                     << QStringList{"View web page on", "Test LEDs on",
                                                    "Refresh IP on", "Send clipboard off"};
        QTest::newRow("computer") << "computer"
                                  << ""
                                  << QStringList{"View web page off", "Test LEDs off",
                                                 "Refresh IP on"};
        QTest::newRow("computer, text") << "computer"
                                        << "text"
                                        << QStringList{"View web page off", "Test LEDs off",
                                                       "Refresh IP on", "Send clipboard on"};
        QTest::newRow("no middleware, text") << "bare"
                                             << "text"
                                             << QStringList{"View web page on", "Test LEDs off",
                                                            "Refresh IP on", "Send clipboard off"};
    }

    void menuFollowsTheRow() {
        QFETCH(QString, kind);
        QFETCH(QString, clipboard);
        QFETCH(QStringList, entries);
        Announced announced;
        if (kind == "robot") {
            announced.robot("host.local", 9559, "10.0.0.1");
        } else if (kind == "computer") {
            announced.computer("host.local", 9559, "10.0.0.1");
        } else {
            announced.robotWithoutMiddleware("host.local", "10.0.0.1");
        }
        BrowseRobotsDialog dialog(nullptr, QString(), clipboard);
        selectFirst(dialog);
        QCOMPARE(openMenu(dialog), entries);
    }

    void ledTestPostsTheAnimation() {
        Robot robot;
        Announced announced;
        announced.robot("robot1.local", robot.port(), "127.0.0.1");
        BrowseRobotsDialog dialog(nullptr, QString(), QString());
        selectFirst(dialog);
        dialog.onTestLEDs();
        QCOMPARE(robot.nextCall(), std::string("rasta 1.000000"));
    }

    void ledTestOnAnUnreachableRobotSaysSoOnce() {
        const int port = Robot().port();  // nothing listens there any longer
        Announced announced;
        announced.robot("robot1.local", port, "127.0.0.1");
        BrowseRobotsDialog dialog(nullptr, QString(), QString());
        selectFirst(dialog);
        obvista_test::ModalAnswer answer;
        dialog.onTestLEDs();
        QCOMPARE(answer.only().fTitle, "Error");
        QCOMPARE(answer.only().fText, "Could not test Leds on this robot.");
    }

    void textIsSentToTheBehaviourEditor() {
        Robot robot;
        Announced announced;
        announced.computer("computer1.local", robot.port(), "127.0.0.1");
        BrowseRobotsDialog dialog(nullptr, QString(), "<box/>");
        selectFirst(dialog);
        dialog.onSendClipboardContents();
        QCOMPARE(robot.nextCall(), std::string("sendClipboard <box/>"));
    }

    void textReachesAComputerThatRunsAsAProcessOfItsOwn() {
        obvista_test::RobotProcess computer({{"--kind", "computer"}});
        Announced announced;
        announced.computer("computer1.local", computer.port(), computer.address());
        BrowseRobotsDialog dialog(nullptr, QString(), "<box/>");
        selectFirst(dialog);
        dialog.onSendClipboardContents();
        QVERIFY(computer.process().waitForOutput("clipboard: <box/>"));
    }

    void textWithoutABehaviourEditorSaysSo() {
        const int port = Robot().port();
        Announced announced;
        announced.computer("computer1.local", port, "127.0.0.1");
        BrowseRobotsDialog dialog(nullptr, QString(), "text");
        selectFirst(dialog);
        obvista_test::ModalAnswer answer;
        dialog.onSendClipboardContents();
        QCOMPARE(answer.only().fTitle, "Error");
        QCOMPARE(answer.only().fText,
                 "Could not send clipboard to this robot : no Ballamor seems to be connected.");
    }

    void withoutATextNothingIsSent() {
        Announced announced;
        announced.computer("computer1.local", 1, "127.0.0.1");
        BrowseRobotsDialog dialog(nullptr, QString(), QString());
        selectFirst(dialog);
        dialog.onSendClipboardContents();  // a message box would block the test
    }

    void webPageIsThatOfTheHostName() {
        Announced announced;
        announced.robot("robot1.local", 9559, "10.0.0.1");
        BrowseRobotsDialog dialog(nullptr, QString(), QString());
        dialog.onViewWebPage();
        selectFirst(dialog);
        QDesktopServices::setUrlHandler("http", this, "openUrl");
        dialog.onViewWebPage();
        QDesktopServices::unsetUrlHandler("http");
        QCOMPARE(fOpened, QList<QUrl>{QUrl("http://robot1.local")});
    }

    // The name comes from the network; it must not become a user name, a port or a path of another
    // host's address.
    void hostNameThatIsNoHostOpensNothing() {
        Announced announced;
        announced.robot("good@evil.example:81/path", 9559, "10.0.0.1");
        BrowseRobotsDialog dialog(nullptr, QString(), QString());
        selectFirst(dialog);
        obvista_test::ModalAnswer answer;
        dialog.onViewWebPage();
        QCOMPARE(answer.only().fTitle, "Cannot access to web page");
        QCOMPARE(answer.only().fText, "Application was not able to open your default web browser.");
    }

    void refreshTakesANewAddressOver() {
        Announced announced;
        const auto profile = announced.robot("localhost", 9559, "10.0.0.1");
        BrowseRobotsDialog dialog(nullptr, QString(), QString());
        QVERIFY(!dialog.refreshIP());
        selectFirst(dialog);
        QVERIFY(dialog.refreshIP());
        QCOMPARE(profile->fIP, std::string("127.0.0.1"));
        QString ip;
        int port = 0;
        QVERIFY(dialog.getIPandPort(ip, port));
        QCOMPARE(ip, "127.0.0.1");
        // The list follows at the next update.
        const QTreeWidgetItem* row = dialog.findChild<QTreeWidget*>()->topLevelItem(0);
        QCOMPARE(row->text(BrowseRobotsDialog::a_IPColumn), "10.0.0.1");
        dialog.updateRobotList();
        QCOMPARE(row->text(BrowseRobotsDialog::a_IPColumn), "127.0.0.1");
        QVERIFY2(!dialog.refreshIP(), "the same address again is no new one");
    }

    void refreshOfANameThatDoesNotResolveChangesNothing() {
        Announced announced;
        const auto profile = announced.robot("nosuchrobot.invalid", 9559, "10.0.0.1");
        BrowseRobotsDialog dialog(nullptr, QString(), QString());
        selectFirst(dialog);
        QVERIFY(!dialog.refreshIP());
        QCOMPARE(profile->fIP, std::string("10.0.0.1"));
    }

    void refreshOfAHostThatLeftTheMapSucceedsWithoutEffect() {
        Announced announced;
        announced.robot("localhost", 9559, "10.0.0.1");
        BrowseRobotsDialog dialog(nullptr, QString(), QString());
        selectFirst(dialog);
        announced.withdraw("localhost");
        QVERIFY(dialog.refreshIP());
        QString ip;
        int port = 0;
        QVERIFY(dialog.getIPandPort(ip, port));
        QCOMPARE(ip, "10.0.0.1");
    }

  public Q_SLOTS:
    void openUrl(const QUrl& url) { fOpened += url; }

  private:
    static void selectFirst(BrowseRobotsDialog& dialog) {
        dialog.findChild<QTreeWidget*>()->topLevelItem(0)->setSelected(true);
    }

    /** Opens the context menu like a right click and returns its entries; empty without a menu. */
    static QStringList openMenu(BrowseRobotsDialog& dialog) {
        QStringList entries;
        QTimer watcher;
        connect(&watcher, &QTimer::timeout, [&] {
            if (auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget())) {
                entries = describe(*menu);
                menu->close();
            }
        });
        watcher.start(0);
        QContextMenuEvent event(QContextMenuEvent::Mouse, QPoint(5, 5), QPoint(5, 5));
        event.ignore();
        QCoreApplication::sendEvent(&dialog, &event);
        return event.isAccepted() ? entries : QStringList{"event not accepted"};
    }

    QList<QUrl> fOpened;
};

OBVISTA_QTEST_MAIN(ActionsTest)
#include "actions_test.moc"

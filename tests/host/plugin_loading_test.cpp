#include "host_window.h"
#include "installation.h"
#include "modal_answer.h"
#include "plugin_loader.h"
#include "qclosabledock_widget.h"
#include "qt_test_main.h"

#include <QDir>
#include <QMenu>
#include <QMenuBar>
#include <QSignalSpy>
#include <QtTest>

#include <memory>

using obvista_test::HostWindow;
using obvista_test::Installation;
using obvista_test::ModalAnswer;
using obvista_test::SeenDialog;

namespace {

const QString a_viewer = QStringLiteral("viewer");

const QString a_refusal = QStringLiteral(
    "Plugin does not comply with Obvista requirements, and therefore cannot be loaded.");

const QString a_notConnected = QStringLiteral(
    "Could not connect to Robaxi. Make sure Robaxi is executed on the right IP and listening to "
    "the port you have set...\n"
    "Also make sur that another Obvista is not already connected to this Robaxi.");

QStringList fileNames(const QList<QFileInfo>& files) {
    QStringList names;
    for (const QFileInfo& file : files) {
        names += file.fileName();
    }
    return names;
}

}  // namespace

class PluginLoadingTest : public QObject {
    Q_OBJECT
  private Q_SLOTS:
    void init() { fInstallation = std::make_unique<Installation>(); }

    void cleanup() { fInstallation.reset(); }

    // ---- the plugins folder

    void takesRegularFilesWhoseWholeSuffixIsSo() {
        for (const char* name : {"libzoom.so", "Alpha.so", "beta.so", "libcameraviewer.so.1",
                                 "libcamera.viewer.so", "notes.txt", "so", "libupper.SO", ".so"}) {
            fInstallation->addFile(QString::fromLatin1(name));
        }
        QDir(fInstallation->pluginsFolder()).mkdir(QStringLiteral("x.so"));
        const HostWindow window(*fInstallation);
        QCOMPARE(fileNames(window.getPluginList(fInstallation->pluginsFolder())),
                 (QStringList{QStringLiteral("Alpha.so"), QStringLiteral("beta.so"),
                              QStringLiteral("libzoom.so")}));
        QCOMPARE(window.pluginMenu(), (QStringList{QStringLiteral("Alpha"), QStringLiteral("beta"),
                                                   QStringLiteral("zoom")}));
    }

    void removesOneLeadingLibInLowerCase() {
        fInstallation->addFile(QStringLiteral("Libupper.so"));
        fInstallation->addFile(QStringLiteral("liblibrary.so"));
        const HostWindow window(*fInstallation);
        QCOMPARE(window.pluginMenu(),
                 (QStringList{QStringLiteral("library"), QStringLiteral("Libupper")}));
    }

    void listsANameTwiceAndLoadsTheFileListedLater() {
        fInstallation->addFile(QStringLiteral("viewer.so"), "no library");
        fInstallation->addPlugin(a_viewer, QStringLiteral("libviewer.so"));
        {
            HostWindow window(*fInstallation);
            QCOMPARE(window.pluginMenu(), (QStringList{a_viewer, a_viewer}));
            QVERIFY(!window.loadPlugin(a_viewer, {}, 0, 0));
        }
        QVERIFY(QFile::remove(fInstallation->pluginsFolder() + QStringLiteral("/viewer.so")));
        fInstallation->addPlugin(a_viewer, QStringLiteral("viewer.so"));
        fInstallation->addFile(QStringLiteral("libviewer.so"), "no library");
        HostWindow window(*fInstallation);
        QVERIFY(window.loadPlugin(a_viewer, {}, 0, 0));
    }

    void hasAnEmptyMenuWithoutAPluginsFolder() {
        QVERIFY(QDir(fInstallation->pluginsFolder()).removeRecursively());
        HostWindow window(*fInstallation);
        QCOMPARE(window.pluginMenu(), QStringList());
        window.load(a_viewer);
        QVERIFY(!window.loadPlugin(a_viewer, {}, 0, 0));
    }

    void readsTheFolderOnce() {
        HostWindow window(*fInstallation);
        fInstallation->addPlugin(a_viewer);
        QVERIFY(!window.loadPlugin(a_viewer, {}, 0, 0));
        QCOMPARE(window.pluginMenu(), QStringList());
    }

    // ---- the window before any plugin

    void opensWithTheLauncherAndTwoMenus() {
        HostWindow window(*fInstallation);
        QCOMPARE(window.windowTitle(), QStringLiteral("Obvista Desktop"));
        QCOMPARE(window.parentWidget(), nullptr);
        const QList<QAction*> menus = window.menuBar()->actions();
        QCOMPARE(menus.size(), 2);
        QCOMPARE(menus[0]->text(), QStringLiteral("Load Plugin"));
        QCOMPARE(menus[1]->text(), QStringLiteral("&Help"));
        const QList<QAction*> help = menus[1]->menu()->actions();
        QCOMPARE(help.size(), 1);
        QCOMPARE(help[0]->text(), QStringLiteral("About Obvista"));
        QVERIFY(help[0]->shortcut().isEmpty());

        window.show();
        QVERIFY(obvista_test::waitForExposed(&window));
        QVERIFY(window.launcher().isVisible());
        QCOMPARE(window.launcher().size(), Installation::a_pictureSize);
    }

    // ---- loading on request

    void asksForARobotAndDocksTheWidget_data() {
        QTest::addColumn<bool>("fromMenu");
        QTest::newRow("the menu") << true;
        QTest::newRow("the launcher") << false;
    }

    void asksForARobotAndDocksTheWidget() {
        QFETCH(bool, fromMenu);
        const QString name = QStringLiteral("memoryviewer");
        fInstallation->addPlugin(a_viewer, QStringLiteral("libmemoryviewer.so"));
        HostWindow window(*fInstallation);
        window.show();
        QVERIFY(obvista_test::waitForExposed(&window));
        const QSignalSpy launcherHidden(&window, &MainWindow::backgroundInvisible);

        if (fromMenu) {
            window.menuBar()->actions().first()->menu()->actions().first()->trigger();
        } else {
            QTest::mouseClick(&window.launcher(), Qt::LeftButton, {}, QPoint(350, 187));
        }

        QCOMPARE(window.choice().fCalls,
                 (QStringList{QStringLiteral("exec"), QStringLiteral("getIPandPort")}));
        QCOMPARE(fInstallation->journal(),
                 QStringList(created(QStringLiteral("192.0.2.1"), 9559, 0)));
        QCOMPARE(window.openDocks().size(), 1);
        const QClosableDockWidget& dock = *window.openDocks().first();
        QCOMPARE(dock.windowTitle(), name);
        QCOMPARE(dock.parentWidget(), &window);
        QCOMPARE(window.dockWidgetArea(window.openDocks().first()), Qt::TopDockWidgetArea);
        QVERIFY(!dock.isFloating());
        QVERIFY(dock.widget()->isVisible());
        QVERIFY(!window.launcher().isVisible());
        QCOMPARE(launcherHidden.size(), 1);
        QCOMPARE(launcherHidden.first().first().toBool(), true);
    }

    void liftsTheWindowsFixedSize() {
        fInstallation->addPlugin(a_viewer);
        HostWindow window(*fInstallation);
        window.setFixedSize(Installation::a_pictureSize);
        window.load(a_viewer);
        QCOMPARE(window.maximumSize(), QSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX));
        QCOMPARE(window.minimumSize(), QSize(0, 0));
    }

    void isSilentAboutANameThatIsUnknown() {
        HostWindow window(*fInstallation);
        window.load(QStringLiteral("nosuchplugin"));
        QCOMPARE(window.choice().fCalls, QStringList());
        QVERIFY(window.docks().isEmpty());
    }

    void isSilentWhenTheUserCancels() {
        fInstallation->addPlugin(a_viewer);
        HostWindow window(*fInstallation);
        window.choice().fExecResult = 0;
        window.load(a_viewer);
        QCOMPARE(window.choice().fCalls, QStringList{QStringLiteral("exec")});
        QCOMPARE(fInstallation->journal(), QStringList());
        QVERIFY(window.docks().isEmpty());
    }

    void isSilentWithoutAnAddress() {
        fInstallation->addPlugin(a_viewer);
        HostWindow window(*fInstallation);
        window.choice().fAddresses.clear();
        window.load(a_viewer);
        QCOMPARE(fInstallation->journal(), QStringList());
        QVERIFY(window.docks().isEmpty());
    }

    void isSilentWhenThereIsNothingToShow() {
        fInstallation->addPlugin(QStringLiteral("returns_nothing"));
        HostWindow window(*fInstallation);
        window.load(QStringLiteral("returns_nothing"));
        QVERIFY(window.docks().isEmpty());
        QVERIFY(!window.launcher().isHidden());
    }

    void asksForNoAddressWhenNoRobotIsNeeded() {
        fInstallation->addPlugin(QStringLiteral("no_robot"));
        HostWindow window(*fInstallation);
        window.load(QStringLiteral("no_robot"));
        QCOMPARE(window.choice().fCalls, QStringList{QStringLiteral("exec")});
        QCOMPARE(fInstallation->journal(), QStringList(created({}, 0, 0)));
        QCOMPARE(window.openDocks().size(), 1);
    }

    void makesTheDockAsLargeAsTheWidget() {
        /** Records the sizes of docks when they are first shown, before the layout. */
        class FirstSizes : public QObject {
          public:
            QList<QSize> fSizes;

          protected:
            bool eventFilter(QObject* object, QEvent* event) override {
                const auto* dock = qobject_cast<QClosableDockWidget*>(object);
                if (dock != nullptr && event->type() == QEvent::Show && !fSeen.contains(dock)) {
                    fSeen.append(dock);
                    fSizes.append(dock->size());
                }
                return false;
            }

          private:
            QList<const QObject*> fSeen;
        };
        fInstallation->addPlugin(a_viewer);
        HostWindow window(*fInstallation);
        window.show();
        FirstSizes sizes;
        qApp->installEventFilter(&sizes);
        window.load(a_viewer);
        QVERIFY(window.loadPlugin(a_viewer, QStringLiteral("192.0.2.1"), 9559, 0));
        QCOMPARE(sizes.fSizes, (QList<QSize>{{500, 320}, {500, 320}}));
    }

    void docksTheSamePluginTwiceWithOneObject() {
        fInstallation->addPlugin(a_viewer);
        auto window = std::make_unique<HostWindow>(*fInstallation);
        window->choice().fAddresses = {{QStringLiteral("192.0.2.1"), 9559},
                                       {QStringLiteral("192.0.2.2"), 9560}};
        window->load(a_viewer);
        window->load(a_viewer);
        QCOMPARE(window->openDocks().size(), 2);
        QCOMPARE(fInstallation->journal(),
                 (QStringList{created(QStringLiteral("192.0.2.1"), 9559, 0),
                              created(QStringLiteral("192.0.2.2"), 9560, 0)}));
        fInstallation->clearJournal();
        window.reset();
        QCOMPARE(fInstallation->journal().count(QStringLiteral("plugin deleted")), 1);
    }

    // A docked plugin may lose its robot while the dialog for its second load is open. Its object
    // is then gone, and loading continues with a new one.
    void survivesTheObjectsEndWhileTheUserChooses() {
        fInstallation->addPlugin(a_viewer);
        HostWindow window(*fInstallation);
        window.load(a_viewer);
        window.choice().fAddresses = {{QStringLiteral("192.0.2.2"), 9559}};
        ModalAnswer user;
        window.choice().fWhileOpen = [&window] { HostWindow::lose(*window.docks().first()); };
        window.load(a_viewer);
        QCOMPARE(user.only().fTitle, QStringLiteral("Robaxi has been disconnected"));
        QCOMPARE(window.openDocks().size(), 1);
        QCOMPARE(fInstallation->journal(),
                 (QStringList{created(QStringLiteral("192.0.2.1"), 9559, 0),
                              QStringLiteral("plugin deleted"),
                              created(QStringLiteral("192.0.2.2"), 9559, 0)}));
    }

    // ---- robots that cannot be reached

    void triesAgainOnceWithTheRefreshedAddress() {
        fInstallation->addPlugin(a_viewer);
        Installation::setScript({QStringLiteral("KVError refused")});
        HostWindow window(*fInstallation);
        window.choice().fRefreshed = true;
        window.choice().fAddresses += {QStringLiteral("192.0.2.9"), 9560};
        window.load(a_viewer);
        QCOMPARE(window.choice().fCalls,
                 (QStringList{QStringLiteral("exec"), QStringLiteral("getIPandPort"),
                              QStringLiteral("refreshIP"), QStringLiteral("getIPandPort")}));
        QCOMPARE(fInstallation->journal(),
                 (QStringList{created(QStringLiteral("192.0.2.1"), 9559, 0),
                              created(QStringLiteral("192.0.2.9"), 9560, 0)}));
        QCOMPARE(window.openDocks().size(), 1);
    }

    // It is then given the robot that the user chose in the dialog.
    void triesAgainWithAnAddressWhenNoRobotIsNeeded() {
        fInstallation->addPlugin(QStringLiteral("no_robot"));
        Installation::setScript({QStringLiteral("KVError refused")});
        HostWindow window(*fInstallation);
        window.choice().fRefreshed = true;
        window.load(QStringLiteral("no_robot"));
        QCOMPARE(window.choice().fCalls,
                 (QStringList{QStringLiteral("exec"), QStringLiteral("refreshIP"),
                              QStringLiteral("getIPandPort")}));
        QCOMPARE(fInstallation->journal(),
                 (QStringList{created({}, 0, 0), created(QStringLiteral("192.0.2.1"), 9559, 0)}));
        QCOMPARE(window.openDocks().size(), 1);
    }

    void reportsTheLatestFailure_data() {
        QTest::addColumn<bool>("refreshed");
        QTest::addColumn<int>("addresses");
        QTest::addColumn<int>("attempts");
        QTest::addColumn<QString>("details");
        const QString first = QStringLiteral("first failure");
        QTest::newRow("address not refreshed") << false << 2 << 1 << first;
        QTest::newRow("no address any more") << true << 1 << 1 << first;
        QTest::newRow("refused again") << true << 2 << 2 << QStringLiteral("second failure");
    }

    void reportsTheLatestFailure() {
        QFETCH(bool, refreshed);
        QFETCH(int, addresses);
        QFETCH(int, attempts);
        QFETCH(QString, details);
        fInstallation->addPlugin(a_viewer);
        Installation::setScript({QStringLiteral("KVError first failure"),
                                 QStringLiteral("KVError second failure"),
                                 QStringLiteral("widget")});
        HostWindow window(*fInstallation);
        window.choice().fRefreshed = refreshed;
        window.choice().fAddresses = QList<QPair<QString, int>>(
            QVector<QPair<QString, int>>(addresses, {QStringLiteral("192.0.2.1"), 9559}).toList());

        ModalAnswer user;
        window.load(a_viewer);

        const SeenDialog seen = user.only();
        QCOMPARE(seen.fClassName, QStringLiteral("KD::ErrorDialog"));
        QCOMPARE(seen.fTitle, QStringLiteral("Error"));
        QCOMPARE(seen.fText, a_notConnected);
        QCOMPARE(seen.fDetails, details);
        QCOMPARE(seen.fButtons, QMessageBox::StandardButtons(QMessageBox::Ok));
        QCOMPARE(seen.fParent, &window);
        QCOMPARE(fInstallation->journal().size(), attempts);
        QVERIFY(window.docks().isEmpty());
        QVERIFY(!window.launcher().isHidden());
    }

    // ---- plugins that lie

    void refusesWhatIsNoPlugin_data() {
        QTest::addColumn<QString>("fixture");
        QTest::addColumn<QString>("qtMessage");
        QTest::newRow("not a library") << QString() << QStringLiteral("is not");
        QTest::newRow("no root object")
            << QStringLiteral("no_root") << QStringLiteral("Failed to extract plugin meta data");
        QTest::newRow("another identifier")
            << QStringLiteral("wrong_identifier") << QStringLiteral("Unknown error");
        QTest::newRow("a missing function")
            << QStringLiteral("undefined_symbol") << QStringLiteral("fixtureMissingFunction");
    }

    void refusesWhatIsNoPlugin() {
        QFETCH(QString, fixture);
        QFETCH(QString, qtMessage);
        if (fixture.isEmpty()) {
            fInstallation->addFile(QStringLiteral("libx.so"), "This is not a library.\n");
        } else {
            fInstallation->addPlugin(fixture, QStringLiteral("libx.so"));
        }
        HostWindow window(*fInstallation);

        ModalAnswer user;
        window.load(QStringLiteral("x"));

        const SeenDialog seen = user.only();
        QCOMPARE(seen.fClassName, QStringLiteral("QMessageBox"));
        QCOMPARE(seen.fTitle, QStringLiteral("Error while loading plugin"));
        QCOMPARE(seen.fIcon, QMessageBox::Warning);
        QCOMPARE(seen.fButtons, QMessageBox::StandardButtons(QMessageBox::Ok));
        QCOMPARE(seen.fParent, &window);
        QVERIFY2(seen.fText.startsWith(a_refusal + QStringLiteral("\nMessage from Qt: \"")),
                 qPrintable(seen.fText));
        QVERIFY2(seen.fText.endsWith(QLatin1Char('"')), qPrintable(seen.fText));
        QVERIFY2(seen.fText.contains(qtMessage), qPrintable(seen.fText));
        QCOMPARE(window.choice().fCalls, QStringList());
        QVERIFY(window.docks().isEmpty());

        QVERIFY(!window.loadPlugin(QStringLiteral("x"), QStringLiteral("192.0.2.1"), 9559, 0));
        QCOMPARE(user.dialogs().size(), 1);
        stillLoads(window);
    }

    void reportsWhatAPluginThrows_data() {
        QTest::addColumn<QString>("fixture");
        QTest::addColumn<QString>("details");
        QTest::addColumn<QStringList>("asked");
        const QStringList none;
        const QStringList exec{QStringLiteral("exec")};
        const QStringList address = exec + QStringList{QStringLiteral("getIPandPort")};
        QTest::newRow("building the root object")
            << QStringLiteral("throws_in_constructor") << QStringLiteral("cannot be built") << none;
        QTest::newRow("needsRobotConnection")
            << QStringLiteral("throws_in_question") << QStringLiteral("cannot be asked") << exec;
        QTest::newRow("createWidget") << QStringLiteral("throws_std")
                                      << QStringLiteral("the viewer is out of order") << address;
        QTest::newRow("createWidget, no exception type")
            << QStringLiteral("throws_int")
            << QStringLiteral("The plugin threw an exception of an unknown type.") << address;
    }

    void reportsWhatAPluginThrows() {
        QFETCH(QString, fixture);
        QFETCH(QString, details);
        QFETCH(QStringList, asked);
        fInstallation->addPlugin(fixture);
        HostWindow window(*fInstallation);
        window.choice().fRefreshed = true;

        ModalAnswer user;
        window.load(fixture);

        const SeenDialog seen = user.only();
        QCOMPARE(seen.fClassName, QStringLiteral("KD::ErrorDialog"));
        QCOMPARE(seen.fTitle, QStringLiteral("Error"));
        QVERIFY2(seen.fText.contains(fixture), qPrintable(seen.fText));
        QCOMPARE(seen.fDetails, details);
        QCOMPARE(seen.fParent, &window);
        QCOMPARE(window.choice().fCalls, asked);
        QVERIFY(window.docks().isEmpty());
        stillLoads(window);
    }

    void reportsWhatTheSecondAttemptThrows() {
        fInstallation->addPlugin(a_viewer);
        Installation::setScript({QStringLiteral("KVError refused"), QStringLiteral("std broken")});
        HostWindow window(*fInstallation);
        window.choice().fRefreshed = true;
        window.choice().fAddresses += {QStringLiteral("192.0.2.9"), 9560};
        ModalAnswer user;
        window.load(a_viewer);
        QCOMPARE(user.only().fDetails, QStringLiteral("broken"));
        QVERIFY2(user.only().fText.contains(a_viewer), qPrintable(user.only().fText));
    }

    void docksAWidgetThatCannotReportALoss() {
        fInstallation->addPlugin(QStringLiteral("silent_widget"));
        HostWindow window(*fInstallation);
        QTest::ignoreMessage(
            QtWarningMsg,
            QRegularExpression(QStringLiteral("No such signal QLabel::disconnected")));
        window.load(QStringLiteral("silent_widget"));
        QCOMPARE(window.openDocks().size(), 1);
    }

    // ---- loading for the command line

    void loadsWithoutAskingAnybody() {
        fInstallation->addPlugin(a_viewer);
        HostWindow window(*fInstallation);
        const QSignalSpy launcherHidden(&window, &MainWindow::backgroundInvisible);
        QVERIFY(window.loadPlugin(a_viewer, QStringLiteral("192.0.2.7"), 1234, 54321));
        QCOMPARE(window.choice().fCalls, QStringList());
        QCOMPARE(fInstallation->journal(),
                 QStringList(created(QStringLiteral("192.0.2.7"), 1234, 54321)));
        QCOMPARE(window.openDocks().size(), 1);
        QCOMPARE(window.openDocks().first()->windowTitle(), a_viewer);
        QCOMPARE(window.openDocks().first()->size(), QSize(500, 320));
        QCOMPARE(window.dockWidgetArea(window.openDocks().first()), Qt::TopDockWidgetArea);
        QCOMPARE(launcherHidden.size(), 1);
        QVERIFY(window.launcher().isHidden());
    }

    void leavesAFixedSizeAlone() {
        fInstallation->addPlugin(a_viewer);
        HostWindow window(*fInstallation);
        window.setFixedSize(Installation::a_pictureSize);
        QVERIFY(window.loadPlugin(a_viewer, {}, 0, 0));
        QCOMPARE(window.maximumSize(), Installation::a_pictureSize);
    }

    void countsNothingToShowAsLoaded() {
        fInstallation->addPlugin(QStringLiteral("returns_nothing"));
        HostWindow window(*fInstallation);
        QVERIFY(window.loadPlugin(QStringLiteral("returns_nothing"), {}, 0, 0));
        QVERIFY(window.docks().isEmpty());
        QVERIFY(!window.launcher().isHidden());
    }

    void doesNotTryAgain_data() {
        QTest::addColumn<QString>("fixture");
        QTest::newRow("not connected") << QStringLiteral("throws_kv_error");
        QTest::newRow("another exception") << QStringLiteral("throws_std");
        QTest::newRow("no exception type") << QStringLiteral("throws_int");
        QTest::newRow("no root object") << QStringLiteral("throws_in_constructor");
    }

    void doesNotTryAgain() {
        QFETCH(QString, fixture);
        fInstallation->addPlugin(fixture);
        HostWindow window(*fInstallation);
        QVERIFY(!window.loadPlugin(fixture, QStringLiteral("192.0.2.7"), 9559, 0));
        QCOMPARE(window.choice().fCalls, QStringList());
        QVERIFY(window.docks().isEmpty());
        stillLoads(window);
    }

    // The port stays as the plugin set it unless the command line contains one.
    void leavesTheBrokerPortAloneOnRequest() {
        fInstallation->addPlugin(a_viewer);
        HostWindow window(*fInstallation);
        window.choice().fAddresses += {QStringLiteral("192.0.2.2"), 9559};
        QVERIFY(window.loadPlugin(a_viewer, QStringLiteral("192.0.2.7"), 9559, 54321));
        window.load(a_viewer);
        QCOMPARE(fInstallation->journal().last(),
                 created(QStringLiteral("192.0.2.1"), 9559, 54321));
    }

    // ---- discovery

    void tellsThatDiscoveryCannotRun() {
        HostWindow window(*fInstallation);
        ModalAnswer user;
        window.onBonjourListeningException(QStringLiteral("no daemon"));
        const SeenDialog seen = user.only();
        QCOMPARE(seen.fClassName, QStringLiteral("KD::ErrorDialog"));
        QCOMPARE(seen.fTitle, QStringLiteral("Cannot listen to Bonjour Network"));
        QCOMPARE(seen.fText, QStringLiteral("Make sure Bonjour is properly installed. Browsing "
                                            "function will not be available."));
        QCOMPARE(seen.fDetails, QStringLiteral("no daemon"));
        QCOMPARE(seen.fParent, nullptr);
        QCOMPARE(seen.fButtons, QMessageBox::StandardButtons(QMessageBox::Ok));
    }

  private:
    QString created(const QString& ip, int port, int brokerPort) const {
        return QStringLiteral(
                   "createWidget parent MainWindow, ip \"%1\", port %2, brokerPort %3, media "
                   "\"%4\"")
            .arg(ip)
            .arg(port)
            .arg(brokerPort)
            .arg(fInstallation->mediaFolder());
    }

    /**
     * Checks that the host still works: the same window refuses an unknown plugin, and is visible.
     */
    static void stillLoads(HostWindow& window) {
        QVERIFY(!window.loadPlugin(QStringLiteral("nosuchplugin"), {}, 0, 0));
        window.show();
        QVERIFY(obvista_test::waitForExposed(&window));
    }

    std::unique_ptr<Installation> fInstallation;
};

OBVISTA_QTEST_MAIN(PluginLoadingTest)

#include "plugin_loading_test.moc"

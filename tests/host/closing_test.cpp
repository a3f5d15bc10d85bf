#include "host_window.h"
#include "installation.h"
#include "modal_answer.h"
#include "plugin_loader.h"
#include "qclosabledock_widget.h"
#include "qt_test_main.h"

#include <QAbstractButton>
#include <QMenu>
#include <QMenuBar>
#include <QPointer>
#include <QSettings>
#include <QSignalSpy>
#include <QtTest>

#include <memory>

using obvista_test::HostWindow;
using obvista_test::Installation;
using obvista_test::ModalAnswer;
using obvista_test::SeenDialog;

namespace {

const QString a_first = QStringLiteral("first");
const QString a_second = QStringLiteral("second");
const QString a_lost = QStringLiteral("Robaxi has been disconnected");
const QString a_closing =
    QStringLiteral("Obvista will close this plugin now. You have to restart it and connect again.");
const QString a_pluginDeleted = QStringLiteral("plugin deleted");
const QString a_widgetDeleted = QStringLiteral("widget deleted");

void pressCloseButton(const QClosableDockWidget& dock) {
    auto* button = dock.findChild<QAbstractButton*>(QStringLiteral("qt_dockwidget_closebutton"));
    QVERIFY(button != nullptr);
    QTest::mouseClick(button, Qt::LeftButton);
}

}  // namespace

class ClosingTest : public QObject {
    Q_OBJECT
  private Q_SLOTS:
    void init() {
        QSettings().clear();
        fInstallation = std::make_unique<Installation>();
        fInstallation->addPlugin(QStringLiteral("viewer"), QStringLiteral("libfirst.so"));
        fInstallation->addPlugin(QStringLiteral("viewer"), QStringLiteral("libsecond.so"));
        fInstallation->addPlugin(QStringLiteral("noisy_end"));
        fWindow = std::make_unique<HostWindow>(*fInstallation);
        fWindow->choice().fAddresses = {{QStringLiteral("192.0.2.1"), 9559},
                                        {QStringLiteral("192.0.2.1"), 9559},
                                        {QStringLiteral("192.0.2.1"), 9559}};
        fWindow->show();
        QVERIFY(obvista_test::waitForActive(fWindow.get()));
    }

    void cleanup() {
        fWindow.reset();
        fInstallation.reset();
    }

    // ---- the user closes docks

    void closingTheOnlyDockBringsTheLauncherBack_data() {
        QTest::addColumn<bool>("interactive");
        QTest::newRow("loaded on request") << true;
        QTest::newRow("loaded for the command line") << false;
    }

    void closingTheOnlyDockBringsTheLauncherBack() {
        QFETCH(bool, interactive);
        if (interactive) {
            load({a_first});
        } else {
            QVERIFY(fWindow->loadPlugin(a_first, QStringLiteral("192.0.2.1"), 9559, 0));
            fInstallation->clearJournal();
        }
        fWindow->resize(800, 600);
        const QSignalSpy launcherHidden(fWindow.get(), &MainWindow::backgroundInvisible);

        pressCloseButton(*fWindow->openDocks().first());

        QCOMPARE(fInstallation->journal(), QStringList(a_pluginDeleted));
        QCOMPARE(launcherHidden.size(), 1);
        QCOMPARE(launcherHidden.first().first().toBool(), false);
        QVERIFY(fWindow->launcher().isVisible());
        QVERIFY(fWindow->openDocks().isEmpty());
        QCOMPARE(fWindow->minimumSize(), Installation::a_pictureSize);
        QCOMPARE(fWindow->maximumSize(), Installation::a_pictureSize);
        QTRY_COMPARE(fWindow->size(), Installation::a_pictureSize);
    }

    void closingOneOfTwoDocksResizesAllTheSame() {
        load({a_first, a_second});
        fWindow->resize(800, 600);
        const QSignalSpy launcherHidden(fWindow.get(), &MainWindow::backgroundInvisible);
        QClosableDockWidget* kept = fWindow->docks().last();

        pressCloseButton(*fWindow->docks().first());

        QCOMPARE(fWindow->openDocks(), QList<QClosableDockWidget*>{kept});
        QCOMPARE(fWindow->dockWidgetArea(kept), Qt::TopDockWidgetArea);
        QVERIFY(!fWindow->launcher().isVisible());
        QCOMPARE(launcherHidden.size(), 0);
        QTRY_COMPARE(fWindow->size(), Installation::a_pictureSize);
        QVERIFY(fWindow->maximumSize() != Installation::a_pictureSize);
    }

    void aClosedDockStaysHiddenWithItsWidget() {
        load({a_first});
        const QPointer<QClosableDockWidget> dock = fWindow->docks().first();
        QVERIFY(dock->close());
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(dock != nullptr);
        QVERIFY(dock->isHidden());
        QCOMPARE(dock->parentWidget(), fWindow.get());
        QVERIFY(dock->widget() != nullptr);
        QCOMPARE(fInstallation->journal(), QStringList(a_pluginDeleted));
    }

    void closingADockTwiceDoesNothingMore() {
        load({a_first, a_second});
        QClosableDockWidget* dock = fWindow->docks().first();
        QVERIFY(dock->close());
        dock->show();
        QVERIFY(dock->close());
        QCOMPARE(fInstallation->journal(), QStringList(a_pluginDeleted));
        QCOMPARE(fWindow->openDocks().size(), 1);
    }

    void aFloatingDockClosesLikeAnyOther() {
        load({a_first});
        QClosableDockWidget* dock = fWindow->docks().first();
        dock->setFloating(true);
        QVERIFY(dock->close());
        QCOMPARE(fInstallation->journal(), QStringList(a_pluginDeleted));
        QVERIFY(fWindow->launcher().isVisible());
    }

    void aClosedPluginCanBeLoadedAgain() {
        load({a_first});
        QVERIFY(fWindow->docks().first()->close());
        fWindow->load(a_first);
        QCOMPARE(fWindow->docks().size(), 2);
        QCOMPARE(fWindow->openDocks(), QList<QClosableDockWidget*>{fWindow->docks().last()});
        QVERIFY(!fWindow->launcher().isVisible());
        fWindow->resize(700, 500);
        QTRY_COMPARE(fWindow->size(), QSize(700, 500));
    }

    // ---- robots are lost

    void aLostRobotClosesItsPluginAfterADialog() {
        load({a_first});
        ModalAnswer user({[this](QMessageBox& box) {
            QCOMPARE(fWindow->openDocks().size(), 1);
            ModalAnswer::press(QMessageBox::Ok)(box);
        }});

        HostWindow::lose(*fWindow->openDocks().first());

        const SeenDialog seen = user.only();
        QCOMPARE(seen.fClassName, QStringLiteral("KD::ErrorDialog"));
        QCOMPARE(seen.fTitle, a_lost);
        QCOMPARE(seen.fText, a_closing);
        QCOMPARE(seen.fParent, nullptr);
        QCOMPARE(seen.fButtons, QMessageBox::StandardButtons(QMessageBox::Ok));
        QCOMPARE(seen.fDetails, QString());
        QCOMPARE(fInstallation->journal(), QStringList(a_pluginDeleted));
        QVERIFY(fWindow->openDocks().isEmpty());
        QVERIFY(fWindow->launcher().isVisible());
        QTRY_COMPARE(fWindow->size(), Installation::a_pictureSize);
    }

    void aLossIsAcknowledgedByItselfUnderRemoteControl() {
        QSettings().setValue(QStringLiteral("Preferences/remoteControl"), true);
        load({a_first});
        HostWindow::lose(*fWindow->openDocks().first());
        QVERIFY(fWindow->openDocks().isEmpty());
    }

    void aLossOnAnotherThreadIsHandledOnThisOne() {
        Installation::setScript({QStringLiteral("thread")});
        ModalAnswer user;
        load({a_first});
        QTRY_VERIFY(fWindow->openDocks().isEmpty());
        QCOMPARE(user.only().fText, a_closing);
        QCOMPARE(fInstallation->journal(), QStringList(a_pluginDeleted));
    }

    void onlyTheDockOfTheLostPluginCloses() {
        load({a_first, a_second});
        QClosableDockWidget* kept = fWindow->docks().first();
        ModalAnswer user;
        HostWindow::lose(*fWindow->docks().last());
        user.only();
        QCOMPARE(fWindow->openDocks(), QList<QClosableDockWidget*>{kept});
        QCOMPARE(fInstallation->journal(), QStringList(a_pluginDeleted));
    }

    // The second dock of one plugin object is recorded without the object.
    void aLossReportedByTheSecondDockOfAnObjectClosesTheFirst() {
        load({a_first, a_first});
        QClosableDockWidget* second = fWindow->docks().last();
        ModalAnswer user;
        HostWindow::lose(*second);
        QCOMPARE(user.only().fText, a_closing);
        QCOMPARE(fWindow->openDocks(), QList<QClosableDockWidget*>{second});
        QCOMPARE(fInstallation->journal(), QStringList(a_pluginDeleted));

        QVERIFY(second->close());
        QCOMPARE(fInstallation->journal(), QStringList(a_pluginDeleted));
        QVERIFY(fWindow->launcher().isVisible());
    }

    void closingTheSecondDockOfAnObjectKeepsTheObject() {
        load({a_first, a_first});
        QVERIFY(fWindow->docks().last()->close());
        QCOMPARE(fInstallation->journal(), QStringList());
        QCOMPARE(fWindow->openDocks().size(), 1);
    }

    // Two connections of one object are lost at the same moment: two nested dialogs for one plugin.
    void aSecondReportWhileTheDialogIsOpenIsHarmless() {
        load({a_first, a_first});
        ModalAnswer user({[this](QMessageBox& box) {
                              HostWindow::lose(*fWindow->docks().last());
                              ModalAnswer::press(QMessageBox::Ok)(box);
                          },
                          ModalAnswer::press(QMessageBox::Ok)});
        HostWindow::lose(*fWindow->docks().first());
        QCOMPARE(user.dialogs().size(), 2);
        QCOMPARE(user.dialogs().last().fText, a_closing);
        QCOMPARE(fInstallation->journal(), QStringList(a_pluginDeleted));
        QCOMPARE(fWindow->openDocks(), QList<QClosableDockWidget*>{fWindow->docks().last()});
    }

    void anotherPluginsLossWhileTheDialogIsOpenClosesBoth() {
        load({a_first, a_second});
        ModalAnswer user({[this](QMessageBox& box) {
                              HostWindow::lose(*fWindow->docks().first());
                              QCOMPARE(fWindow->openDocks().size(), 1);
                              ModalAnswer::press(QMessageBox::Ok)(box);
                          },
                          ModalAnswer::press(QMessageBox::Ok)});
        HostWindow::lose(*fWindow->docks().last());
        QCOMPARE(user.dialogs().size(), 2);
        QCOMPARE(fInstallation->journal(), (QStringList{a_pluginDeleted, a_pluginDeleted}));
        QVERIFY(fWindow->openDocks().isEmpty());
        QVERIFY(fWindow->launcher().isVisible());
    }

    void aDockClosedWhileTheDialogIsOpenIsNotClosedAgain() {
        load({a_first, a_second});
        ModalAnswer user({[this](QMessageBox& box) {
            QVERIFY(fWindow->docks().first()->close());
            ModalAnswer::press(QMessageBox::Ok)(box);
        }});
        HostWindow::lose(*fWindow->docks().first());
        user.only();
        QCOMPARE(fInstallation->journal(), QStringList(a_pluginDeleted));
        QCOMPARE(fWindow->openDocks(), QList<QClosableDockWidget*>{fWindow->docks().last()});
    }

    void aPluginLoadedAgainWhileTheDialogIsOpenStays() {
        load({a_first});
        ModalAnswer user({[this](QMessageBox& box) {
            QVERIFY(fWindow->docks().first()->close());
            fWindow->load(a_first);
            ModalAnswer::press(QMessageBox::Ok)(box);
        }});
        HostWindow::lose(*fWindow->docks().first());
        user.only();
        QCOMPARE(fWindow->openDocks(), QList<QClosableDockWidget*>{fWindow->docks().last()});
    }

    // ---- the window is destroyed

    void theWindowDeletesEachPluginBeforeItsDockFromTheLastToTheFirst() {
        load({a_first, a_second});
        const QList<QClosableDockWidget*> docks = fWindow->docks();
        QStringList order;
        connect(docks[0], &QObject::destroyed, this, [&] { order += a_first; });
        connect(docks[1], &QObject::destroyed, this, [&] { order += a_second; });
        const QSignalSpy launcherHidden(fWindow.get(), &MainWindow::backgroundInvisible);

        fWindow.reset();

        QCOMPARE(fInstallation->journal(),
                 (QStringList{a_pluginDeleted, a_widgetDeleted, a_pluginDeleted, a_widgetDeleted}));
        QCOMPARE(order, (QStringList{a_second, a_first}));
        QCOMPARE(launcherHidden.size(), 0);
    }

    void theWindowDeletesAnObjectOfTwoDocksOnceAndBeforeItsOwnDock() {
        load({a_first, a_first});
        fWindow.reset();
        QCOMPARE(fInstallation->journal(),
                 (QStringList{a_widgetDeleted, a_pluginDeleted, a_widgetDeleted}));
    }

    void docksClosedEarlierGoLast() {
        load({a_first, a_second});
        QVERIFY(fWindow->docks().first()->close());
        fInstallation->clearJournal();
        fWindow.reset();
        QCOMPARE(fInstallation->journal(),
                 (QStringList{a_pluginDeleted, a_widgetDeleted, a_widgetDeleted}));
    }

    void aLossReportedWhileTheWindowGoesReachesNobody() {
        load({QStringLiteral("noisy_end")});
        fWindow.reset();
        QCOMPARE(fInstallation->journal(), (QStringList{a_pluginDeleted, a_widgetDeleted}));
    }

    void aDockMayHaveLostItsWidget() {
        load({a_first});
        delete fWindow->docks().first()->widget();
        fWindow.reset();
        QCOMPARE(fInstallation->journal(), (QStringList{a_widgetDeleted, a_pluginDeleted}));
    }

    // ---- about

    void aboutHasFiveLines() {
        ModalAnswer user;
        fWindow->menuBar()->actions().last()->menu()->actions().first()->trigger();
        const SeenDialog seen = user.only();
        QCOMPARE(seen.fTitle, QStringLiteral("About Obvista"));
        QCOMPARE(seen.fText, QStringLiteral("Obvista\n"
                                            "\n"
                                            "Version 1.14\n"
                                            "\n"
                                            "Website : www.quorvane.com\n"));
        QCOMPARE(seen.fText.count(QLatin1Char('\n')), 5);
        QCOMPARE(seen.fParent, fWindow.get());
        QCOMPARE(seen.fButtons, QMessageBox::StandardButtons(QMessageBox::Ok));
    }

  private:
    /** Loads plugins on request, and starts a new journal. */
    void load(const QStringList& plugins) {
        for (const QString& plugin : plugins) {
            fWindow->load(plugin);
        }
        QCOMPARE(fWindow->openDocks().size(), plugins.size());
        QVERIFY(!fWindow->launcher().isVisible());
        fInstallation->clearJournal();
    }

    std::unique_ptr<Installation> fInstallation;
    std::unique_ptr<HostWindow> fWindow;
};

OBVISTA_QTEST_MAIN(ClosingTest)

#include "closing_test.moc"

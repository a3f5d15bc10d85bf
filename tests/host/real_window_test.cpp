#include "installation.h"
#include "program.h"
#include "qt_test_main.h"

#include <QScreen>
#include <QtTest>

#include <memory>

using obvista_test::Installation;
using obvista_test::Program;

namespace {

const QString a_mainWindow = QStringLiteral("Obvista Desktop");
const QString a_noDiscoveryDialog = QStringLiteral("Cannot listen to Bonjour Network");
const QString a_lostDialog = QStringLiteral("Robaxi has been disconnected");
const QString a_pluginDeleted = QStringLiteral("plugin deleted");
const QPoint a_inMemoryZone(350, 187);
const QPoint a_outside(20, 60);

QString xdotool(const QStringList& arguments) {
    QProcess tool;
    tool.start(QStringLiteral("xdotool"), arguments);
    tool.waitForFinished();
    return QString::fromLatin1(tool.readAllStandardOutput()).trimmed();
}

}  // namespace

/** The real program in front of an X server, with a mouse and a keyboard. */
class RealWindowTest : public QObject {
    Q_OBJECT
  private Q_SLOTS:
    void init() {
        fInstallation = std::make_unique<Installation>();
        fInstallation->addPlugin(QStringLiteral("viewer"), QStringLiteral("libmemoryviewer.so"));
    }

    void cleanup() {
        fProgram.reset();
        fInstallation.reset();
    }

    void opensWithTheLauncherAndEndsWithItsWindow() {
        // Qt sometimes asks for the place of a window that the window manager has just destroyed.
        qputenv("QT_LOGGING_RULES", "qt.qpa.xcb.warning=false");
        // Connection options without a plugin are accepted and ignored.
        start({QStringLiteral("--ip"), QStringLiteral("192.0.2.7"), QStringLiteral("--port"),
               QStringLiteral("1"), QStringLiteral("--force-port"), QStringLiteral("2")});
        qunsetenv("QT_LOGGING_RULES");
        QTRY_COMPARE(colourAt(a_outside), Installation::a_plainColour);
        key(QStringLiteral("alt+F4"));
        endsWithStatusZero();
        QCOMPARE(fProgram->standardOutput(), QString());
        QCOMPARE(fProgram->standardError(), QString());
    }

    void speaksTheUsersLanguage_data() {
        QTest::addColumn<QString>("title");
        const QString german =
            QStringLiteral("Ankündigungen im Bonjour-Netz können nicht empfangen werden");
        const QString french =
            QStringLiteral("Impossible de recevoir les annonces du réseau Bonjour");
        QTest::newRow("de") << german;
        QTest::newRow("de_AT.UTF-8") << german;
        // There is no catalogue of the first one's texts.
        QTest::newRow("eo:fr:de") << french;
        // Texts are English without a catalogue.
        QTest::newRow("en_GB:de") << a_noDiscoveryDialog;
        QTest::newRow("eo") << a_noDiscoveryDialog;
        QTest::newRow("C") << a_noDiscoveryDialog;
    }

    void speaksTheUsersLanguage() {
        QFETCH(QString, title);
        fInstallation->addTranslations();
        const QByteArray before = qgetenv("LANGUAGE");
        qputenv("LANGUAGE", QTest::currentDataTag());
        fProgram = std::make_unique<Program>(*fInstallation, QStringList());
        qputenv("LANGUAGE", before);
        answer(title);
    }

    void followsTheMouse() {
        start({});
        moveTo(a_inMemoryZone);
        QTRY_COMPARE(colourAt(a_outside), Installation::a_memoryColour);
        moveTo(a_outside);
        QTRY_COMPARE(colourAt(a_outside), Installation::a_plainColour);
        // This zone's plugin is not installed.
        moveTo(QPoint(350, 220));
        QTRY_COMPARE(colourAt(a_outside), Installation::a_visionColour);
        click();
        moveTo(a_outside);
        QTRY_COMPARE(colourAt(a_outside), Installation::a_plainColour);
        QVERIFY(fProgram->isRunning());
    }

    void asksForARobotWhenAZoneIsClicked() {
        start({});
        moveTo(a_inMemoryZone);
        click();
        const QString browser = QStringLiteral("Browse robots");
        QTRY_VERIFY(find(browser) != 0);
        QTRY_COMPARE(activeWindow(), find(browser));
        // gRPC is loaded for the first connection, not before.
        QVERIFY(mappings().contains("/librobaxi.so"));
        QVERIFY(!mappings().contains("/libgrpc"));
        key(QStringLiteral("Escape"));
        QTRY_COMPARE(activeWindow(), fWindow);
        QCOMPARE(fInstallation->journal(), QStringList());
        key(QStringLiteral("alt+F4"));
        endsWithStatusZero();
    }

    void showsTheAboutBox() {
        start({});
        key(QStringLiteral("alt+h"));
        key(QStringLiteral("Down"));
        key(QStringLiteral("Return"));
        answer(QStringLiteral("About Obvista"));
        QTRY_COMPARE(activeWindow(), fWindow);
        key(QStringLiteral("alt+F4"));
        endsWithStatusZero();
    }

    void comesBackToTheLauncherWhenTheRobotIsLost() {
        start({QStringLiteral("--plugin"), QStringLiteral("memoryviewer")});
        moveTo(QPoint(200, 200));
        click();
        QTRY_VERIFY(find(a_lostDialog) != 0);
        QVERIFY(!fInstallation->journal().contains(a_pluginDeleted));
        answer(a_lostDialog);
        QTRY_VERIFY(fInstallation->journal().contains(a_pluginDeleted));
        QTRY_COMPARE(picture().size(), Installation::a_pictureSize);
        QTRY_COMPARE(colourAt(a_outside), Installation::a_plainColour);
        key(QStringLiteral("alt+F4"));
        endsWithStatusZero();
    }

    void endsWhenAStrangerIsLost() {
        start({QStringLiteral("--plugin"), QStringLiteral("memoryviewer")});
        moveTo(QPoint(200, 200));
        click(QStringLiteral("3"));
        answer(a_lostDialog);
        endsWithStatusZero();
        const QString dialog = QStringLiteral(
            "dialog \"Robaxi has been disconnected\": Obvista will exit now. You have to restart "
            "it and connect again.");
        QVERIFY2(fInstallation->journal().contains(dialog),
                 qPrintable(fInstallation->journal().join(QLatin1Char('\n'))));
    }

    void endsWhenAPluginThatWasClosedIsLost() {
        Installation::setScript({QStringLiteral("late")});
        start({QStringLiteral("--plugin"), QStringLiteral("memoryviewer")});
        clickTheDocksCross();
        QTRY_VERIFY(find(a_lostDialog) != 0);
        QVERIFY(fInstallation->journal().contains(a_pluginDeleted));
        QTRY_COMPARE(picture().size(), Installation::a_pictureSize);
        answer(a_lostDialog);
        endsWithStatusZero();
    }

    void closesADockWithTheMouse() {
        start({QStringLiteral("--plugin"), QStringLiteral("memoryviewer")});
        clickTheDocksCross();
        QTRY_VERIFY(fInstallation->journal().contains(a_pluginDeleted));
        QTRY_COMPARE(picture().size(), Installation::a_pictureSize);
        QTRY_COMPARE(colourAt(a_outside), Installation::a_plainColour);
        QVERIFY(fProgram->isRunning());
    }

  private:
    /** Starts the program and dismisses the message that discovery has no bus. */
    void start(const QStringList& arguments) {
        fProgram = std::make_unique<Program>(*fInstallation, arguments);
        QTRY_VERIFY_WITH_TIMEOUT((fWindow = find(a_mainWindow)) != 0, 30000);
        answer(a_noDiscoveryDialog);
        QTRY_COMPARE(activeWindow(), fWindow);
        fMenuHeight = 0;
        if (fInstallation->journal().isEmpty()) {
            fMenuHeight = picture().height() - Installation::a_pictureSize.height();
        }
    }

    /** Waits for a dialog and presses its default button. */
    void answer(const QString& title) {
        QTRY_VERIFY_WITH_TIMEOUT(find(title) != 0, 30000);
        QTRY_COMPARE(activeWindow(), find(title));
        key(QStringLiteral("Return"));
    }

    static WId activeWindow() { return xdotool({QStringLiteral("getactivewindow")}).toULongLong(); }

    /** Returns the program's visible window with that title; 0 if there is none. */
    WId find(const QString& title) const {
        return xdotool({QStringLiteral("search"), QStringLiteral("--onlyvisible"),
                        QStringLiteral("--all"), QStringLiteral("--pid"),
                        QString::number(fProgram->pid()), QStringLiteral("--name"),
                        QStringLiteral("^%1$").arg(title)})
            .toULongLong();
    }

    /** The files that the program has mapped, as /proc lists them. */
    QByteArray mappings() const {
        QFile file(QStringLiteral("/proc/%1/maps").arg(fProgram->pid()));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    QImage picture() const {
        return QGuiApplication::primaryScreen()->grabWindow(fWindow).toImage();
    }

    QColor colourAt(const QPoint& position) const { return picture().pixelColor(position); }

    /** Moves the mouse to a position of the launcher, or of the window when a plugin is docked. */
    void moveTo(const QPoint& position) const {
        xdotool({QStringLiteral("mousemove"), QStringLiteral("--window"), QString::number(fWindow),
                 QString::number(position.x()), QString::number(position.y() + fMenuHeight)});
    }

    static void click(const QString& button = QStringLiteral("1")) {
        xdotool({QStringLiteral("click"), button});
    }
    static void key(const QString& name) { xdotool({QStringLiteral("key"), name}); }

    void clickTheDocksCross() {
        moveTo(QPoint(picture().width() - 10, 36));
        click();
    }

    void endsWithStatusZero() {
        QVERIFY(fProgram->finish());
        QCOMPARE(fProgram->status(), 0);
    }

    std::unique_ptr<Installation> fInstallation;
    std::unique_ptr<Program> fProgram;
    WId fWindow = 0;
    int fMenuHeight = 0;
};

OBVISTA_QTEST_MAIN(RealWindowTest)

#include "real_window_test.moc"

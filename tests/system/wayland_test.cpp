// The program on a Wayland desktop, as its compositor lists and draws it.
#include <QImage>
#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>
#include <qt_test_main.h>

#include <child_process.h>
#include <project_files.h>
#include <robot_process.h>
#include <string>

using obvista_test::builtFile;
using obvista_test::ChildProcess;
using obvista_test::RobotProcess;

namespace {

constexpr int a_patience = 60000;  // ms
/** Title and desktop file, to which shells attach the icon and the menu entry. */
const QString a_mainWindow = QStringLiteral("'Obvista Desktop' of com.quorvane.obvista");

/** Runs a program of the compositor in a folder; returns its output. */
QString run(const QString& program, const QStringList& arguments, const QString& folder) {
    QProcess process;
    process.setWorkingDirectory(folder);
    process.start(program, arguments);
    process.waitForFinished();
    return QString::fromUtf8(process.readAllStandardOutput());
}

/** Returns the compositor's description of its windows. */
QString windows() {
    return run(QStringLiteral("weston-debug"), {QStringLiteral("scene-graph")}, QString());
}

/** Returns what the program has written to standard error, except that OpenGL is switched off. */
QString errorsOf(const ChildProcess& program) {
    return QString::fromStdString(program.errors())
        .remove(QStringLiteral("qt.qpa.wayland: EGL not available\n"));
}

QImage screenshot() {
    const QTemporaryDir folder;
    run(QStringLiteral("weston-screenshooter"), {}, folder.path());
    const QStringList files = QDir(folder.path()).entryList(QDir::Files);
    return files.isEmpty()
               ? QImage()
               : QImage(folder.filePath(files.first())).convertToFormat(QImage::Format_RGB32);
}

bool isAt(const QImage& screen, const QPoint& place, const QImage& picture) {
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            if (screen.pixel(place.x() + x, place.y() + y) != picture.pixel(x, y)) {
                return false;
            }
        }
    }
    return true;
}

/** Returns true if the picture is somewhere on the screen, pixel for pixel. */
bool shows(const QImage& screen, const QImage& picture) {
    for (int y = 0; y <= screen.height() - picture.height(); ++y) {
        for (int x = 0; x <= screen.width() - picture.width(); ++x) {
            if (isAt(screen, {x, y}, picture)) {
                return true;
            }
        }
    }
    return false;
}

}  // namespace

class WaylandTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    static void initTestCase();
    void drawsTheLauncherInTheScreensResolution();
    void opensViewers_data();
    void opensViewers();
};

void WaylandTest::initTestCase() {
    // Suppresses discovery's message that there is no Avahi daemon.
    QSettings(QStringLiteral("Quorvane Robotics"), QStringLiteral("Obvista Desktop"))
        .setValue(QStringLiteral("Preferences/remoteControl"), true);
}

void WaylandTest::drawsTheLauncherInTheScreensResolution() {
    const bool isFine = qEnvironmentVariableIntValue("OBVISTA_SCREEN_SCALE") == 2;
    const std::string name = isFine ? "interface@2x.png" : "interface.png";
    const QImage picture =
        QImage(QString::fromStdString(builtFile("share/obvista/background/" + name)))
            .convertToFormat(QImage::Format_RGB32);
    QVERIFY(!picture.isNull());
    const ChildProcess obvista({builtFile("bin/obvista")});
    QTRY_VERIFY_WITH_TIMEOUT(windows().contains(a_mainWindow), a_patience);
    QTRY_VERIFY_WITH_TIMEOUT(shows(screenshot(), picture), a_patience);
    QCOMPARE(errorsOf(obvista), QString());
}

void WaylandTest::opensViewers_data() {
    QTest::addColumn<QString>("plugin");
    QTest::newRow("memory viewer") << QStringLiteral("memoryviewer");
    QTest::newRow("camera viewer") << QStringLiteral("cameraviewer");
}

void WaylandTest::opensViewers() {
    QFETCH(QString, plugin);
    const RobotProcess robot;
    const ChildProcess obvista({builtFile("bin/obvista"), "--plugin", plugin.toStdString(), "--ip",
                                RobotProcess::address(), "--port", std::to_string(robot.port())});
    QTRY_VERIFY_WITH_TIMEOUT(windows().contains(a_mainWindow), a_patience);
    QCOMPARE(errorsOf(obvista), QString());
}

OBVISTA_QTEST_MAIN(WaylandTest)
#include "wayland_test.moc"

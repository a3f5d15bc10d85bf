#include "camera_driver.h"

#include <QSettings>
#include <QtTest>
#include <qt_test_main.h>

#include <lab_robot.h>
#include <shown_ages.h>

using namespace obvista_test;

namespace {

constexpr char a_host[] = "robot";
constexpr char a_address[] = "10.77.61.1";
constexpr int a_port = 9559;
/** Milliseconds: sufficient for a machine that is busy with other tests. */
constexpr int a_patience = 60000;
/** In four seconds. */
constexpr std::size_t a_leastFrames = 20;

}  // namespace

/** Tests the viewer with a robot behind a slow link. */
class NetworkTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void showsYoungFramesAtAnAutomaticBandwidth();
};

/** At 1 Mbit/s the room does not fit in its best quality, at 4 Mbit/s it does. */
void NetworkTest::showsYoungFramesAtAnAutomaticBandwidth() {
    QSettings().clear();
    lab::addRobot(a_host, a_address, a_port, {"--stamp"});
    lab::control({"link", a_host, "--rate", "1mbit", "--delay", "20ms"});
    CameraDriver driver;
    QWidget* const viewer = driver.show(a_port, a_address);
    QTRY_VERIFY_WITH_TIMEOUT(choose(viewer, "sizeBox", QStringLiteral("1280 \u00D7 720")),
                             a_patience);
    QVERIFY(choose(viewer, "formatBox", QStringLiteral("H.264")));
    QTRY_VERIFY_WITH_TIMEOUT(choose(viewer, "bitRateBox", QStringLiteral("8 Mbit/s")), a_patience);
    ShownAges ages(viewer, std::chrono::seconds(4), a_leastFrames);
    QTRY_VERIFY_WITH_TIMEOUT(ages.ofPart(0.5) > 150, a_patience);

    QVERIFY(choose(viewer, "bitRateBox", QStringLiteral("Automatic")));
    for (const char* const rate : {"1mbit", "4mbit"}) {
        lab::control({"link", a_host, "--rate", rate, "--delay", "20ms"});
        ages.clear();
        const auto isYoung = [&] {
            const double age = ages.ofPart(0.9);
            return age >= 0 && age < 150;
        };
        QTRY_VERIFY2_WITH_TIMEOUT(isYoung(), qPrintable(QString::number(ages.ofPart(0.9))),
                                  a_patience);
        qInfo("%s: median %.0f ms, 90th percentile %.0f ms; %s", rate, ages.ofPart(0.5),
              ages.ofPart(0.9), qPrintable(statusOf(viewer)));
    }
}

OBVISTA_QTEST_MAIN(NetworkTest)
#include "network_test.moc"

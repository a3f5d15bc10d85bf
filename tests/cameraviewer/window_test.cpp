#include "camera_driver.h"

#include <robaxi/kv_broker.h>
#include <robaxi/kv_proxy.h>

#include <QAction>
#include <QComboBox>
#include <QDir>
#include <QImage>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QWindow>
#include <QtTest>
#include <qt_test_main.h>

#include <algorithm>
#include <chrono>
#include <limits>
#include <matroska_reading.h>
#include <memory>
#include <robot_process.h>

using namespace obvista_test;

namespace {

/** Milliseconds: sufficient for a machine that is busy with other tests. */
constexpr int a_patience = 90000;

/** A robot whose pictures contain number and time. */
const RobotProcess::Settings a_stampingRobot{{"--stamp"}};

std::int64_t nowInMicroseconds() {
    using std::chrono::duration_cast;
    return duration_cast<std::chrono::microseconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

}  // namespace

/** Tests the viewer in a real window with a real robot. */
class WindowTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init();
    void cleanup();

    void showsEveryFormatAndResolution_data();
    void showsEveryFormatAndResolution();
    void showsH264AtTheChosenBandwidth();
    void followsTheNetworkIfTheUserWants();
    void showsFramesThatAreYoung();
    void countsWhatIsTrue();
    void saysWhenTheRobotFallsSilentAndGoesOn();
    void reportsARobotThatIsKilled();
    void showsARobotThatWasStartedAgain();
    void stopsWhileItIsMinimised();
    void showsTwoCamerasOfTwoRobots();
    void recordsWhatThePicturesSay();
    void keepsItsMemory();

  private:
    std::optional<FrameStamp> xStampAfter(QWidget* viewer, std::uint32_t number);

    std::unique_ptr<QTemporaryDir> fFolder;
    std::unique_ptr<RobotProcess> fRobot;
    std::unique_ptr<CameraDriver> fDriver;
    QWidget* fViewer = nullptr;
};

void WindowTest::init() {
    QSettings().clear();
    fFolder = std::make_unique<QTemporaryDir>();
    QSettings().setValue(QStringLiteral("CameraViewer/folder"), fFolder->path());
    fRobot = std::make_unique<RobotProcess>(a_stampingRobot);
    fDriver = std::make_unique<CameraDriver>();
    QVERIFY(waitForActive(&fDriver->window()));
    fViewer = fDriver->show(fRobot->port());
    QTRY_VERIFY(shownStamp(fViewer).has_value());
}

void WindowTest::cleanup() {
    fDriver.reset();
    fRobot.reset();
    fFolder.reset();
}

/** Waits for a picture with a higher number and returns its stamp. */
std::optional<FrameStamp> WindowTest::xStampAfter(QWidget* viewer, std::uint32_t number) {
    std::optional<FrameStamp> stamp;
    const bool isShown = waitFor([&] {
        stamp = shownStamp(viewer);
        return stamp && stamp->fNumber > number;
    });
    return isShown ? stamp : std::nullopt;
}

void WindowTest::showsEveryFormatAndResolution_data() {
    QTest::addColumn<QString>("size");
    QTest::addColumn<QString>("format");
    for (const char* size : {"160 × 120", "320 × 240", "640 × 480", "1280 × 720"}) {
        for (const char* format : {"RGB", "YUV 4:2:2", "Grey", "JPEG"}) {
            QTest::addRow("%s %s", size, format)
                << QString::fromUtf8(size) << QString::fromLatin1(format);
        }
    }
}

void WindowTest::showsEveryFormatAndResolution() {
    QFETCH(QString, size);
    QFETCH(QString, format);
    QVERIFY(choose(fViewer, "cameraBox", QStringLiteral("head")));
    QVERIFY(choose(fViewer, "sizeBox", size));
    QVERIFY(choose(fViewer, "formatBox", format));
    QTRY_VERIFY2(readoutOf(fViewer).startsWith(size + QLatin1Char(' ') + format),
                 qPrintable(readoutOf(fViewer)));
    const std::optional<FrameStamp> stamp = xStampAfter(fViewer, 0);
    QVERIFY(stamp.has_value());
    QVERIFY(xStampAfter(fViewer, stamp->fNumber).has_value());
    QTRY_COMPARE(noticeOf(fViewer), QString());
}

void WindowTest::showsH264AtTheChosenBandwidth() {
    QComboBox* const bandwidth = boxOf(fViewer, "bitRateBox");
    QVERIFY(!bandwidth->isVisible());
    QVERIFY(choose(fViewer, "formatBox", QStringLiteral("H.264")));
    QTRY_VERIFY2(readoutOf(fViewer).startsWith(QStringLiteral("640 × 480 H.264")),
                 qPrintable(readoutOf(fViewer)));
    QVERIFY(bandwidth->isVisible());
    for (const char* const text : {"0.5 Mbit/s", "4 Mbit/s"}) {
        QVERIFY(choose(fViewer, "bitRateBox", QLatin1String(text)));
        const std::optional<FrameStamp> stamp = xStampAfter(fViewer, 0);
        QVERIFY(stamp.has_value());
        QVERIFY(xStampAfter(fViewer, stamp->fNumber + 5).has_value());
        QCOMPARE(bandwidth->currentText(), QLatin1String(text));
        QCOMPARE(noticeOf(fViewer), QString());
    }
    QVERIFY(choose(fViewer, "formatBox", QStringLiteral("JPEG")));
    QTRY_VERIFY(!bandwidth->isVisible());
}

void WindowTest::followsTheNetworkIfTheUserWants() {
    const auto broker = KVBroker::createBroker({"Watcher"});
    KVProxy video("KVVideo", "127.0.0.1", fRobot->port(), broker, 10, 0);
    const auto bitRate = [&] {
        return video.callValue("getSettings", {KVValue("head")}).toMap().at("bitRate").toInt();
    };
    QVERIFY(choose(fViewer, "formatBox", QStringLiteral("H.264")));
    QVERIFY(choose(fViewer, "bitRateBox", QStringLiteral("0.25 Mbit/s")));
    QTRY_COMPARE(bitRate(), 250'000);
    QVERIFY(choose(fViewer, "bitRateBox", QStringLiteral("Automatic")));
    QTRY_VERIFY_WITH_TIMEOUT(bitRate() > 250'000, a_patience);
    QCOMPARE(boxOf(fViewer, "bitRateBox")->currentText(), QStringLiteral("Automatic"));

    delete fViewer;
    fViewer = fDriver->show(fRobot->port());
    QTRY_COMPARE(boxOf(fViewer, "bitRateBox")->currentText(), QStringLiteral("Automatic"));
    // The user's choice is restored, and the control continues from there.
    QTRY_VERIFY_WITH_TIMEOUT(bitRate() > 250'000, a_patience);
    QVERIFY(choose(fViewer, "bitRateBox", QStringLiteral("4 Mbit/s")));
    QTRY_COMPARE(bitRate(), 4'000'000);
    QCOMPARE(boxOf(fViewer, "bitRateBox")->currentText(), QStringLiteral("4 Mbit/s"));
    const std::optional<FrameStamp> stamp = xStampAfter(fViewer, 0);
    QVERIFY(stamp.has_value());
    QVERIFY(xStampAfter(fViewer, stamp->fNumber + 30).has_value());
    QCOMPARE(bitRate(), 4'000'000);
}

void WindowTest::showsFramesThatAreYoung() {
    QVERIFY(choose(fViewer, "formatBox", QStringLiteral("JPEG")));
    QSignalSpy shown(pictureOf(fViewer), SIGNAL(pictureShown(quint64, qint64)));
    QTRY_VERIFY(shown.size() > 3);
    // The youngest of several, since a busy machine delays some.
    std::int64_t youngest = std::numeric_limits<std::int64_t>::max();
    for (int i = 0; i < 5; ++i) {
        const int before = shown.size();
        QTRY_VERIFY(shown.size() > before);
        const std::optional<FrameStamp> stamp = shownStamp(fViewer);
        const std::int64_t now = nowInMicroseconds();
        QVERIFY(stamp.has_value());
        QVERIFY(stamp->fTime <= now);
        youngest = std::min(youngest, now - stamp->fTime);
        // The signal reports the frame that can be read from the screen.
        QCOMPARE(quint32(shown.last().at(0).toULongLong()), stamp->fNumber);
        QCOMPARE(shown.last().at(1).toLongLong(), qint64(stamp->fTime));
    }
    QVERIFY2(youngest < 500'000, qPrintable(QString::number(youngest)));
}

void WindowTest::countsWhatIsTrue() {
    QVERIFY(choose(fViewer, "rateBox", QStringLiteral("10 a second")));
    const auto figure = [this](const char* name) { return figureOf(fViewer, QLatin1String(name)); };
    // Every frame of the camera is either shown or dropped, even on a busy machine.
    const auto addsUp = [&] {
        return figure("received") > 0 && figure("shown") > 0 && figure("dropped a second") >= 0 &&
               std::abs(figure("shown") + figure("dropped a second") - 10) <= 1.5;
    };
    QTRY_VERIFY2_WITH_TIMEOUT(addsUp(), qPrintable(statusOf(fViewer)), a_patience);
}

void WindowTest::saysWhenTheRobotFallsSilentAndGoesOn() {
    fRobot->suspend();
    QTRY_VERIFY_WITH_TIMEOUT(noticeOf(fViewer).startsWith(QLatin1String("No answer for")),
                             a_patience);
    fRobot->resume();
    QTRY_COMPARE(noticeOf(fViewer), QString());
    const std::optional<FrameStamp> stamp = shownStamp(fViewer);
    QVERIFY(stamp.has_value());
    QVERIFY(xStampAfter(fViewer, stamp->fNumber).has_value());
}

void WindowTest::reportsARobotThatIsKilled() {
    QSignalSpy lost(fViewer, SIGNAL(disconnected(WidgetInterface*)));
    fRobot->kill();
    QTRY_COMPARE_WITH_TIMEOUT(lost.size(), 1, a_patience);
    QCOMPARE(noticeOf(fViewer), QStringLiteral("The robot is lost. This is the last picture."));
    QVERIFY(!boxOf(fViewer, "cameraBox")->isEnabled());
}

void WindowTest::showsARobotThatWasStartedAgain() {
    QVERIFY(choose(fViewer, "formatBox", QStringLiteral("Grey")));
    QTRY_VERIFY(readoutOf(fViewer).contains(QLatin1String("Grey")));
    RobotProcess::Settings samePort = a_stampingRobot;
    samePort.fPort = fRobot->port();
    fRobot->kill();
    QTRY_VERIFY(noticeOf(fViewer).startsWith(QLatin1String("The robot is lost.")));
    fRobot = std::make_unique<RobotProcess>(samePort);
    QWidget* again = fDriver->show(fRobot->port());
    QTRY_VERIFY(xStampAfter(again, 0).has_value());
    // The restarted robot has lost its settings, and the viewer sets them again.
    QTRY_VERIFY(readoutOf(again).contains(QLatin1String("Grey")));
}

void WindowTest::stopsWhileItIsMinimised() {
    QSignalSpy shown(pictureOf(fViewer), SIGNAL(pictureShown(quint64, qint64)));
    fDriver->window().showMinimized();
    QTRY_VERIFY(!fDriver->window().windowHandle()->isExposed());
    QTRY_COMPARE(figureOf(fViewer, QStringLiteral("received")), 0.0);
    const int before = shown.size();
    {
        // A viewer with its own window shows that the camera sends further frames.
        const std::unique_ptr<QWidget> other(fDriver->createWidget(fRobot->port()));
        other->setParent(nullptr);
        other->show();
        const std::optional<FrameStamp> stamp = xStampAfter(other.get(), 0);
        QVERIFY(stamp.has_value());
        QVERIFY(xStampAfter(other.get(), stamp->fNumber + 5).has_value());
    }
    QCOMPARE(shown.size(), before);
    fDriver->window().showNormal();
    QTRY_VERIFY(shown.size() > before + 3);
    QVERIFY(figureOf(fViewer, QStringLiteral("received")) >= 0);
}

void WindowTest::showsTwoCamerasOfTwoRobots() {
    RobotProcess other(a_stampingRobot);
    QWidget* second = fDriver->show(other.port());
    QTRY_VERIFY(boxOf(second, "cameraBox")->isEnabled());
    QVERIFY(choose(second, "cameraBox", QStringLiteral("chest")));
    QVERIFY(choose(fViewer, "cameraBox", QStringLiteral("head")));
    for (QWidget* viewer : {fViewer, second}) {
        QTRY_VERIFY_WITH_TIMEOUT(shownStamp(viewer).has_value(), a_patience);
        const std::uint32_t number = shownStamp(viewer)->fNumber;
        QVERIFY(xStampAfter(viewer, number).has_value());
    }
    other.kill();
    QTRY_VERIFY(noticeOf(second).startsWith(QLatin1String("The robot is lost.")));
    QVERIFY(xStampAfter(fViewer, shownStamp(fViewer)->fNumber).has_value());
}

void WindowTest::recordsWhatThePicturesSay() {
    QVERIFY(choose(fViewer, "formatBox", QStringLiteral("JPEG")));
    QTRY_VERIFY(readoutOf(fViewer).contains(QLatin1String("JPEG")));
    actionOf(fViewer, "mkvFormatAction")->trigger();
    actionOf(fViewer, "recordAction")->trigger();
    const std::uint32_t first = shownStamp(fViewer)->fNumber;
    QVERIFY(xStampAfter(fViewer, first + 20).has_value());
    actionOf(fViewer, "recordAction")->trigger();
    QTRY_VERIFY2(toldOf(fViewer).startsWith(QLatin1String("Recorded ")),
                 qPrintable(toldOf(fViewer)));
    const QStringList files = QDir(fFolder->path()).entryList({QStringLiteral("*.mkv")});
    QCOMPARE(files.size(), 1);
    const MatroskaContent content = readMatroska(fFolder->filePath(files.first()));
    QCOMPARE(content.fError, std::string());
    QVERIFY(content.fPictures.size() >= 3);
    std::uint32_t before = first - 1;
    for (const MatroskaContent::Picture& picture : content.fPictures) {
        const QImage image =
            QImage::fromData(picture.fJpeg.data(), static_cast<int>(picture.fJpeg.size()));
        const auto luma = [&](int x, int y) { return qGray(image.pixel(x, y)); };
        const std::optional<FrameStamp> stamp = readFrameStamp(luma, 0, 0, image.width());
        QVERIFY(stamp.has_value());
        QVERIFY(stamp->fNumber > before);
        before = stamp->fNumber;
    }
}

void WindowTest::keepsItsMemory() {
    if (!qEnvironmentVariableIsEmpty("OBVISTA_SANITIZE")) {
        QSKIP("A sanitizer keeps memory that was given back.");
    }
    const auto residentPages = [] {
        QFile file(QStringLiteral("/proc/self/statm"));
        return file.open(QIODevice::ReadOnly) ? file.readAll().split(' ').value(1).toLongLong() : 0;
    };
    QVERIFY(choose(fViewer, "sizeBox", QString::fromUtf8("640 × 480")));
    QVERIFY(choose(fViewer, "formatBox", QStringLiteral("RGB")));
    QSignalSpy shown(pictureOf(fViewer), SIGNAL(pictureShown(quint64, qint64)));
    const auto afterFrames = [&](int count) {
        shown.clear();
        return QTest::qWaitFor([&] { return shown.size() >= count; }, a_patience);
    };
    QVERIFY(afterFrames(60));
    const qint64 before = residentPages();
    QVERIFY(afterFrames(200));
    // Each has nearly a megabyte; a leak of a thirtieth would be detected.
    const qint64 grown = (residentPages() - before) * 4096;
    QVERIFY2(grown < 8'000'000, qPrintable(QString::number(grown)));
}

OBVISTA_QTEST_MAIN(WindowTest)
#include "window_test.moc"

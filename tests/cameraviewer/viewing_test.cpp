#include "camera_driver.h"
#include "video_robot.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QAction>
#include <QClipboard>
#include <QComboBox>
#include <QDir>
#include <QDockWidget>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QLabel>
#include <QLocale>
#include <QRegularExpression>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QToolButton>
#include <QTranslator>
#include <QtTest>
#include <qt_test_main.h>

#include <algorithm>
#include <chrono>
#include <codec/h264_encoder.h>
#include <eventually.h>
#include <grey_film.h>
#include <limits>
#include <memory>
#include <optional>
#include <recording/reader.h>
#include <timers.h>
#include <utility>
#include <vector>

using namespace obvista_test;

namespace {

constexpr qint64 a_oneSecond = 1000;
constexpr qint64 a_twoSeconds = 2000;

/** Measures the longest event-loop stall. */
class Stalls : public QObject {
  public:
    Stalls() {
        fSince.start();
        startTimer(5);
    }
    qint64 longest() const { return fLongest; }

  protected:
    void timerEvent(QTimerEvent*) override { fLongest = std::max(fLongest, fSince.restart()); }

  private:
    QElapsedTimer fSince;
    qint64 fLongest = 0;
};

/** A language whose words are the English ones in capitals, while it exists. */
class Capitals : public QTranslator {
  public:
    Capitals() { QCoreApplication::installTranslator(this); }
    QString translate(const char* /*context*/, const char* text, const char* /*comment*/,
                      int /*count*/) const override {
        return QString::fromUtf8(text).toUpper();
    }
};

/** Sets the colours of a dark desktop while it exists. */
class DarkPalette {
  public:
    DarkPalette() : fBefore(QApplication::palette()) {
        QPalette dark(QColor(53, 53, 53), QColor(35, 35, 35));
        dark.setColor(QPalette::ToolTipBase, QColor(20, 20, 20));
        dark.setColor(QPalette::ToolTipText, Qt::white);
        QApplication::setPalette(dark);
    }
    ~DarkPalette() { QApplication::setPalette(fBefore); }
    DarkPalette(const DarkPalette&) = delete;
    DarkPalette& operator=(const DarkPalette&) = delete;

  private:
    QPalette fBefore;
};

/**
 * Returns the visible labels whose text does not fit, and other controls that are smaller than
 * their size hint.
 */
QStringList cutParts(const QWidget& viewer) {
    QStringList cut;
    for (const QLabel* label : viewer.findChildren<QLabel*>()) {
        const QRect inside = label->contentsRect().adjusted(label->margin(), label->margin(),
                                                            -label->margin(), -label->margin());
        const int flags = label->wordWrap() ? int(Qt::TextWordWrap) : 0;
        const QRect needed = label->fontMetrics().boundingRect(
            QRect(0, 0, inside.width(), QWIDGETSIZE_MAX), flags, label->text());
        if (label->isVisible() &&
            !QRect(QPoint(), inside.size()).contains(QRect(QPoint(), needed.size()))) {
            cut += label->objectName();
        }
    }
    for (const QWidget* part : viewer.findChildren<QWidget*>()) {
        const bool isControl = qobject_cast<const QComboBox*>(part) != nullptr ||
                               qobject_cast<const QAbstractButton*>(part) != nullptr;
        if (isControl && part->isVisible() && part->width() < part->sizeHint().width()) {
            cut += part->objectName();
        }
    }
    return cut;
}

/** Returns the number that a pattern finds in a text; -1 if it finds none. */
int secondsIn(const QString& text, const char* pattern) {
    const QRegularExpressionMatch match =
        QRegularExpression(QString::fromUtf8(pattern)).match(text);
    return match.hasMatch() ? match.captured(1).toInt() : -1;
}

/** Returns the numbers of the frames in a recording. */
std::vector<std::uint32_t> framesIn(const QString& file) {
    std::vector<std::uint32_t> numbers;
    recording::Reader reader(file.toStdString());
    recording::Messages messages = reader.messages();
    while (const std::optional<recording::Message> message = messages.next()) {
        const std::string& topic = reader.channels().at(message->fChannelId).fTopic;
        if (topic.find("/camera/") != std::string::npos) {
            numbers.push_back(message->fSequence);
        }
    }
    return numbers;
}

/** Returns the difference between the darkest and the brightest pixel of a widget, of 255. */
int contrastOf(QWidget& widget) {
    const QImage shot = widget.grab().toImage().convertToFormat(QImage::Format_Grayscale8);
    int darkest = 255;
    int brightest = 0;
    for (int y = 0; y < shot.height(); ++y) {
        const uchar* line = shot.constScanLine(y);
        const auto [low, high] = std::minmax_element(line, line + shot.width());
        darkest = std::min<int>(darkest, *low);
        brightest = std::max<int>(brightest, *high);
    }
    return brightest - darkest;
}

}  // namespace

/** Tests the user's view of a robot whose cameras are controlled by the test. */
class ViewingTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init();
    void cleanup();

    void showsTheNewestFrame_data();
    void showsTheNewestFrame();
    void showsTheValueUnderTheCursor();
    void describesAGreyPictureInTheUsersLanguage();
    void listsTheCamerasAndHowTheyAreSet();
    void setsACameraWithinASecond();
    void fitsTheRestToWhatIsChosen();
    void takesChoicesFasterThanTheRobotAnswers();
    void putsBackWhatTheRobotRefuses();
    void endsTheAutomaticBandwidthThatTheRobotRefuses();
    void neverWaitsForTheRobot();
    void remembersEachCameraOfEachRobot();
    void remembersTheViewOfEachRobot();
    void followsWhatSomebodyElseSets();
    void showsNoPictureOfTheCameraBefore();
    void showsTheNextCameraAfterAPictureThatWasNotPainted();

    void stopsTheStreamWhileNobodyCanSeeIt();
    void keepsThePictureThatIsPaused();
    void asksForNoMoreThanItShows();

    void saysThatTheRobotHasNoVideo();
    void saysThatTheRobotHasNoCamera();
    void saysThatNoPictureCame();
    void saysWhenTheCameraStopped();
    void showsTheCameraThatComesBack();
    void showsACameraThatWasTakenAway();
    void namesAndCountsFaultyFrames_data();
    void namesAndCountsFaultyFrames();
    void survivesNonsenseAboutCameras();
    void showsTextsOfTheRobotAsPlainText();

    void leavesWhatSomebodySetsAfterTheRobotReturned();
    void goesOnWithARobotThatReturnsBeforeItsCamera();
    void leavesAnotherRobotAsItIsSet();

    void savesTheVeryPixels();
    void saysWhyThereIsNoSnapshot();
    void limitsTheSnapshotsThatWait();
    void recordsWhileItIsHidden();
    void endsTheRecordingWithTheCamera();
    void copiesTheFigures();
    void showsTheHistogramOfEachChannel();
    void tellsForTenSeconds();
    void namesTheRobotWhenItAsksForAFolder();
    void marksACameraThatIsRecorded();
    void canBeReadByAScreenReader();
    void keepsEverythingWithinReachInANarrowDock();
    void cutsNothingOff_data();
    void cutsNothingOff();
    void canBeReadInADarkPalette();
    void isNoTrapForOtherLocales();

  private:
    QWidget* xShow();
    /** Makes a robot answer at the same port, without cameras, after it was lost. */
    void xRestartRobot(const std::string& name = "TestRobot");
    void xVerifyShown(const QColor& color);
    /** Moves the cursor to a point of the picture's widget. */
    void xPointAt(const QPoint& point);
    /** Shows a robot, and returns the milliseconds until the viewer shows a message. */
    qint64 xTimeUntilMessage(const VideoRobot& robot, const QString& message);

    std::unique_ptr<QTemporaryDir> fFolder;
    std::unique_ptr<VideoRobot> fRobot;
    std::unique_ptr<CameraDriver> fDriver;
    QWidget* fViewer = nullptr;
};

void ViewingTest::init() {
    QSettings().clear();
    fFolder = std::make_unique<QTemporaryDir>();
    QSettings().setValue(QStringLiteral("CameraViewer/folder"), fFolder->path());
    fRobot = std::make_unique<VideoRobot>();
    fRobot->addCamera("head");
    fRobot->addCamera("rear");
    fDriver = std::make_unique<CameraDriver>();
}

void ViewingTest::cleanup() {
    fDriver.reset();
    fRobot.reset();
    fFolder.reset();
}

/** Returns a viewer that watches the camera "head". */
QWidget* ViewingTest::xShow() {
    fViewer = fDriver->show(fRobot->port());
    [this] { QTRY_COMPARE(fRobot->watchers("head"), 1); }();
    return fViewer;
}

void ViewingTest::xRestartRobot(const std::string& name) {
    const int port = fRobot->port();
    fRobot.reset();
    fRobot = std::make_unique<VideoRobot>(name, VideoRobot::Video::Offered, port);
}

void ViewingTest::xVerifyShown(const QColor& color) {
    fRobot->publish("head", plainFrame(color));
    QTRY_COMPARE(shownColor(fViewer), color);
}

void ViewingTest::xPointAt(const QPoint& point) {
    QWidget* view = pictureOf(fViewer);
    QMouseEvent move(QEvent::MouseMove, point, view->mapToGlobal(point), Qt::NoButton, Qt::NoButton,
                     Qt::NoModifier);
    QCoreApplication::sendEvent(view, &move);
}

qint64 ViewingTest::xTimeUntilMessage(const VideoRobot& robot, const QString& message) {
    std::unique_ptr<QWidget> viewer(fDriver->show(robot.port()));
    return millisecondsUntil([&] { return messageOf(viewer.get()) == message; });
}

void ViewingTest::showsTheNewestFrame_data() {
    QTest::addColumn<int>("format");
    QTest::addColumn<QString>("text");
    QTest::newRow("RGB") << int(KVPixelFormat::Rgb888) << "RGB";
    QTest::newRow("YUV") << int(KVPixelFormat::Yuv422) << "YUV 4:2:2";
    QTest::newRow("grey") << int(KVPixelFormat::Grey8) << "Grey";
    QTest::newRow("JPEG") << int(KVPixelFormat::Jpeg) << "JPEG";
}

void ViewingTest::showsTheNewestFrame() {
    QFETCH(int, format);
    QFETCH(QString, text);
    QWidget* viewer = xShow();
    for (const int grey : {40, 90, 200}) {
        fRobot->publish("head",
                        plainFrame(QColor(grey, grey, grey), static_cast<KVPixelFormat>(format)));
        QTRY_VERIFY(std::abs(shownColor(viewer).green() - grey) <= 2);
    }
    QVERIFY2(readoutOf(viewer).startsWith(QString::fromUtf8("320 × 240 ") + text),
             qPrintable(readoutOf(viewer)));
    QCOMPARE(messageOf(viewer), QString());
    QCOMPARE(noticeOf(viewer), QString());
}

void ViewingTest::showsTheValueUnderTheCursor() {
    QWidget* viewer = xShow();
    xVerifyShown(QColor(10, 20, 30));
    xPointAt(pictureOf(viewer)->rect().center());
    const auto ends = [&](const char* text) {
        return readoutOf(viewer).endsWith(QString::fromUtf8(text));
    };
    QVERIFY2(ends("pixel 159, 119  ·  R 10 G 20 B 30"), qPrintable(readoutOf(viewer)));
    fRobot->publish("head", plainFrame(QColor(200, 100, 50)));
    QTRY_VERIFY2(ends("R 200 G 100 B 50"), qPrintable(readoutOf(viewer)));
    fRobot->publish("head", plainFrame(QColor(90, 90, 90), KVPixelFormat::Grey8));
    QTRY_VERIFY2(ends("Grey 90  ·  RGB 90 90 90"), qPrintable(readoutOf(viewer)));
    fRobot->publish("head", plainFrame(Qt::black, KVPixelFormat::Yuv422));
    QTRY_VERIFY2(ends("Y 16 Cb 128 Cr 128  ·  RGB 0 0 0"), qPrintable(readoutOf(viewer)));
}

void ViewingTest::describesAGreyPictureInTheUsersLanguage() {
    const Capitals language;
    QWidget* viewer = xShow();
    fRobot->publish("head", plainFrame(QColor(90, 90, 90), KVPixelFormat::Grey8));
    QTRY_COMPARE(shownColor(viewer), QColor(90, 90, 90));
    QVERIFY2(readoutOf(viewer).startsWith(QString::fromUtf8("320 × 240 GREY")),
             qPrintable(readoutOf(viewer)));
    xPointAt(pictureOf(viewer)->rect().center());
    QVERIFY2(readoutOf(viewer).contains(QLatin1String("GREY 90")), qPrintable(readoutOf(viewer)));
}

void ViewingTest::listsTheCamerasAndHowTheyAreSet() {
    QWidget* viewer = xShow();
    QCOMPARE(boxOf(viewer, "cameraBox")->count(), 2);
    QCOMPARE(boxOf(viewer, "cameraBox")->currentText(), QStringLiteral("head"));
    QCOMPARE(boxOf(viewer, "sizeBox")->currentText(), QString::fromUtf8("320 × 240"));
    QCOMPARE(boxOf(viewer, "formatBox")->currentText(), QStringLiteral("RGB"));
    QCOMPARE(boxOf(viewer, "rateBox")->currentText(), QStringLiteral("30 a second"));
}

void ViewingTest::setsACameraWithinASecond() {
    QWidget* viewer = xShow();
    // Chooses the first entry, which is set already in the first attempt, and measures the second.
    const auto isSetInTime = [&](const char* box, const QStringList& entries, const char* setting,
                                 const std::vector<KVValue>& values) {
        return isOnceBelow(a_oneSecond, [&] {
            const auto isSet = [&](std::size_t i) {
                return fRobot->settings("head")[setting] == values[i];
            };
            if (!choose(viewer, box, entries[0]) || !waitFor([&] { return isSet(0); }) ||
                !choose(viewer, box, entries[1])) {
                return std::numeric_limits<qint64>::max();
            }
            return millisecondsUntil([&] { return isSet(1); });
        });
    };
    QVERIFY(isSetInTime("sizeBox", {QString::fromUtf8("320 × 240"), QString::fromUtf8("160 × 120")},
                        "width", {KVValue(320), KVValue(160)}));
    QCOMPARE(fRobot->settings("head")["height"], KVValue(120));
    QVERIFY(isSetInTime("formatBox", {QStringLiteral("RGB"), QStringLiteral("Grey")}, "format",
                        {KVValue("rgb"), KVValue("grey")}));
    QVERIFY(isSetInTime("rateBox", {QStringLiteral("30 a second"), QStringLiteral("5 a second")},
                        "rate", {KVValue(30.0), KVValue(5.0)}));
    QCOMPARE(fRobot->settings("head")["width"], KVValue(160));
    QCOMPARE(fRobot->settings("rear")["width"], KVValue(320));
    QVERIFY(choose(viewer, "cameraBox", QStringLiteral("rear")));
    QTRY_COMPARE(fRobot->watchers("rear"), 1);
    QTRY_COMPARE(fRobot->watchers("head"), 0);
    QCOMPARE(boxOf(viewer, "formatBox")->currentText(), QStringLiteral("RGB"));
}

void ViewingTest::fitsTheRestToWhatIsChosen() {
    const auto mode = [](int width, const char* format, double rate) {
        return KVValue(KVValue::Map{{"width", KVValue(width)},
                                    {"height", KVValue(width)},
                                    {"formats", KVValue(KVValue::List{KVValue(format)})},
                                    {"rates", KVValue(KVValue::List{KVValue(rate)})}});
    };
    fRobot->lieAboutCameras(KVValue(KVValue::List{KVValue(
        KVValue::Map{{"name", KVValue("head")},
                     {"modes", KVValue(KVValue::List{mode(100, "rgb", 30), mode(200, "jpeg", 15)})},
                     {"settings", KVValue(KVValue::Map{{"width", KVValue(100)},
                                                       {"height", KVValue(100)},
                                                       {"format", KVValue("rgb")},
                                                       {"rate", KVValue(30.0)}})}})}));
    QWidget* viewer = xShow();
    QVERIFY(choose(viewer, "sizeBox", QString::fromUtf8("200 × 200")));
    QTRY_COMPARE(fRobot->settings("head")["format"], KVValue("jpeg"));
    QCOMPARE(fRobot->settings("head")["rate"], KVValue(15.0));
}

void ViewingTest::takesChoicesFasterThanTheRobotAnswers() {
    QWidget* viewer = xShow();
    fRobot->delay(std::chrono::milliseconds(300));
    QVERIFY(choose(viewer, "sizeBox", QString::fromUtf8("160 × 120")));
    QVERIFY(choose(viewer, "formatBox", QStringLiteral("Grey")));
    QVERIFY(choose(viewer, "rateBox", QStringLiteral("5 a second")));
    QTRY_COMPARE(fRobot->settings("head")["rate"], KVValue(5.0));
    QCOMPARE(fRobot->settings("head")["width"], KVValue(160));
    QCOMPARE(fRobot->settings("head")["format"], KVValue("grey"));
    QCOMPARE(boxOf(viewer, "sizeBox")->currentText(), QString::fromUtf8("160 × 120"));
    fRobot->delay({});
}

void ViewingTest::putsBackWhatTheRobotRefuses() {
    QWidget* viewer = xShow();
    fRobot->refuse("the head is too hot for <b>this</b>");
    QVERIFY(choose(viewer, "formatBox", QStringLiteral("JPEG")));
    QTRY_VERIFY(toldOf(viewer).contains(QLatin1String("the head is too hot for <b>this</b>")));
    QTRY_COMPARE(boxOf(viewer, "formatBox")->currentText(), QStringLiteral("RGB"));
    QCOMPARE(fRobot->settings("head")["format"], KVValue("rgb"));
    fRobot->refuse("");
    QVERIFY(choose(viewer, "formatBox", QStringLiteral("JPEG")));
    QTRY_COMPARE(fRobot->settings("head")["format"], KVValue("jpeg"));
    QTRY_COMPARE(toldOf(viewer), QString());
}

void ViewingTest::endsTheAutomaticBandwidthThatTheRobotRefuses() {
    if (!codec::H264Encoder::isAvailable()) {
        QSKIP("GStreamer has no encoder of H.264.");
    }
    fRobot->setSettings("head", {{"format", KVValue("h264")}, {"bitRate", KVValue(1'000'000)}});
    QWidget* viewer = xShow();
    QTRY_VERIFY(choose(viewer, "bitRateBox", QStringLiteral("Automatic")));
    fRobot->refuse("the head is too hot");
    GreyFilm film;
    QSignalSpy shown(pictureOf(viewer), SIGNAL(pictureShown(quint64, qint64)));
    const auto send = [&](std::chrono::milliseconds age) {
        using std::chrono::duration_cast;
        const auto time = std::chrono::system_clock::now().time_since_epoch() - age;
        KVFrame frame = film.next();
        frame.fTime = duration_cast<std::chrono::microseconds>(time).count();
        fRobot->publish("head", frame);
    };
    QTRY_VERIFY((send(std::chrono::milliseconds(0)), !shown.isEmpty()));
    // Late, as in the queue of a slow link.
    QTRY_VERIFY((send(std::chrono::seconds(1)),
                 toldOf(viewer).contains(QLatin1String("the head is too hot"))));
    QCOMPARE(boxOf(viewer, "bitRateBox")->currentText(), QStringLiteral("1 Mbit/s"));
    QCOMPARE(fRobot->settings("head")["bitRate"], KVValue(1'000'000));
}

void ViewingTest::neverWaitsForTheRobot() {
    QWidget* viewer = xShow();
    fRobot->delay(std::chrono::milliseconds(1500));
    bool isGrey = false;
    const auto longestStall = [&] {
        const Stalls stalls;
        isGrey = !isGrey;
        const bool isChosen =
            choose(viewer, "formatBox", QLatin1String(isGrey ? "Grey" : "RGB")) && waitFor([&] {
                return fRobot->settings("head")["format"] == KVValue(isGrey ? "grey" : "rgb");
            });
        return isChosen ? stalls.longest() : a_oneSecond;
    };
    QVERIFY(isOnceBelow(qint64(700), longestStall));
    xVerifyShown(QColor(1, 2, 3));
    fRobot->delay({});
}

void ViewingTest::remembersEachCameraOfEachRobot() {
    QWidget* viewer = xShow();
    QVERIFY(choose(viewer, "formatBox", QStringLiteral("Grey")));
    QTRY_COMPARE(fRobot->settings("head")["format"], KVValue("grey"));
    QVERIFY(choose(viewer, "cameraBox", QStringLiteral("rear")));
    QTRY_COMPARE(boxOf(viewer, "formatBox")->currentText(), QStringLiteral("RGB"));
    QVERIFY(choose(viewer, "rateBox", QStringLiteral("15 a second")));
    QTRY_COMPARE(fRobot->settings("rear")["rate"], KVValue(15.0));
    const auto remembered = [] {
        return QSettings().value(QStringLiteral("CameraViewer/robots/TestRobot/cameras/rear/rate"));
    };
    QTRY_COMPARE(remembered().toDouble(), 15.0);
    delete viewer;

    VideoRobot sameName;
    VideoRobot other("Other");
    for (VideoRobot* robot : {&sameName, &other}) {
        robot->addCamera("head");
        robot->addCamera("rear");
    }
    QWidget* again = fDriver->show(sameName.port());
    QTRY_COMPARE(sameName.settings("rear")["rate"], KVValue(15.0));
    QTRY_COMPARE(boxOf(again, "cameraBox")->currentText(), QStringLiteral("rear"));
    QCOMPARE(sameName.settings("head")["format"], KVValue("rgb"));
    QVERIFY(choose(again, "cameraBox", QStringLiteral("head")));
    QTRY_COMPARE(sameName.settings("head")["format"], KVValue("grey"));

    QWidget* elsewhere = fDriver->show(other.port());
    QTRY_COMPARE(boxOf(elsewhere, "cameraBox")->currentText(), QStringLiteral("head"));
    // Each request contains the earlier ones.
    QVERIFY(choose(elsewhere, "rateBox", QStringLiteral("5 a second")));
    QTRY_COMPARE(other.settings("head")["rate"], KVValue(5.0));
    QCOMPARE(other.settings("head")["format"], KVValue("rgb"));
}

/** Read from the file, like another process: it is saved while the viewer is still open. */
void ViewingTest::remembersTheViewOfEachRobot() {
    QWidget* viewer = xShow();
    xVerifyShown(Qt::red);
    actionOf(viewer, "oneToOneAction")->trigger();
    const auto inFile = [&](const char* name) {
        const QString copy = QDir(fFolder->path()).filePath(QStringLiteral("copy.conf"));
        QFile::remove(copy);
        QFile::copy(QSettings().fileName(), copy);
        return QSettings(copy, QSettings::defaultFormat())
            .value(QStringLiteral("CameraViewer/robots/TestRobot/view/") + QLatin1String(name));
    };
    int turns = 0;
    const auto timeUntilSaved = [&] {
        actionOf(viewer, "rotateRightAction")->trigger();
        turns = (turns + 1) % 4;
        return millisecondsUntil([&] { return inFile("quarterTurns").toInt() == turns; });
    };
    QVERIFY(isOnceBelow(a_oneSecond, timeUntilSaved));
    while (turns != 1) {
        QVERIFY(timeUntilSaved() <= a_qtPatience);
    }
    actionOf(viewer, "flipHorizontallyAction")->trigger();
    actionOf(viewer, "gridAction")->trigger();
    QTRY_VERIFY(inFile("hasGrid").toBool());
    QCOMPARE(inFile("quarterTurns").toInt(), 3);  // the flip turns the picture the other way
    QCOMPARE(inFile("zoom").toDouble(), 1.0);
    QVERIFY(inFile("isFlipped").toBool());
    actionOf(viewer, "histogramAction")->trigger();
    QTRY_VERIFY(inFile("hasHistogram").toBool());

    QWidget* again = fDriver->show(fRobot->port());
    QVERIFY(actionOf(again, "gridAction")->isChecked());
    QVERIFY(actionOf(again, "histogramAction")->isChecked());
    QTRY_COMPARE(fRobot->watchers("head"), 2);
    fRobot->publish("head", plainFrame(Qt::red));
    QTRY_VERIFY2(readoutOf(again).contains(QString::fromUtf8("  ·  100 %  ·  grid")),
                 qPrintable(readoutOf(again)));
    // As wide as the frame is high.
    const QImage shot = pictureOf(again)->grab().toImage();
    const int left = (shot.width() - 240) / 2;
    QCOMPARE(shot.pixelColor(left + 5, shot.height() / 2 + 5), QColor(Qt::red));
    QVERIFY(shot.pixelColor(left - 5, shot.height() / 2 + 5) != QColor(Qt::red));

    VideoRobot other("Other");
    other.addCamera("head");
    QWidget* elsewhere = fDriver->show(other.port());
    QVERIFY(!actionOf(elsewhere, "gridAction")->isChecked());
    QVERIFY(!actionOf(elsewhere, "histogramAction")->isChecked());
}

void ViewingTest::followsWhatSomebodyElseSets() {
    QWidget* viewer = xShow();
    fRobot->setSettings("head", {{"format", KVValue("grey")}, {"rate", KVValue(5.0)}});
    QTRY_VERIFY((fRobot->publish("head", plainFrame(Qt::gray, KVPixelFormat::Grey8)),
                 boxOf(viewer, "formatBox")->currentText() == QLatin1String("Grey")));
    QCOMPARE(boxOf(viewer, "rateBox")->currentText(), QStringLiteral("5 a second"));
}

void ViewingTest::showsNoPictureOfTheCameraBefore() {
    QWidget* viewer = xShow();
    xVerifyShown(Qt::red);
    QVERIFY(choose(viewer, "cameraBox", QStringLiteral("rear")));
    QTRY_COMPARE(fRobot->watchers("rear"), 1);
    fRobot->publish("head", plainFrame(Qt::red));
    QVERIFY(!messageOf(viewer).isEmpty());
    fRobot->publish("rear", plainFrame(Qt::blue));
    QTRY_COMPARE(shownColor(viewer), QColor(Qt::blue));
}

void ViewingTest::showsTheNextCameraAfterAPictureThatWasNotPainted() {
    QWidget* viewer = xShow();
    xVerifyShown(Qt::red);
    QWidget* view = pictureOf(viewer);
    xPointAt(view->rect().center());
    view->setUpdatesEnabled(false);  // as behind another tab
    fRobot->publish("head", plainFrame(QColor(200, 100, 50)));
    QTRY_VERIFY(readoutOf(viewer).endsWith(QLatin1String("R 200 G 100 B 50")));
    QVERIFY(choose(viewer, "cameraBox", QStringLiteral("rear")));
    QTRY_COMPARE(fRobot->watchers("rear"), 1);
    view->setUpdatesEnabled(true);
    fRobot->publish("rear", plainFrame(Qt::blue));
    QTRY_COMPARE(shownColor(viewer), QColor(Qt::blue));
}

void ViewingTest::stopsTheStreamWhileNobodyCanSeeIt() {
    QWidget* viewer = xShow();
    xVerifyShown(Qt::red);
    auto* dock = qobject_cast<QDockWidget*>(viewer->parentWidget());
    const auto stopsInTime = [&](const auto& hide, const auto& show) {
        return isOnceBelow(a_oneSecond, [&] {
            hide();
            const qint64 stopped = millisecondsUntil([&] { return fRobot->watchers("head") == 0; });
            show();
            const qint64 resumed = millisecondsUntil([&] { return fRobot->watchers("head") == 1; });
            return std::max(stopped, resumed);
        });
    };
    QVERIFY(stopsInTime([&] { dock->hide(); }, [&] { dock->show(); }));
    QDockWidget* cover = fDriver->dock(new QLabel(QStringLiteral("cover")));
    fDriver->window().tabifyDockWidget(dock, cover);
    QVERIFY(stopsInTime([&] { cover->raise(); }, [&] { dock->raise(); }));
    QVERIFY(stopsInTime([&] { fDriver->window().hide(); }, [&] { fDriver->window().show(); }));
    xVerifyShown(Qt::green);
}

void ViewingTest::keepsThePictureThatIsPaused() {
    QWidget* viewer = xShow();
    xVerifyShown(Qt::red);
    actionOf(viewer, "pauseAction")->trigger();
    QTRY_COMPARE(noticeOf(viewer), QStringLiteral("Paused. This is the last picture."));
    QTRY_COMPARE(fRobot->watchers("head"), 0);
    fRobot->publish("head", plainFrame(Qt::green));
    QWidget* other = fDriver->show(fRobot->port());
    QTRY_COMPARE(shownColor(other), QColor(Qt::green));
    settle(viewer);
    QCOMPARE(shownColor(viewer), QColor(Qt::red));
    actionOf(viewer, "pauseAction")->trigger();
    QTRY_COMPARE(shownColor(viewer), QColor(Qt::green));
    QCOMPARE(noticeOf(viewer), QString());
}

void ViewingTest::asksForNoMoreThanItShows() {
    QWidget* viewer = xShow();
    QSignalSpy shown(pictureOf(viewer), SIGNAL(pictureShown(quint64, qint64)));
    constexpr int frames = 200;
    for (int i = 0; i < frames; ++i) {
        fRobot->publish("head", plainFrame(QColor(i, i, i)));
    }
    const QColor last(frames - 1, frames - 1, frames - 1);
    QTRY_COMPARE(shownColor(viewer), last);
    QVERIFY(shown.size() < frames);
    // The numbers only increase, and the newest is the last.
    quint64 before = 0;
    for (const QList<QVariant>& arguments : shown) {
        QVERIFY(arguments.at(0).toULongLong() > before);
        before = arguments.at(0).toULongLong();
    }
    QCOMPARE(before, quint64(frames));
}

void ViewingTest::saysThatTheRobotHasNoVideo() {
    VideoRobot without("Without", VideoRobot::Video::Missing);
    const auto reason = QStringLiteral("This robot offers no cameras: it has no module KVVideo.");
    QVERIFY(isOnceBelow(a_twoSeconds, [&] { return xTimeUntilMessage(without, reason); }));
    QWidget* viewer = fDriver->show(without.port());
    QSignalSpy lost(viewer, SIGNAL(disconnected(WidgetInterface*)));
    QTRY_COMPARE(messageOf(viewer), reason);
    settle(viewer);
    QCOMPARE(lost.size(), 0);
    QVERIFY(!boxOf(viewer, "cameraBox")->isEnabled());
}

void ViewingTest::saysThatTheRobotHasNoCamera() {
    VideoRobot bare("Bare");
    const auto reason = QStringLiteral("This robot has no camera.");
    QVERIFY(isOnceBelow(a_twoSeconds, [&] { return xTimeUntilMessage(bare, reason); }));
    QWidget* viewer = fDriver->show(bare.port());
    QTRY_COMPARE(messageOf(viewer), reason);
    bare.addCamera("late");
    QTRY_COMPARE(bare.watchers("late"), 1);
}

void ViewingTest::saysThatNoPictureCame() {
    const auto seconds = [&](QWidget* viewer) {
        return secondsIn(messageOf(viewer),
                         "^Camera \"head\" has not sent a picture in (\\d+) s\\.$");
    };
    QVERIFY(isOnceBelow(a_twoSeconds, [&] {
        std::unique_ptr<QWidget> viewer(fDriver->show(fRobot->port()));
        return millisecondsUntil([&] { return seconds(viewer.get()) >= 1; });
    }));
    QElapsedTimer time;
    time.start();
    QWidget* viewer = xShow();
    QTRY_VERIFY(seconds(viewer) >= 3);
    QVERIFY(seconds(viewer) <= qRound(double(time.elapsed()) / 1000));
}

void ViewingTest::saysWhenTheCameraStopped() {
    QWidget* viewer = xShow();
    const auto seconds = [&] {
        return secondsIn(
            noticeOf(viewer),
            "^Camera \"head\" stopped sending (\\d+) s ago\\. This is the last picture\\.$");
    };
    QVERIFY(isOnceBelow(a_twoSeconds, [&] {
        const auto isShown = [&] {
            fRobot->publish("head", plainFrame(Qt::green));
            return seconds() < 1;
        };
        return waitFor(isShown) ? millisecondsUntil([&] { return seconds() >= 1; }) : a_twoSeconds;
    }));
    QElapsedTimer time;
    time.start();
    xVerifyShown(Qt::red);
    QTRY_VERIFY(seconds() >= 3 && seconds() <= qRound(double(time.elapsed()) / 1000));
    QCOMPARE(shownColor(viewer), QColor(Qt::red));
}

void ViewingTest::showsTheCameraThatComesBack() {
    QWidget* viewer = xShow();
    xVerifyShown(Qt::red);
    QTRY_VERIFY(!noticeOf(viewer).isEmpty());
    xVerifyShown(Qt::green);
    QTRY_COMPARE(noticeOf(viewer), QString());
}

void ViewingTest::showsACameraThatWasTakenAway() {
    QWidget* viewer = xShow();
    QVERIFY(isOnceBelow(a_twoSeconds, [&] {
        xVerifyShown(Qt::red);
        // A new frame takes away the notice of the last attempt.
        if (!waitFor([&] { return noticeOf(viewer).isEmpty(); })) {
            return a_twoSeconds;
        }
        fRobot->removeCamera("head");
        const qint64 time = millisecondsUntil([&] {
            return noticeOf(viewer).startsWith(
                QLatin1String("The robot has ended the stream of camera \"head\": "));
        });
        fRobot->addCamera("head");
        const bool isBack = waitFor([&] { return fRobot->watchers("head") == 1; });
        return isBack ? time : a_twoSeconds;
    }));
    QTRY_COMPARE(boxOf(viewer, "cameraBox")->currentText(), QStringLiteral("head"));
    xVerifyShown(Qt::green);
    QTRY_COMPARE(noticeOf(viewer), QString());
}

void ViewingTest::namesAndCountsFaultyFrames_data() {
    QTest::addColumn<int>("format");
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::addColumn<int>("stride");
    QTest::addColumn<int>("bytes");
    QTest::addColumn<QString>("named");
    const int rgb = int(KVPixelFormat::Rgb888);
    QTest::newRow("short") << rgb << 320 << 240 << 960 << 960 * 240 - 1 << "fewer bytes";
    QTest::newRow("wrong stride") << rgb << 320 << 240 << 100 << 960 * 240 << "rows";
    QTest::newRow("no size") << rgb << 0 << 0 << 0 << 100 << "without a size";
    QTest::newRow("65,535 x 65,535") << rgb << 65535 << 65535 << 196605 << 100 << "too large";
    QTest::newRow("a JPEG that is none")
        << int(KVPixelFormat::Jpeg) << 320 << 240 << 0 << 5000 << "JPEG";
    QTest::newRow("odd YUV") << int(KVPixelFormat::Yuv422) << 321 << 240 << 642 << 642 * 240
                             << "odd width";
    QTest::newRow("unknown format")
        << int(KVPixelFormat::Unknown) << 320 << 240 << 960 << 960 * 240 << "format";
}

void ViewingTest::namesAndCountsFaultyFrames() {
    QFETCH(int, format);
    QFETCH(int, width);
    QFETCH(int, height);
    QFETCH(int, stride);
    QFETCH(int, bytes);
    QFETCH(QString, named);
    QWidget* viewer = xShow();
    KVFrame faulty = plainFrame(Qt::red, KVPixelFormat::Rgb888, bytes / 3 + 1, 1);
    faulty.fFormat = static_cast<KVPixelFormat>(format);
    faulty.fWidth = static_cast<std::uint32_t>(width);
    faulty.fHeight = static_cast<std::uint32_t>(height);
    faulty.fStride = static_cast<std::uint32_t>(stride);
    faulty.fSize = static_cast<std::size_t>(bytes);
    fRobot->publish("head", faulty);
    QTRY_VERIFY2(messageOf(viewer).contains(named), qPrintable(messageOf(viewer)));
    QTRY_VERIFY2(statusOf(viewer).endsWith(QLatin1String("1 faulty frame")),
                 qPrintable(statusOf(viewer)));
    xVerifyShown(Qt::green);
    fRobot->publish("head", faulty);
    QTRY_VERIFY(noticeOf(viewer).contains(named));
    QCOMPARE(shownColor(viewer), QColor(Qt::green));
}

void ViewingTest::survivesNonsenseAboutCameras() {
    const KVValue::Map madCamera{{"name", KVValue("mad")},
                                 {"description", KVValue(5)},
                                 {"modes", KVValue("none")},
                                 {"settings", KVValue(KVValue::List{})}};
    fRobot->lieAboutCameras(KVValue(KVValue::List{KVValue(1), KVValue(madCamera)}));
    QWidget* viewer = fDriver->show(fRobot->port());
    QTRY_COMPARE(boxOf(viewer, "cameraBox")->currentText(), QStringLiteral("mad"));
    QVERIFY(!boxOf(viewer, "sizeBox")->isEnabled());
    QTRY_VERIFY(messageOf(viewer).contains(QLatin1String("mad")));
    fRobot->lieAboutCameras(KVValue("no list"));
    QWidget* second = fDriver->show(fRobot->port());
    QTRY_VERIFY2(
        messageOf(second).startsWith(QLatin1String("The robot does not list its cameras: ")),
        qPrintable(messageOf(second)));
}

void ViewingTest::showsTextsOfTheRobotAsPlainText() {
    VideoRobot hostile("<h1>Robot</h1>\n");
    hostile.addCamera("<img src='x'>\x1b[31m" + std::string(150, 'x'));
    QWidget* viewer = fDriver->show(hostile.port());
    QTRY_VERIFY(messageOf(viewer).contains(QLatin1String(R"(<img src='x'>\x1b[31m)")));
    QCOMPARE(labelText(viewer, "robotName"), QStringLiteral("<h1>Robot</h1>\\n"));
    for (const QLabel* label : viewer->findChildren<QLabel*>()) {
        QCOMPARE(label->textFormat(), Qt::PlainText);
        QVERIFY(!label->toolTip().contains(QLatin1String("<h1>")));
    }
    QVERIFY(viewer->minimumSizeHint().width() < 500);
}

void ViewingTest::leavesWhatSomebodySetsAfterTheRobotReturned() {
    QSettings().setValue(QStringLiteral("Viewers/reconnect"), true);
    QWidget* viewer = xShow();
    QVERIFY(choose(viewer, "formatBox", QStringLiteral("Grey")));
    QTRY_VERIFY(QSettings().value("CameraViewer/robots/TestRobot/cameras/head/format") == "grey");
    xRestartRobot();
    fRobot->addCamera("head", {{"format", KVValue("grey")}, {"rate", KVValue(5.0)}});
    fRobot->addCamera("rear");
    // Restored, once.
    QTRY_COMPARE(fRobot->settings("head")["rate"], KVValue(30.0));
    fRobot->setSettings("head", {{"format", KVValue("rgb")}});
    QTRY_VERIFY((fRobot->publish("head", plainFrame(Qt::red)),
                 boxOf(viewer, "formatBox")->currentText() == QLatin1String("RGB")));
    // Each request contains the earlier ones.
    QVERIFY(choose(viewer, "rateBox", QStringLiteral("15 a second")));
    QTRY_COMPARE(fRobot->settings("head")["rate"], KVValue(15.0));
    QCOMPARE(fRobot->settings("head")["format"], KVValue("rgb"));
}

void ViewingTest::goesOnWithARobotThatReturnsBeforeItsCamera() {
    QSettings().setValue(QStringLiteral("Viewers/reconnect"), true);
    QWidget* viewer = xShow();
    xVerifyShown(Qt::red);
    actionOf(viewer, "recordAction")->trigger();
    fRobot->publish("head", plainFrame(Qt::green));
    QTRY_COMPARE(shownColor(viewer), QColor(Qt::green));
    xRestartRobot();
    QTRY_VERIFY(fRobot->lists() > 0);
    fRobot->addCamera("rear");
    fRobot->addCamera("head");
    QTRY_COMPARE(fRobot->watchers("head"), 1);
    QVERIFY(actionOf(viewer, "recordAction")->isChecked());
    QCOMPARE(boxOf(viewer, "cameraBox")->currentText(), QStringLiteral("head"));
    xVerifyShown(Qt::blue);
}

void ViewingTest::leavesAnotherRobotAsItIsSet() {
    QSettings().setValue(QStringLiteral("Viewers/reconnect"), true);
    QWidget* viewer = xShow();
    QVERIFY(choose(viewer, "formatBox", QStringLiteral("Grey")));
    QTRY_COMPARE(fRobot->settings("head")["format"], KVValue("grey"));
    xVerifyShown(Qt::red);
    xRestartRobot("OtherRobot");
    fRobot->addCamera("head");
    fRobot->addCamera("rear");
    auto* connection = viewer->findChild<QAbstractButton*>(QStringLiteral("connectButton"));
    QTRY_VERIFY(connection->isVisible());
    connection->click();
    QTRY_COMPARE(fRobot->watchers("head"), 1);
    QTRY_COMPARE(boxOf(viewer, "formatBox")->currentText(), QStringLiteral("RGB"));
    // Each request contains the earlier ones.
    QVERIFY(choose(viewer, "rateBox", QStringLiteral("5 a second")));
    QTRY_COMPARE(fRobot->settings("head")["rate"], KVValue(5.0));
    QCOMPARE(fRobot->settings("head")["format"], KVValue("rgb"));
    QVERIFY(choose(viewer, "formatBox", QStringLiteral("JPEG")));
    QTRY_VERIFY(QSettings().value("CameraViewer/robots/OtherRobot/cameras/head/format") == "jpeg");
}

void ViewingTest::savesTheVeryPixels() {
    QWidget* viewer = xShow();
    xVerifyShown(QColor(12, 34, 56));
    actionOf(viewer, "snapshotAction")->trigger();
    const QString folder =
        QStringLiteral("Picture saved in the folder %1 as ").arg(fFolder->path());
    QTRY_VERIFY2(toldOf(viewer).startsWith(folder), qPrintable(toldOf(viewer)));
    const QStringList files = QDir(fFolder->path()).entryList({QStringLiteral("*.png")});
    QCOMPARE(files.size(), 1);
    QCOMPARE(toldOf(viewer), folder + files.first());
    QVERIFY2(files.first().startsWith(QLatin1String("TestRobot-head-")), qPrintable(files.first()));
    const QImage saved(fFolder->filePath(files.first()));
    QCOMPARE(saved.size(), QSize(320, 240));
    QCOMPARE(saved.pixelColor(100, 100), QColor(12, 34, 56));
    QCOMPARE(saved.text(QStringLiteral("Camera")), QStringLiteral("head"));
    QCOMPARE(saved.text(QStringLiteral("Robot")), QStringLiteral("TestRobot"));
    // A second snapshot of the same picture does not replace the first.
    actionOf(viewer, "snapshotAction")->trigger();
    QTRY_COMPARE(QDir(fFolder->path()).entryList({QStringLiteral("*.png")}).size(), 2);
}

void ViewingTest::saysWhyThereIsNoSnapshot() {
    QSettings().setValue(QStringLiteral("CameraViewer/folder"), QStringLiteral("/proc/nowhere"));
    QWidget* viewer = xShow();
    QVERIFY(!actionOf(viewer, "snapshotAction")->isEnabled());
    xVerifyShown(Qt::red);
    actionOf(viewer, "snapshotAction")->trigger();
    QTRY_VERIFY2(toldOf(viewer).contains(QLatin1String("/proc/nowhere")),
                 qPrintable(toldOf(viewer)));
}

void ViewingTest::limitsTheSnapshotsThatWait() {
    constexpr int most = 8;
    const auto files = [this] {
        return QDir(fFolder->path()).entryList({QStringLiteral("*.png")}).size();
    };
    QWidget* viewer = xShow();
    xVerifyShown(Qt::red);
    // As on a slow disk: the viewer does not hear of a written file before it handles events.
    for (int i = 0; i <= most; ++i) {
        actionOf(viewer, "snapshotAction")->trigger();
    }
    QVERIFY2(toldOf(viewer).startsWith(QLatin1String("No picture was saved")),
             qPrintable(toldOf(viewer)));
    QTRY_COMPARE(files(), most);
    QTRY_VERIFY(toldOf(viewer).startsWith(QLatin1String("Picture saved")));
    // The viewer has heard of at least one of them.
    actionOf(viewer, "snapshotAction")->trigger();
    QTRY_COMPARE(files(), most + 1);
}

void ViewingTest::recordsWhileItIsHidden() {
    constexpr int enough = 10;
    QWidget* viewer = xShow();
    xVerifyShown(Qt::red);
    QAction* record = actionOf(viewer, "recordAction");
    record->trigger();
    std::uint32_t number = 100;
    // Sends a frame, until the recording has so many.
    const auto hasRecorded = [&](double frames) {
        return waitFor([&] {
            KVFrame frame = plainFrame(Qt::green);
            frame.fNumber = ++number;
            fRobot->publish("head", frame);
            return figureOf(viewer, QStringLiteral("frames")) >= frames;
        });
    };
    QVERIFY2(hasRecorded(enough), qPrintable(statusOf(viewer)));
    auto* dock = qobject_cast<QDockWidget*>(viewer->parentWidget());
    dock->hide();
    settle(viewer);
    const std::uint32_t lastSeen = number;
    const double framesSeen = figureOf(viewer, QStringLiteral("frames"));
    QVERIFY2(hasRecorded(framesSeen + enough), qPrintable(statusOf(viewer)));
    QCOMPARE(fRobot->watchers("head"), 1);
    const std::uint32_t lastHidden = number;
    dock->show();
    record->trigger();
    QTRY_VERIFY2(toldOf(viewer).startsWith(QLatin1String("Recorded ")), qPrintable(toldOf(viewer)));
    QVERIFY(!record->isChecked());
    const QStringList files = QDir(fFolder->path()).entryList({QStringLiteral("*.mcap")});
    QCOMPARE(files.size(), 1);
    const std::vector<std::uint32_t> recorded = framesIn(fFolder->filePath(files.first()));
    const auto hidden = std::count_if(recorded.begin(), recorded.end(), [&](std::uint32_t each) {
        return each > lastSeen && each <= lastHidden;
    });
    // The figure may have counted some of the frames before late.
    QVERIFY2(hidden >= enough / 2, qPrintable(QString::number(hidden)));
}

void ViewingTest::endsTheRecordingWithTheCamera() {
    QWidget* viewer = xShow();
    xVerifyShown(Qt::red);
    actionOf(viewer, "recordAction")->trigger();
    fRobot->publish("head", plainFrame(Qt::green));
    QTRY_COMPARE(shownColor(viewer), QColor(Qt::green));
    QVERIFY(choose(viewer, "cameraBox", QStringLiteral("rear")));
    QTRY_VERIFY2(toldOf(viewer).startsWith(QLatin1String("Recorded ")), qPrintable(toldOf(viewer)));
    QVERIFY(!actionOf(viewer, "recordAction")->isChecked());
}

void ViewingTest::copiesTheFigures() {
    QWidget* viewer = xShow();
    xVerifyShown(Qt::red);
    actionOf(viewer, "copyFiguresAction")->trigger();
    const QString text = QApplication::clipboard()->text();
    QVERIFY2(text.startsWith(QString::fromUtf8("Robot: TestRobot  ·  127.0.0.1:%1\nCamera: head\n"
                                               "Received: ")
                                 .arg(fRobot->port())),
             qPrintable(text));
    QVERIFY2(text.contains(QLatin1String("\nDropped: ")), qPrintable(text));
}

void ViewingTest::showsTheHistogramOfEachChannel() {
    QWidget* viewer = xShow();
    actionOf(viewer, "histogramAction")->trigger();
    const auto text = [&] { return labelText(viewer, "histogramText"); };
    auto* stretch = viewer->findChild<QWidget*>(QStringLiteral("stretchBox"));
    xVerifyShown(QColor(200, 100, 50));
    QTRY_COMPARE(text(), QStringLiteral("Red 200 to 200, mean 200.0\n"
                                        "Green 100 to 100, mean 100.0\n"
                                        "Blue 50 to 50, mean 50.0"));
    QVERIFY(!stretch->isVisible());
    auto* bars = viewer->findChild<QWidget*>(QStringLiteral("histogramBars"));
    for (const auto& [value, isChannel] : std::vector<std::pair<int, bool (*)(const QColor&)>>{
             {200, [](const QColor& color) { return color.red() > color.blue() + 30; }},
             {100, [](const QColor& color) { return color.green() > color.red() + 30; }},
             {50, [](const QColor& color) { return color.blue() > color.red() + 30; }}}) {
        const QImage shot = bars->grab().toImage();
        const int x = static_cast<int>((value + 0.5) * shot.width() / 256);
        QVERIFY2(isChannel(shot.pixelColor(x, shot.height() / 2)),
                 qPrintable(shot.pixelColor(x, shot.height() / 2).name()));
    }
    fRobot->publish("head", plainFrame(QColor(77, 77, 77), KVPixelFormat::Grey8));
    QTRY_COMPARE(text(), QStringLiteral("Range 77 to 77\nMean 77.0"));
    QVERIFY(stretch->isVisible());
    actionOf(viewer, "histogramAction")->trigger();
    QCOMPARE(text(), QString());
}

void ViewingTest::tellsForTenSeconds() {
    QWidget* viewer = xShow();
    auto* timer = viewer->findChild<QTimer*>(QStringLiteral("toldTimer"));
    QVERIFY(!timer->isActive());
    actionOf(viewer, "copyFiguresAction")->trigger();
    QVERIFY(!toldOf(viewer).isEmpty());
    QVERIFY(timer->isActive());
    QCOMPARE(timer->interval(), 10000);
    expire(*timer);
    QVERIFY(toldOf(viewer).isEmpty());
    QVERIFY(!timer->isActive());
}

void ViewingTest::namesTheRobotWhenItAsksForAFolder() {
    QWidget* viewer = xShow();
    QString title;
    QTimer look;
    connect(&look, &QTimer::timeout, this, [&] {
        auto* question = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
        if (question != nullptr) {
            title = question->windowTitle();
            question->reject();
        }
    });
    look.start(10);
    actionOf(viewer, "folderAction")->trigger();
    QCOMPARE(title, QString::fromUtf8("Folder for pictures and recordings – TestRobot"));
}

void ViewingTest::marksACameraThatIsRecorded() {
    QWidget* viewer = xShow();
    xVerifyShown(Qt::red);
    auto* mark = viewer->findChild<QLabel*>(QStringLiteral("recordingMark"));
    QVERIFY(!mark->isVisible());
    actionOf(viewer, "recordAction")->trigger();
    const QRegularExpression progress(QString::fromUtf8("^0:0[1-9]  ·  [0-9.]+ kB$"));
    const auto isShown = [&] {
        fRobot->publish("head", plainFrame(Qt::green));
        return labelText(viewer, "recordingMark").contains(progress);
    };
    QTRY_VERIFY2(isShown(), qPrintable(mark->text()));
    QCOMPARE(mark->accessibleName(), QStringLiteral("Recording: ") + mark->text());
    const QColor dot = mark->grab().toImage().pixelColor(mark->height() / 2, mark->height() / 2);
    QVERIFY2(dot.red() > 180 && dot.green() < 80 && dot.blue() < 80, qPrintable(dot.name()));
    actionOf(viewer, "recordAction")->trigger();
    QTRY_VERIFY(!mark->isVisible());
}

void ViewingTest::canBeReadByAScreenReader() {
    QWidget* viewer = xShow();
    QCOMPARE(pictureOf(viewer)->accessibleName(), QStringLiteral("Picture of the camera"));
    actionOf(viewer, "histogramAction")->trigger();
    for (const char* name : {"cameraBox", "sizeBox", "formatBox", "rateBox"}) {
        // Not by the accessible name: for a combo box, AT-SPI's name is its value.
        QAccessibleInterface* box = QAccessible::queryAccessibleInterface(boxOf(viewer, name));
        const auto labels = box->relations(QAccessible::Label);
        QVERIFY2(labels.size() == 1, name);
        QCOMPARE(labels.first().first->text(QAccessible::Name),
                 boxOf(viewer, name)->accessibleName());
        QVERIFY2(!boxOf(viewer, name)->accessibleName().isEmpty(), name);
    }
    for (QWidget* part : viewer->findChildren<QWidget*>()) {
        QAccessibleInterface* access = QAccessible::queryAccessibleInterface(part);
        const QString description = access->text(QAccessible::Description);
        QVERIFY2(!description.contains(QLatin1Char('<')), qPrintable(description));
        if ((part->focusPolicy() & Qt::TabFocus) != 0 && part->isVisible()) {
            QVERIFY2(!access->text(QAccessible::Name).isEmpty(), part->metaObject()->className());
            const bool isPicture = part == pictureOf(viewer);
            QVERIFY2(isPicture || !description.isEmpty(), qPrintable(part->objectName()));
        }
    }
    QTRY_VERIFY(viewer->findChild<QLabel*>(QStringLiteral("cameraStatus"))
                    ->accessibleName()
                    .startsWith(QLatin1String("Status: 0.0 received")));
    for (const QAction* action : viewer->findChildren<QAction*>()) {
        QVERIFY(action->objectName().isEmpty() || !action->text().isEmpty());
    }
}

void ViewingTest::keepsEverythingWithinReachInANarrowDock() {
    constexpr int narrow = 300;
    QWidget* viewer = xShow();
    xVerifyShown(Qt::red);
    actionOf(viewer, "recordAction")->trigger();
    auto* mark = viewer->findChild<QWidget*>(QStringLiteral("recordingMark"));
    QTRY_VERIFY(mark->isVisible());
    auto* bar = viewer->findChild<QWidget*>(QStringLiteral("cameraBar"));
    fDriver->window().resize(1200, 700);
    QTRY_VERIFY(bar->width() > narrow);
    const int oneRow = bar->height();
    fDriver->window().resize(narrow, 700);
    QTRY_VERIFY2(bar->width() <= narrow, qPrintable(QString::number(bar->width())));
    QTRY_VERIFY(bar->height() >= 3 * oneRow - 10);
    QRegion taken;
    int visible = 0;
    for (const QWidget* part : bar->findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly)) {
        if (!part->isVisible()) {
            continue;
        }
        ++visible;
        QVERIFY(bar->rect().contains(part->geometry()));
        QVERIFY(!taken.intersects(part->geometry()));
        taken += part->geometry();
    }
    QCOMPARE(visible, 11);
    QVERIFY(pictureOf(viewer)->isVisible() || !messageOf(viewer).isEmpty());
}

void ViewingTest::cutsNothingOff_data() {
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::newRow("800 x 600") << 800 << 600;
    QTest::newRow("a narrow dock") << 420 << 600;
    QTest::newRow("one of three docks") << 330 << 600;
}

/** With everything that a viewer can show at once. */
void ViewingTest::cutsNothingOff() {
    QFETCH(int, width);
    QFETCH(int, height);
    QWidget* viewer = xShow();
    actionOf(viewer, "histogramAction")->trigger();
    actionOf(viewer, "gridAction")->trigger();
    fDriver->window().resize(width, height);
    xVerifyShown(QColor(200, 100, 50));
    actionOf(viewer, "recordAction")->trigger();
    actionOf(viewer, "snapshotAction")->trigger();
    QTRY_VERIFY(toldOf(viewer).startsWith(QLatin1String("Picture saved")));
    QWidget* view = pictureOf(viewer);
    QTest::keyClick(view, Qt::Key_Left, Qt::ShiftModifier);
    QVERIFY(readoutOf(viewer).contains(QLatin1String("R 200 G 100 B 50")));
    actionOf(viewer, "pauseAction")->trigger();
    QTRY_VERIFY(!noticeOf(viewer).isEmpty());
    QTRY_VERIFY(statusOf(viewer).startsWith(QLatin1String("Recording: ")));
    QTRY_VERIFY2(cutParts(*viewer).isEmpty(), qPrintable(cutParts(*viewer).join(QLatin1Char(' '))));
    QCOMPARE(fDriver->window().size(), QSize(width, height));
    QVERIFY2(view->height() >= 90, qPrintable(QString::number(view->height())));
}

void ViewingTest::canBeReadInADarkPalette() {
    const DarkPalette dark;
    QWidget* viewer = xShow();
    actionOf(viewer, "histogramAction")->trigger();
    fRobot->publish("head", plainFrame(QColor(77, 77, 77), KVPixelFormat::Grey8));
    QTRY_COMPARE(labelText(viewer, "histogramText"), QStringLiteral("Range 77 to 77\nMean 77.0"));
    actionOf(viewer, "pauseAction")->trigger();
    QTRY_VERIFY(!noticeOf(viewer).isEmpty());
    actionOf(viewer, "copyFiguresAction")->trigger();
    QTRY_VERIFY(!toldOf(viewer).isEmpty());
    for (const char* name : {"cameraStatus", "cameraReadout", "viewerBanner", "cameraTold",
                             "histogramText", "histogramBars", "cameraBox", "viewButton"}) {
        auto* part = viewer->findChild<QWidget*>(QLatin1String(name));
        QVERIFY2(contrastOf(*part) > 120, name);
    }
}

void ViewingTest::isNoTrapForOtherLocales() {
    const QLocale before;
    for (const QLocale::Language language : {QLocale::German, QLocale::French}) {
        QLocale::setDefault(QLocale(language));
        QSettings().remove(QStringLiteral("CameraViewer/robots"));
        fRobot->setSettings("head", {{"rate", KVValue(30.0)}});
        QWidget* viewer = fDriver->show(fRobot->port());
        QTRY_COMPARE(boxOf(viewer, "rateBox")->currentText(), QStringLiteral("30 a second"));
        QVERIFY(choose(viewer, "rateBox", QStringLiteral("15 a second")));
        QTRY_COMPARE(fRobot->settings("head")["rate"], KVValue(15.0));
        QTRY_VERIFY(statusOf(viewer).contains(QLatin1String("0.0 received")));
        delete viewer;
    }
    QLocale::setDefault(before);
}

OBVISTA_QTEST_MAIN(ViewingTest)
#include "viewing_test.moc"

// Both viewers in one window, connected to one replay: what the user does in one of them, both
// show.
#include <QAbstractItemModel>
#include <QApplication>
#include <QDockWidget>
#include <QLabel>
#include <QMouseEvent>
#include <QSlider>
#include <QStyleOptionSlider>
#include <QToolButton>
#include <QTreeView>
#include <QtTest>
#include <qt_test_main.h>

#include <memory>
#include <plugin_driver.h>
#include <recorded_walk.h>
#include <robot_process.h>

using namespace obvista_test;
using robot_test::a_millisecond;

namespace {

constexpr std::uint64_t a_second = 1000 * a_millisecond;
constexpr std::uint64_t a_length = 200 * a_second;

/** A robot with a number and a grey camera, both of which show the second. */
std::string recordWalk() {
    robot_test::RecordedWalk walk("docks.mcap");
    for (std::uint64_t second = 0; second <= a_length / a_second; ++second) {
        walk.set(second * a_second, "Second", static_cast<std::int64_t>(second));
        walk.addFrame(second * a_second, "head", static_cast<std::uint32_t>(second));
    }
    walk.finish();
    return walk.path();
}

QPoint handleOf(QSlider* slider) {
    QStyleOptionSlider option;
    option.initFrom(slider);
    option.orientation = slider->orientation();
    option.minimum = slider->minimum();
    option.maximum = slider->maximum();
    option.sliderPosition = slider->sliderPosition();
    option.sliderValue = slider->value();
    return slider->style()
        ->subControlRect(QStyle::CC_Slider, &option, QStyle::SC_SliderHandle, slider)
        .center();
}

void sendMouse(QWidget* widget, QEvent::Type type, const QPoint& place) {
    const bool isMove = type == QEvent::MouseMove;
    const bool isRelease = type == QEvent::MouseButtonRelease;
    QMouseEvent event(type, place, widget->mapToGlobal(place),
                      isMove ? Qt::NoButton : Qt::LeftButton,
                      isRelease ? Qt::NoButton : Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(widget, &event);
}

/** Drags the handle of a slider by a number of pixels, as a mouse does. */
void drag(QSlider* slider, int distance) {
    const QPoint begin = handleOf(slider);
    sendMouse(slider, QEvent::MouseButtonPress, begin);
    const int step = distance > 0 ? 5 : -5;
    for (int moved = step; moved != distance; moved += step) {
        sendMouse(slider, QEvent::MouseMove, begin + QPoint(moved, 0));
        QCoreApplication::processEvents();
    }
    sendMouse(slider, QEvent::MouseMove, begin + QPoint(distance, 0));
    sendMouse(slider, QEvent::MouseButtonRelease, begin + QPoint(distance, 0));
}

}  // namespace

class ReplayDocksTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init();
    void cleanup();

    void draggingOneTimeBarMovesBoth();
    void spacePlaysAndPausesBoth();

  private:
    template <class Widget>
    static Widget* xFind(const QWidget* viewer, const char* name) {
        return viewer->findChild<Widget*>(QLatin1String(name));
    }
    static QSlider* xSlider(const QWidget* viewer) {
        return xFind<QSlider>(viewer, "replaySlider");
    }
    static QString xPosition(QWidget* viewer) { return labelText(viewer, "replayPosition"); }
    static QString xPlayButton(const QWidget* viewer) {
        return xFind<QToolButton>(viewer, "replayPlay")->accessibleName();
    }
    /** Returns the second that the memory viewer shows; -1 if there is none. */
    int xSecondOfValue() const;
    /** Returns the second that the camera viewer shows. */
    int xSecondOfPicture() const;

    std::unique_ptr<RobotProcess> fRobot;
    std::unique_ptr<PluginDriver> fMemoryHost;
    std::unique_ptr<PluginDriver> fCameraHost;
    QWidget* fMemory = nullptr;
    QWidget* fCamera = nullptr;
};

void ReplayDocksTest::init() {
    static const std::string file = recordWalk();
    RobotProcess::Settings settings;
    settings.fArguments = {"--replay", file, "--paused"};
    fRobot = std::make_unique<RobotProcess>(settings);
    fMemoryHost = std::make_unique<PluginDriver>(QStringLiteral("memoryviewer"));
    fCameraHost = std::make_unique<PluginDriver>(QStringLiteral("cameraviewer"));
    fCameraHost->window().hide();
    QMainWindow& window = fMemoryHost->window();
    window.resize(1200, 800);
    fMemory = fMemoryHost->createWidget(fRobot->port());
    fCamera = fCameraHost->createWidget(fRobot->port());
    for (QWidget* viewer : {fMemory, fCamera}) {
        QDockWidget* dock = fMemoryHost->dock(viewer);
        QCOMPARE(dock->window(), &window);
    }
    QVERIFY(QTest::qWaitForWindowActive(&window));
    for (QWidget* viewer : {fMemory, fCamera}) {
        QTRY_VERIFY(xFind<QWidget>(viewer, "timeBar")->isVisible());
    }
    QTRY_COMPARE(xSecondOfValue(), 0);
    QTRY_COMPARE(xSecondOfPicture(), 0);
}

void ReplayDocksTest::cleanup() {
    fMemoryHost.reset();
    fCameraHost.reset();
    fRobot.reset();
}

int ReplayDocksTest::xSecondOfValue() const {
    const QAbstractItemModel* model = xFind<QTreeView>(fMemory, "memoryTree")->model();
    bool isNumber = false;
    const int second = model->index(0, 1).data().toString().toInt(&isNumber);
    return isNumber ? second : -1;
}

int ReplayDocksTest::xSecondOfPicture() const {
    auto* picture = xFind<QWidget>(fCamera, "cameraPicture");
    // Two large pixels are side by side; the left one shows the second.
    constexpr QPoint inTheLeft(-10, 0);
    return qGray(picture->grab().toImage().pixel(picture->rect().center() + inTheLeft));
}

void ReplayDocksTest::draggingOneTimeBarMovesBoth() {
    const auto agree = [this] {
        const int second = xSecondOfValue();
        return second > 0 && second == xSecondOfPicture() &&
               xPosition(fMemory) == xPosition(fCamera) &&
               xSlider(fMemory)->value() == xSlider(fCamera)->value();
    };
    drag(xSlider(fMemory), xSlider(fMemory)->width() / 2 / 5 * 5);
    QTRY_VERIFY(xSecondOfValue() > 50);
    QTRY_VERIFY2(agree(),
                 qPrintable(xPosition(fMemory) + QStringLiteral(", ") + xPosition(fCamera)));
    const int middle = xSecondOfValue();
    drag(xSlider(fCamera), -xSlider(fCamera)->width() / 4 / 5 * 5);
    QTRY_VERIFY(xSecondOfValue() < middle - 20);
    QTRY_VERIFY2(agree(),
                 qPrintable(xPosition(fMemory) + QStringLiteral(", ") + xPosition(fCamera)));
}

void ReplayDocksTest::spacePlaysAndPausesBoth() {
    const QString position = xPosition(fMemory);
    QTest::keyClick(xSlider(fMemory), Qt::Key_Space);
    for (const QWidget* viewer : {fMemory, fCamera}) {
        QTRY_COMPARE(xPlayButton(viewer), QStringLiteral("Pause"));
    }
    QTRY_VERIFY(xPosition(fCamera) != position);
    QTest::keyClick(xSlider(fCamera), Qt::Key_Space);
    for (const QWidget* viewer : {fMemory, fCamera}) {
        QTRY_COMPARE(xPlayButton(viewer), QStringLiteral("Play"));
    }
    QTRY_COMPARE(xPosition(fMemory), xPosition(fCamera));
}

OBVISTA_QTEST_MAIN(ReplayDocksTest)
#include "replay_docks_test.moc"

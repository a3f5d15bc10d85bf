// The time bar of a viewer: it appears for a replay, calls "KVReplay", and shows what the robot
// says.
#include "plain_link.h"

#include <obvista/viewer/viewer_widget.h>
#include <robaxi/kv_broker.h>
#include <robaxi/kv_module.h>
#include <robaxi/kv_value_table.h>

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QSettings>
#include <QSlider>
#include <QToolButton>
#include <QtTest>
#include <qt_test_main.h>

#include <atomic>
#include <limits>
#include <loopback_broker.h>
#include <memory>
#include <mutex>

using obvista_test::PlainLink;

namespace {

constexpr std::int64_t a_start = 1'700'000'000'000'000;
constexpr std::int64_t a_end = a_start + 100'000'000;

class Viewer : public obvista::ViewerWidget {
  public:
    Viewer(const std::shared_ptr<PlainLink>& link, const std::string& camera)
        : ViewerWidget(link, nullptr, nullptr) {
        auto* part = new QToolButton(this);
        layOut(new QWidget(this), {part}, part);
        setReplayCamera(camera);
    }
};

/** A robot with a module "KVReplay" that notes its calls. */
class ReplayRobot {
  public:
    explicit ReplayRobot(bool isReplay = true, const std::string& name = "Replay", int port = 0)
        : fBroker(obvista_test::createTestBroker(name, port)) {
        if (!isReplay) {
            return;
        }
        const auto module = std::make_shared<KVModule>("KVReplay", "a replay of a test");
        module->setValues(fTable);
        add("Start", a_start);
        add("End", a_end);
        add("Position", a_start);
        add("ClockOffset", 0);
        add("Playing", false);
        add("Speed", 1.0);
        add("Loop", false);
        add("Fault", "");
        module->bindMethod("play", [this] { note("play", "Playing", true); });
        module->bindMethod("pause", [this] { note("pause", "Playing", false); });
        module->bindMethod("seek", [this](std::int64_t time) {
            note("seek " + std::to_string(time - a_start), "Position", time);
            return time;
        });
        module->bindMethod("step", [this](std::int64_t count, const std::string& camera) {
            fIsStepping = true;
            const std::lock_guard lock(fSlowness);
            note("step " + std::to_string(count) + ' ' + camera, "Playing", false);
            return a_start;
        });
        module->bindMethod("setSpeed", [this](double speed) { note("speed", "Speed", speed); });
        module->bindMethod("setLoop", [this](bool loop) { note("loop", "Loop", loop); });
        fBroker->addModule(module);
    }

    int port() const { return fBroker->getPort(); }
    void set(const std::string& key, const KVValue& value) {
        fTable->setValue(fIds.at(key), value);
    }
    std::vector<std::string> calls() const {
        const std::lock_guard lock(fMutex);
        return fCalls;
    }
    std::string lastCall() const {
        const std::vector<std::string> all = calls();
        return all.empty() ? std::string() : all.back();
    }
    /** No step ends while the lock is held. */
    std::unique_lock<std::mutex> delaySteps() { return std::unique_lock(fSlowness); }
    bool isStepping() const { return fIsStepping; }
    KVValue value(const std::string& key) const { return fTable->getValue(key).fValue; }

  private:
    void add(const std::string& key, const KVValue& value) {
        KVKeyInfo info;
        info.fName = key;
        fIds[key] = fTable->addKey(info, value);
    }
    void note(const std::string& call, const std::string& key, const KVValue& value) {
        set(key, value);
        const std::lock_guard lock(fMutex);
        fCalls.push_back(call);
    }

    std::mutex fSlowness;
    std::atomic<bool> fIsStepping = false;
    mutable std::mutex fMutex;
    std::vector<std::string> fCalls;
    std::map<std::string, std::uint32_t> fIds;
    std::shared_ptr<KVValueTable> fTable = std::make_shared<KVValueTable>();
    boost::shared_ptr<KVBroker> fBroker;
};

}  // namespace

class TimeBarTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init();
    void cleanup();

    void standsOnlyInTheViewersOfAReplay();
    void showsWhereTheRobotIs();
    void survivesTimesOutsideTheCalendar();
    void seeksWhereTheUserDrags();
    void playsAndStepsByTheKeyboard();
    void addsStepsThatWaitForASlowRobot();
    void setsSpeedAndLoop();
    void twoViewersMoveTogether();
    void disappearsForARobotThatIsNotAReplay_data();
    void disappearsForARobotThatIsNotAReplay();
    void remainsForAReplayThatReturns();
    void everyControlHasAName();
    void endsWithItsLink();

  private:
    std::unique_ptr<Viewer> xOpen(const ReplayRobot& robot, const std::string& camera = "head");
    template <class Widget>
    Widget* xFind(const char* name, const QWidget* viewer = nullptr) const {
        return (viewer != nullptr ? viewer : fViewer.get())
            ->findChild<Widget*>(QLatin1String(name));
    }
    QSlider* xSlider() const { return xFind<QSlider>("replaySlider"); }
    /** Replaces the robot, and waits until the viewer has noticed the loss. */
    void xReplaceRobot(bool isReplay, const char* name);

    boost::shared_ptr<KVBroker> fBroker;
    std::unique_ptr<ReplayRobot> fRobot;
    std::shared_ptr<PlainLink> fLink;
    std::unique_ptr<Viewer> fViewer;
};

void TimeBarTest::init() {
    fBroker = KVBroker::createBroker({"Viewer"});
    fRobot = std::make_unique<ReplayRobot>();
    fViewer = xOpen(*fRobot);
    fViewer->show();
    QTRY_VERIFY(xFind<QWidget>("timeBar")->isVisible());
}

void TimeBarTest::cleanup() {
    QSettings().clear();
    fViewer.reset();
    fLink.reset();
    fRobot.reset();
    fBroker.reset();
}

std::unique_ptr<Viewer> TimeBarTest::xOpen(const ReplayRobot& robot, const std::string& camera) {
    fLink = std::make_shared<PlainLink>(fBroker, "127.0.0.1", robot.port(), 30.0);
    return std::make_unique<Viewer>(fLink, camera);
}

void TimeBarTest::standsOnlyInTheViewersOfAReplay() {
    const ReplayRobot robot(false);
    const std::unique_ptr<Viewer> viewer = xOpen(robot);
    viewer->show();
    // The other viewer has received a change, and so this one would have.
    fRobot->set("Position", a_end);
    QTRY_COMPARE(xSlider()->value(), xSlider()->maximum());
    QVERIFY(!xFind<QWidget>("timeBar", viewer.get())->isVisible());
}

void TimeBarTest::showsWhereTheRobotIs() {
    fRobot->set("Position", a_start + (a_end - a_start) / 4);
    QTRY_COMPARE(xSlider()->value(), xSlider()->maximum() / 4);
    QVERIFY(xFind<QLabel>("replayPosition")->text().endsWith(QLatin1String("0:25 of 1:40")));
    fRobot->set("Playing", true);
    QTRY_COMPARE(xFind<QToolButton>("replayPlay")->accessibleName(), QStringLiteral("Pause"));
    fRobot->set("Speed", 3.5);
    QTRY_COMPARE(xFind<QComboBox>("replaySpeed")->currentData().toDouble(), 3.5);
    fRobot->set("Speed", 2.0);
    QTRY_COMPARE(xFind<QComboBox>("replaySpeed")->currentData().toDouble(), 2.0);
    QCOMPARE(xFind<QComboBox>("replaySpeed")->findData(3.5), -1);
    fRobot->set("Fault", "chunk at byte 7 is <b>damaged</b>");
    QTRY_VERIFY(xFind<QLabel>("replayFault")->isVisible());
    QCOMPARE(xFind<QLabel>("replayFault")->text(),
             QStringLiteral("chunk at byte 7 is <b>damaged</b>"));
    fRobot->set("Fault", "");
    QTRY_VERIFY(!xFind<QLabel>("replayFault")->isVisible());
    // A robot that breaks the contract.
    fRobot->set("Position", "text");
    fRobot->set("Loop", true);
    QTRY_VERIFY(xFind<QCheckBox>("replayLoop")->isChecked());
    QCOMPARE(xSlider()->value(), xSlider()->maximum() / 4);
}

/** In the preset "asan", an overflow fails the test. */
void TimeBarTest::survivesTimesOutsideTheCalendar() {
    constexpr std::int64_t lowest = std::numeric_limits<std::int64_t>::min();
    constexpr std::int64_t highest = std::numeric_limits<std::int64_t>::max();
    fRobot->set("Start", lowest);
    fRobot->set("End", highest);
    fRobot->set("ClockOffset", lowest);
    fRobot->set("Position", highest);
    QTRY_COMPARE(xSlider()->value(), xSlider()->maximum());
    const obvista::ReplayState state = fViewer->replayState();
    QVERIFY(state.fStart >= 0 && state.fPosition > a_end);
    QCOMPARE(state.fPosition, state.fEnd);
    QVERIFY(state.robotTime(state.fEnd) > state.fEnd);
    fRobot->set("Position", lowest);
    QTRY_COMPARE(xSlider()->value(), 0);
    fRobot->set("Start", highest);
    fRobot->set("End", 1);
    QTRY_COMPARE(fViewer->replayState().fEnd, 1);
    xSlider()->setValue(xSlider()->maximum() / 2);
    QTRY_VERIFY(!fRobot->calls().empty());
}

void TimeBarTest::seeksWhereTheUserDrags() {
    QSlider* const slider = xSlider();
    slider->setSliderDown(true);
    for (int place = 0; place <= slider->maximum() / 2; place += 10) {
        slider->setValue(place);
    }
    slider->setSliderDown(false);
    const std::int64_t half = (a_end - a_start) / 2;
    QTRY_COMPARE(fRobot->lastCall(), "seek " + std::to_string(half));
    QTRY_COMPARE(slider->value(), slider->maximum() / 2);
    QTest::keyClick(slider, Qt::Key_End);
    QTRY_COMPARE(fRobot->lastCall(), "seek " + std::to_string(a_end - a_start));
    QTest::keyClick(slider, Qt::Key_Home);
    QTRY_COMPARE(fRobot->lastCall(), std::string("seek 0"));
}

void TimeBarTest::playsAndStepsByTheKeyboard() {
    QSlider* const slider = xSlider();
    QTest::keyClick(slider, Qt::Key_Space);
    QTRY_COMPARE(fRobot->lastCall(), std::string("play"));
    QTRY_COMPARE(xFind<QToolButton>("replayPlay")->accessibleName(), QStringLiteral("Pause"));
    QTest::keyClick(slider, Qt::Key_Space);
    QTRY_COMPARE(fRobot->lastCall(), std::string("pause"));
    QTest::keyClick(slider, Qt::Key_Right);
    QTRY_COMPARE(fRobot->lastCall(), std::string("step 1 head"));
    QTest::keyClick(slider, Qt::Key_Left);
    QTRY_COMPARE(fRobot->lastCall(), std::string("step -1 head"));
    xFind<QToolButton>("replayForward")->click();
    QTRY_COMPARE(fRobot->lastCall(), std::string("step 1 head"));
    QTRY_COMPARE(xFind<QToolButton>("replayPlay")->accessibleName(), QStringLiteral("Play"));
    xFind<QToolButton>("replayPlay")->click();
    QTRY_COMPARE(fRobot->lastCall(), std::string("play"));
}

void TimeBarTest::addsStepsThatWaitForASlowRobot() {
    const auto press = [this](Qt::Key key, int times) {
        for (int i = 0; i < times; ++i) {
            QTest::keyPress(xSlider(), key);
        }
    };
    auto slowness = fRobot->delaySteps();
    press(Qt::Key_Right, 1);
    QTRY_VERIFY(fRobot->isStepping());
    press(Qt::Key_Right, 1500);  // more than a robot accepts in one call
    press(Qt::Key_Left, 30);
    QTest::keyClick(xSlider(), Qt::Key_End);
    press(Qt::Key_Left, 2);
    slowness.unlock();
    const std::vector<std::string> expected{"step 1 head",
                                            "step 1000 head",
                                            "step 500 head",
                                            "step -30 head",
                                            "seek " + std::to_string(a_end - a_start),
                                            "step -2 head"};
    QTRY_COMPARE(fRobot->calls(), expected);
}

void TimeBarTest::setsSpeedAndLoop() {
    auto* const speed = xFind<QComboBox>("replaySpeed");
    speed->setFocus();
    QTest::keyClick(speed, Qt::Key_End);
    QTRY_COMPARE(fRobot->value("Speed").toFloat(), 50.0);
    xFind<QCheckBox>("replayLoop")->click();
    QTRY_VERIFY(fRobot->value("Loop").toBool());
}

void TimeBarTest::twoViewersMoveTogether() {
    const std::unique_ptr<Viewer> other = xOpen(*fRobot, "");
    other->show();
    QTRY_VERIFY(xFind<QWidget>("timeBar", other.get())->isVisible());
    xSlider()->setValue(xSlider()->maximum() / 5);
    QTRY_COMPARE(xFind<QSlider>("replaySlider", other.get())->value(), xSlider()->maximum() / 5);
    xFind<QToolButton>("replayPlay", other.get())->click();
    QTRY_COMPARE(xFind<QToolButton>("replayPlay")->accessibleName(), QStringLiteral("Pause"));
}

void TimeBarTest::xReplaceRobot(bool isReplay, const char* name) {
    QSettings().setValue(QStringLiteral("Viewers/reconnect"), true);
    const int port = fRobot->port();
    fRobot.reset();
    QTRY_COMPARE(fViewer->linkState(), obvista::LinkState::Interrupted);
    fRobot = std::make_unique<ReplayRobot>(isReplay, name, port);
}

void TimeBarTest::disappearsForARobotThatIsNotAReplay_data() {
    QTest::addColumn<QString>("name");
    QTest::newRow("the robot itself") << QStringLiteral("Replay");
    QTest::newRow("another robot") << QStringLiteral("Other");
}

void TimeBarTest::disappearsForARobotThatIsNotAReplay() {
    QFETCH(QString, name);
    QVERIFY(fViewer->replayState().isReplay());
    xReplaceRobot(false, qPrintable(name));
    auto* const connection = xFind<QAbstractButton>("connectButton");
    QTRY_VERIFY(connection->isVisible() || fViewer->linkState() == obvista::LinkState::Connected);
    if (connection->isVisible()) {
        QVERIFY(xFind<QWidget>("timeBar")->isVisible());
        connection->click();
    }
    QTRY_VERIFY(!xFind<QWidget>("timeBar")->isVisible());
    QVERIFY(!fViewer->replayState().isReplay());
    QCOMPARE(fViewer->robotName(), name);
}

void TimeBarTest::remainsForAReplayThatReturns() {
    bool hasGone = false;
    connect(fViewer.get(), &Viewer::replayChanged, this,
            [&] { hasGone = hasGone || !fViewer->replayState().isReplay(); });
    xReplaceRobot(true, "Replay");
    fRobot->set("Position", a_end);
    QTRY_COMPARE(xSlider()->value(), xSlider()->maximum());
    QVERIFY(xFind<QWidget>("timeBar")->isVisible());
    QVERIFY(!hasGone);
}

void TimeBarTest::everyControlHasAName() {
    for (const char* const name : {"replaySlider", "replayBack", "replayPlay", "replayForward"}) {
        QVERIFY2(!xFind<QWidget>(name)->accessibleName().isEmpty(), name);
    }
    for (const char* const name : {"replaySlider", "replayBack", "replayPlay", "replayForward",
                                   "replaySpeed", "replayLoop"}) {
        QVERIFY2((xFind<QWidget>(name)->focusPolicy() & Qt::TabFocus) != 0, name);
        QVERIFY2(!xFind<QWidget>(name)->toolTip().isEmpty(), name);
    }
    // In the order in which they stand.
    QStringList names;
    for (const QWidget* next = xSlider()->nextInFocusChain(); next != xSlider();
         next = next->nextInFocusChain()) {
        if (next->objectName().startsWith(QLatin1String("replay")) &&
            (next->focusPolicy() & Qt::TabFocus) != 0) {
            names += next->objectName();
        }
    }
    QCOMPARE(names, QStringList({QStringLiteral("replayBack"), QStringLiteral("replayPlay"),
                                 QStringLiteral("replayForward"), QStringLiteral("replaySpeed"),
                                 QStringLiteral("replayLoop")}));
}

void TimeBarTest::endsWithItsLink() {
    fLink->close();
    QTRY_VERIFY(!xFind<QWidget>("timeBar")->isEnabled());
    xFind<QToolButton>("replayPlay")->click();
    xSlider()->setValue(7);
    QVERIFY(fRobot->calls().empty());
}

OBVISTA_QTEST_MAIN(TimeBarTest)
#include "time_bar_test.moc"

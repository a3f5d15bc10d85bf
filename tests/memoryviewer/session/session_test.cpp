#include "memory_robot.h"
#include "recording/change_recorder.h"
#include "session/key_store.h"
#include "session/memory_link.h"
#include "session/memory_session.h"

#include <robaxi/kv_broker.h>

#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>
#include <qt_test_main.h>

#include <memory>

using namespace memoryviewer;
using obvista::LinkState;
using obvista_test::MemoryRobot;

Q_DECLARE_METATYPE(std::vector<std::uint32_t>)

namespace {

constexpr int a_rate = 20;

using Ids = std::vector<std::uint32_t>;

/** Returns the needs of a viewer that is seen. */
SubscriptionNeeds needs(const Ids& visible, const Ids& watched = {}, const Ids& plotted = {}) {
    SubscriptionNeeds needs;
    needs.fIsSeen = true;
    needs.fVisible = visible;
    needs.fWatched = watched;
    needs.fPlotted = plotted;
    return needs;
}

}  // namespace

/** Tests a session with a robot that has the keys Left and Right, without a window. */
class SessionTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init();
    void cleanup();
    void takesTheNeededValues();
    void takesTheValuesBeforeTheEnd();
    void reportsTheReasonWhyThereAreNoValues();
    void waitsForTheMemoryOfARobotThatReturned();
    void reportsOnceThatUpdatesStop();
    void beginsPlotsOfKeysThatAreAlreadySubscribed();
    void recordsWatchedAndPlottedKeysOrAll_data();
    void recordsWatchedAndPlottedKeysOrAll();
    void marksKeysThatAreLeftOut();

  private:
    void xConnect(MemoryRobot::Memory memory);
    std::uint32_t xId(const char* name) const { return fSession->keys().find(name)->fInfo.fId; }
    KVValue xValue(const char* name) const { return fSession->keys().find(name)->fValue; }

    std::unique_ptr<MemoryRobot> fRobot;
    std::shared_ptr<MemoryLink> fLink;
    std::unique_ptr<MemorySession> fSession;
};

void SessionTest::init() {
    qRegisterMetaType<Ids>("std::vector<std::uint32_t>");
    xConnect(MemoryRobot::Memory::Offered);
    QCOMPARE(fSession->situation().fPhase, MemoryPhase::WaitingForKeys);
    QTRY_COMPARE(fSession->situation().fPhase, MemoryPhase::Live);
    QTRY_COMPARE(fSession->situation().fKeys, std::size_t(2));
}

void SessionTest::xConnect(MemoryRobot::Memory memory) {
    cleanup();
    fRobot = std::make_unique<MemoryRobot>("TestRobot", memory);
    fRobot->set("Left", 1);
    fRobot->set("Right", 2);
    const auto broker = KVBroker::createBroker({"SessionTest"});
    fLink = std::make_shared<MemoryLink>(broker, "127.0.0.1", fRobot->port(), 5);
    fSession = std::make_unique<MemorySession>(fLink, nullptr);
    fLink->notice().set([this] {
        QMetaObject::invokeMethod(
            fSession.get(),
            [this] {
                fLink->notice().clear();
                fSession->takeNews();
            },
            Qt::QueuedConnection);
    });
}

void SessionTest::cleanup() {
    if (fLink) {
        fLink->closeSilently();
    }
    fSession.reset();
    fLink.reset();
    fRobot.reset();
}

void SessionTest::takesTheNeededValues() {
    fSession->subscribe(needs({xId("Left")}), a_rate);
    QTRY_COMPARE(xValue("Left"), KVValue(1));
    fRobot->set("Left", 3);
    fRobot->set("Right", 4);
    QTRY_COMPARE(xValue("Left"), KVValue(3));
    QVERIFY(!fSession->keys().find("Right")->hasValue());

    fSession->subscribe(needs({xId("Right")}), a_rate);
    QTRY_COMPARE(xValue("Right"), KVValue(4));
}

void SessionTest::takesTheValuesBeforeTheEnd() {
    QTemporaryDir folder;
    ChangeRecorder& recorder = fSession->recorder();
    recorder.start(folder.filePath("values.csv"));
    QSignalSpy phases(fSession.get(), &MemorySession::phaseChanged);
    fLink->closeSilently();
    fLink->feed().valuesChanged({{xId("Left"), KVValue(7), 1'700'000'000'000'000}});

    fSession->end(LinkState::Lost);

    QCOMPARE(xValue("Left"), KVValue(7));
    QCOMPARE(fSession->situation().fPhase, MemoryPhase::Lost);
    QVERIFY(fSession->situation().isOver());
    QCOMPARE(phases.count(), 1);
    QTRY_VERIFY(!recorder.isRecording());
}

void SessionTest::reportsTheReasonWhyThereAreNoValues() {
    xConnect(MemoryRobot::Memory::Missing);
    QTRY_COMPARE(fSession->situation().fPhase, MemoryPhase::Refused);
    QVERIFY(fSession->situation().isOver());
    QVERIFY(fSession->situation().fRefusal.contains("KVMemory"));
}

void SessionTest::waitsForTheMemoryOfARobotThatReturned() {
    const int port = fRobot->port();
    fRobot.reset();
    QTRY_VERIFY(fLink->isLost());
    fLink->startReconnecting();
    fSession->interrupt();
    fRobot = std::make_unique<MemoryRobot>("TestRobot", MemoryRobot::Memory::Missing, port);
    QVERIFY(obvista_test::waitFor(
        [this] { return fLink->reconnect() == MemoryLink::Return::SameRobot; }));
    fSession->resume();
    QSignalSpy seconds(fSession.get(), &MemorySession::secondPassed);
    constexpr int longerThanAStart = 7;
    QTRY_VERIFY_WITH_TIMEOUT(seconds.count() >= longerThanAStart || fSession->situation().isOver(),
                             30000);
    QCOMPARE(fSession->situation().fPhase, MemoryPhase::WaitingForKeys);
    QCOMPARE(fSession->situation().fKeys, std::size_t(2));
    fRobot->set("Left", 5);
    fRobot->offerMemory();
    QTRY_COMPARE(fSession->situation().fPhase, MemoryPhase::Live);
    // The other key is not announced again.
    QTRY_COMPARE_WITH_TIMEOUT(fSession->situation().fKeys, std::size_t(1), 30000);
}

void SessionTest::reportsOnceThatUpdatesStop() {
    QSignalSpy stops(fSession.get(), &MemorySession::updatesStopped);
    SubscriptionNeeds seen = needs({});
    SubscriptionNeeds paused = seen;
    paused.fIsPaused = true;
    fSession->subscribe(seen, a_rate);
    QVERIFY(fSession->isUpdating());
    QCOMPARE(stops.count(), 0);
    fSession->subscribe(paused, a_rate);
    fSession->subscribe(paused, a_rate);
    fSession->subscribe({}, a_rate);
    QVERIFY(!fSession->isUpdating());
    QCOMPARE(stops.count(), 1);
    fSession->subscribe(seen, a_rate);
    fSession->subscribe({}, a_rate);
    QCOMPARE(stops.count(), 2);
}

/** The robot sends the current values of newly subscribed keys only. */
void SessionTest::beginsPlotsOfKeysThatAreAlreadySubscribed() {
    QSignalSpy begun(fSession.get(), &MemorySession::plottingBegan);
    const Ids left{xId("Left")};
    const Ids both{xId("Left"), xId("Right")};
    fSession->subscribe(needs(left), a_rate);
    fSession->subscribe(needs(left, {}, both), a_rate);
    fSession->subscribe(needs(left, {}, both), a_rate);
    QCOMPARE(begun.count(), 1);
    QCOMPARE(begun[0][0].value<Ids>(), left);
}

void SessionTest::recordsWatchedAndPlottedKeysOrAll_data() {
    QTest::addColumn<bool>("isLeftWatched");
    QTest::addColumn<bool>("isLeftPlotted");
    QTest::addColumn<QByteArray>("expected");
    QTest::newRow("none, so all") << false << false << QByteArray("Left Right");
    QTest::newRow("watched") << true << false << QByteArray("Left");
    QTest::newRow("plotted") << false << true << QByteArray("Left");
    QTest::newRow("both") << true << true << QByteArray("Left");
}

void SessionTest::recordsWatchedAndPlottedKeysOrAll() {
    QFETCH(bool, isLeftWatched);
    QFETCH(bool, isLeftPlotted);
    QFETCH(QByteArray, expected);
    const Ids left{xId("Left")};
    const Ids both{xId("Left"), xId("Right")};
    const Ids none;
    const SubscriptionNeeds needed =
        needs(both, isLeftWatched ? left : none, isLeftPlotted ? left : none);
    fSession->subscribe(needed, a_rate);
    QTRY_VERIFY(xValue("Left") == KVValue(1) && xValue("Right") == KVValue(2));

    QTemporaryDir folder;
    QFile file(folder.filePath("values.csv"));
    ChangeRecorder& recorder = fSession->recorder();
    QSignalSpy finished(&recorder, &ChangeRecorder::finished);
    recorder.start(file.fileName());
    fSession->subscribe(needed, a_rate);
    fSession->subscribe(needed, a_rate);
    recorder.stop();
    QTRY_COMPARE(finished.count(), 1);

    QVERIFY(file.open(QIODevice::ReadOnly));
    QByteArrayList names;
    for (const QByteArray& row : file.readAll().trimmed().split('\n').mid(1)) {
        names += row.split(',').at(2);
    }
    QCOMPARE(names.join(' '), expected);
}

void SessionTest::marksKeysThatAreLeftOut() {
    const Ids both{xId("Left"), xId("Right")};
    fSession->subscribe(needs(both, both), a_rate);
    QTRY_VERIFY(xValue("Left") == KVValue(1) && xValue("Right") == KVValue(2));
    QTemporaryDir folder;
    QFile file(folder.filePath("values.csv"));
    ChangeRecorder& recorder = fSession->recorder();
    recorder.start(file.fileName());
    fSession->subscribe(needs(both, both), a_rate);
    fSession->subscribe(needs(both, {xId("Left")}), a_rate);
    fSession->subscribe(needs(both, {xId("Left")}), a_rate);
    recorder.stop();
    QTRY_VERIFY(!recorder.isRecording());

    QVERIFY(file.open(QIODevice::ReadOnly));
    QByteArrayList gaps;
    for (const QByteArray& row : file.readAll().trimmed().split('\n')) {
        const QByteArrayList fields = row.trimmed().split(',');
        if (fields.last() == "gap") {
            gaps += fields.at(2);
        }
    }
    QCOMPARE(gaps, QByteArrayList{"Right"});
}

OBVISTA_QTEST_MAIN(SessionTest)

#include "session_test.moc"

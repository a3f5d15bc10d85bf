#include "editing/write_queue.h"

#include "editing/robot_writer.h"

#include <robaxi/kv_broker.h>
#include <robaxi/kv_connection.h>
#include <robaxi/kv_error.h>
#include <robaxi/kv_module.h>

#include <QtTest>
#include <qt_test_main.h>

#include <condition_variable>
#include <loopback_broker.h>
#include <memory>
#include <mutex>
#include <vector>

using namespace memoryviewer;
using Phase = WriteState::Phase;

namespace {

constexpr std::uint32_t a_id = 1;
constexpr std::uint32_t a_otherId = 5;

/** A robot that accepts writes, refuses values below 0, and may be slow. */
class Robot {
  public:
    Robot() : fBroker(obvista_test::createTestBroker("TestRobot")) {
        const auto module = std::make_shared<KVModule>("KVMemory", "values of a test");
        module->bindMethod({"setData", "setData(key: string, value: value)", ""},
                           {KVValue::Type::String, KVValue::Type::Nothing},
                           [this](const KVValue::List& arguments) {
                               xTake(arguments[1].toInt());
                               return KVValue();
                           });
        fBroker->addModule(module);
        fPort = fBroker->getPort();
    }
    ~Robot() { setSlow(false); }

    int port() const { return fPort; }
    void setSlow(bool isSlow) {
        const std::lock_guard<std::mutex> lock(fMutex);
        fIsSlow = isSlow;
        fWake.notify_all();
    }
    std::vector<std::int64_t> taken() {
        const std::lock_guard<std::mutex> lock(fMutex);
        return fTaken;
    }

  private:
    void xTake(std::int64_t value) {
        std::unique_lock<std::mutex> lock(fMutex);
        fWake.wait(lock, [this] { return !fIsSlow; });
        if (value < 0) {
            throw KVError(KVError::Cause::RaisedByModule, "It <b>cannot</b>\nbe below 0.");
        }
        fTaken.push_back(value);
    }

    std::mutex fMutex;
    std::condition_variable fWake;
    bool fIsSlow = false;
    std::vector<std::int64_t> fTaken;
    boost::shared_ptr<KVBroker> fBroker;
    int fPort = 0;
};

}  // namespace

class WriteQueueTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init();
    void cleanup();
    void writesAndSaysThatItIsAccepted();
    void givesTheRobotsReasonForARefusal();
    void isPendingWithoutHoldingTheUser();
    void keepsTheStateOfTheLastWriteOfAKey();
    void undoesTheLastWriteAndTheUndoing();
    void undoesNothingThatWasRefused();
    void saysWhenThereIsNoRobot();
    void givesUpWhatWaits();
    void refusesEveryWriteOnceGivenUp();
    void forgetsWhatCanBeUndone();
    void endsWhileTheRobotIsSlow();

  private:
    Phase xPhase() const { return fQueue->state(a_id)->fPhase; }
    void xWrite(int before, int value) {
        fQueue->write({a_id, "Key"}, KVValue(before), KVValue(value));
    }

    std::unique_ptr<RobotWriter> xMakeWriter() {
        const auto broker = KVBroker::createBroker({"WriteQueueTest"});
        fConnection = KVConnection::open(broker, "127.0.0.1", fRobot->port(), 5);
        return std::make_unique<RobotWriter>(fConnection, 5);
    }

    std::unique_ptr<Robot> fRobot;
    std::shared_ptr<KVConnection> fConnection;
    std::unique_ptr<WriteQueue> fQueue;
};

void WriteQueueTest::init() {
    fRobot = std::make_unique<Robot>();
    fQueue = std::make_unique<WriteQueue>(xMakeWriter());
}

void WriteQueueTest::cleanup() {
    fQueue.reset();
    fRobot.reset();
}

void WriteQueueTest::writesAndSaysThatItIsAccepted() {
    std::vector<Phase> phases;
    connect(fQueue.get(), &WriteQueue::stateChanged, this,
            [this, &phases](std::uint32_t id) { phases.push_back(fQueue->state(id)->fPhase); });
    QVERIFY(!fQueue->state(a_id));
    xWrite(0, 7);
    QCOMPARE(int(xPhase()), int(Phase::Pending));
    QVERIFY(fQueue->state(a_id)->fValue == KVValue(7));
    QTRY_COMPARE(int(xPhase()), int(Phase::Accepted));
    QCOMPARE(phases, (std::vector<Phase>{Phase::Pending, Phase::Accepted}));
    QCOMPARE(fRobot->taken(), std::vector<std::int64_t>{7});
    fQueue->disconnect(this);
    const WriteState* state = fQueue->state(a_id);
    QVERIFY(state->fSinceAnswer.isValid());
    QVERIFY(!fQueue->state(a_id + 1));
}

void WriteQueueTest::givesTheRobotsReasonForARefusal() {
    QString reason;
    connect(fQueue.get(), &WriteQueue::refused, this,
            [&reason](const std::string&, const QString& text) { reason = text; });
    xWrite(0, -1);
    QTRY_COMPARE(int(xPhase()), int(Phase::Refused));
    QVERIFY2(reason.contains(QStringLiteral("It <b>cannot</b>\\nbe below 0.")), qPrintable(reason));
    QCOMPARE(fQueue->state(a_id)->fReason, reason);
}

void WriteQueueTest::isPendingWithoutHoldingTheUser() {
    fRobot->setSlow(true);
    xWrite(0, 1);
    xWrite(1, 2);
    QCOMPARE(int(xPhase()), int(Phase::Pending));
    QVERIFY(!fQueue->state(a_id)->fSinceAnswer.isValid());
    QVERIFY(!fQueue->canUndo());
    fRobot->setSlow(false);
    QTRY_COMPARE(int(xPhase()), int(Phase::Accepted));
    QCOMPARE(fRobot->taken(), (std::vector<std::int64_t>{1, 2}));
}

void WriteQueueTest::keepsTheStateOfTheLastWriteOfAKey() {
    fRobot->setSlow(true);
    xWrite(0, -5);
    xWrite(0, 5);
    fRobot->setSlow(false);
    QTRY_VERIFY(fQueue->canUndo());
    QCOMPARE(int(xPhase()), int(Phase::Accepted));
}

void WriteQueueTest::undoesTheLastWriteAndTheUndoing() {
    xWrite(3, 7);
    QTRY_VERIFY(fQueue->canUndo());
    fQueue->undo();
    QVERIFY(!fQueue->canUndo());
    QTRY_VERIFY(fQueue->canUndo());
    fQueue->undo();
    QTRY_VERIFY(fQueue->canUndo());
    QCOMPARE(fRobot->taken(), (std::vector<std::int64_t>{7, 3, 7}));
}

void WriteQueueTest::undoesNothingThatWasRefused() {
    xWrite(1, 2);
    QTRY_VERIFY(fQueue->canUndo());
    xWrite(2, -1);
    QTRY_VERIFY(fQueue->canUndo());
    fQueue->undo();
    QTRY_VERIFY(fQueue->canUndo());
    QCOMPARE(fRobot->taken(), (std::vector<std::int64_t>{2, 1}));
}

void WriteQueueTest::saysWhenThereIsNoRobot() {
    fRobot.reset();
    xWrite(0, 1);
    QTRY_COMPARE(int(xPhase()), int(Phase::Refused));
    QVERIFY(!fQueue->state(a_id)->fReason.isEmpty());
    QVERIFY(!fQueue->canUndo());
}

void WriteQueueTest::givesUpWhatWaits() {
    fRobot->setSlow(true);
    fQueue->write({a_otherId, "Other"}, KVValue(0), KVValue(1));
    xWrite(0, 2);
    xWrite(0, 3);
    fQueue->giveUp(QStringLiteral("The robot is lost."));
    // A write in progress may no longer be waiting.
    QTRY_VERIFY(xPhase() == Phase::Refused);
    QCOMPARE(fQueue->state(a_id)->fReason, QStringLiteral("The robot is lost."));
    fRobot->setSlow(false);
    QTRY_VERIFY(fQueue->state(a_otherId)->fPhase != Phase::Pending);
    QVERIFY(fRobot->taken().size() <= 1);
}

/** The robot that answers at the address may be another one. */
void WriteQueueTest::refusesEveryWriteOnceGivenUp() {
    xWrite(0, 1);
    QTRY_VERIFY(fQueue->canUndo());
    fQueue->giveUp(QStringLiteral("The robot is lost."));
    xWrite(1, 2);
    QTRY_COMPARE(int(xPhase()), int(Phase::Refused));
    QCOMPARE(fQueue->state(a_id)->fReason, QStringLiteral("The robot is lost."));
    fQueue->undo();
    QTRY_COMPARE(int(xPhase()), int(Phase::Refused));
    QCOMPARE(fRobot->taken(), std::vector<std::int64_t>{1});

    fQueue->setWriter(xMakeWriter());
    xWrite(1, 3);
    QTRY_COMPARE(int(xPhase()), int(Phase::Accepted));
    QCOMPARE(fRobot->taken(), (std::vector<std::int64_t>{1, 3}));
}

void WriteQueueTest::forgetsWhatCanBeUndone() {
    xWrite(0, 1);
    QTRY_VERIFY(fQueue->canUndo());
    fQueue->forgetUndo();
    QVERIFY(!fQueue->canUndo());
}

void WriteQueueTest::endsWhileTheRobotIsSlow() {
    fRobot->setSlow(true);
    xWrite(0, 1);
    QElapsedTimer time;
    time.start();
    fQueue.reset();
    QVERIFY2(time.elapsed() < 4500, "the time-out of the write is five seconds");
}

OBVISTA_QTEST_MAIN(WriteQueueTest)
#include "write_queue_test.moc"

#include "session/history_client.h"

#include <obvista/viewer/notice.h>
#include <robaxi/kv_broker.h>
#include <robaxi/kv_connection.h>
#include <robaxi/kv_error.h>
#include <robaxi/kv_module.h>

#include <QtTest>
#include <qt_test_main.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <loopback_broker.h>
#include <memory>
#include <string>
#include <utility>
#include <vector>

using namespace memoryviewer;
using obvista_test::createTestBroker;

namespace {

/** A robot with a replay, and a client of its histories. */
class Replay {
  public:
    using Answer = std::function<KVValue::Map(const std::string& key)>;

    explicit Replay(const Answer& answer) {
        const auto replay = std::make_shared<KVModule>("KVReplay", "");
        replay->bindMethod(
            "getHistory",
            [answer](const std::string& key, std::int64_t, std::int64_t, std::int64_t) {
                return answer(key);
            },
            "");
        fRobot->addModule(replay);
        fClient = std::make_unique<HistoryClient>(
            KVConnection::open(fBroker, "127.0.0.1", fRobot->getPort(), 30), fNotice);
    }

    HistoryClient& client() { return *fClient; }

    /** Returns all answers until now. */
    const std::vector<KeyHistory>& answers() {
        for (KeyHistory& answer : fClient->take()) {
            fAnswers.push_back(std::move(answer));
        }
        return fAnswers;
    }

  private:
    const boost::shared_ptr<KVBroker> fRobot = createTestBroker("robot");
    const boost::shared_ptr<KVBroker> fBroker = createTestBroker("client");
    obvista::Notice fNotice;
    std::unique_ptr<HistoryClient> fClient;
    std::vector<KeyHistory> fAnswers;
};

KVValue::Map oneNumber() {
    return {{"times", KVValue::List{1}},
            {"values", KVValue::List{2.0}},
            {"thinned", false},
            {"complete", true}};
}

}  // namespace

/** Tests requests to a replay that is busy at first, or all the time. */
class HistoryClientTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void requestsAgainWhatABusyReplayHasRefused();
    void doesNotRequestAgainWhatIsNotWantedAnyMore();
};

void HistoryClientTest::requestsAgainWhatABusyReplayHasRefused() {
    constexpr int refused = 2;
    std::atomic<int> calls{0};
    Replay replay([&calls](const std::string& key) {
        if (++calls <= refused) {
            throw KVError(KVError::Cause::TooMany, "Request it again.");
        }
        if (key != "Arm") {
            throw KVError(KVError::Cause::InvalidArgument, "There is no such key.");
        }
        return oneNumber();
    });
    replay.client().request({{"Arm", 0, 10}, {"Leg", 0, 10}});
    QTRY_COMPARE(replay.answers().size(), std::size_t(2));
    const std::vector<KeyHistory>& answers = replay.answers();
    QVERIFY(!answers[0].fHasFailed);
    QCOMPARE(answers[0].fPoints.size(), std::size_t(1));
    QVERIFY(answers[1].fHasFailed);
    QCOMPARE(calls.load(), refused + 2);
}

void HistoryClientTest::doesNotRequestAgainWhatIsNotWantedAnyMore() {
    std::atomic<int> refused{0};
    Replay replay([&refused](const std::string& key) {
        if (key == "Arm") {
            ++refused;
            throw KVError(KVError::Cause::TooMany, "Request it again.");
        }
        return oneNumber();
    });
    replay.client().request({{"Arm", 0, 10}});
    QTRY_VERIFY(refused >= 1);
    replay.client().request({{"Leg", 0, 10}});
    QTRY_COMPARE(replay.answers().size(), std::size_t(1));
    QCOMPARE(replay.answers()[0].fRequest.fKey, std::string("Leg"));
    QVERIFY(!replay.answers()[0].fHasFailed);
}

OBVISTA_QTEST_MAIN(HistoryClientTest)
#include "history_client_test.moc"

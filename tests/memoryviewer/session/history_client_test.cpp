#include "session/history_client.h"

#include <obvista/viewer/notice.h>
#include <robaxi/kv_broker.h>
#include <robaxi/kv_connection.h>
#include <robaxi/kv_error.h>
#include <robaxi/kv_module.h>

#include <QtTest>
#include <qt_test_main.h>

#include <atomic>
#include <loopback_broker.h>
#include <memory>
#include <string>
#include <vector>

using namespace memoryviewer;
using obvista_test::createTestBroker;

/** Tests requests to a replay that is busy at first. */
class HistoryClientTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void requestsAgainWhatABusyReplayHasRefused();
};

void HistoryClientTest::requestsAgainWhatABusyReplayHasRefused() {
    constexpr int refused = 2;
    std::atomic<int> calls{0};
    const auto robot = createTestBroker("robot");
    const auto replay = std::make_shared<KVModule>("KVReplay", "");
    replay->bindMethod(
        "getHistory",
        [&calls](const std::string& key, std::int64_t, std::int64_t, std::int64_t) -> KVValue::Map {
            if (++calls <= refused) {
                throw KVError(KVError::Cause::TooMany, "Request it again.");
            }
            if (key != "Arm") {
                throw KVError(KVError::Cause::InvalidArgument, "There is no such key.");
            }
            return {{"times", KVValue::List{1}},
                    {"values", KVValue::List{2.0}},
                    {"thinned", false},
                    {"complete", true}};
        },
        "");
    robot->addModule(replay);
    const auto broker = createTestBroker("client");
    obvista::Notice notice;
    HistoryClient client(KVConnection::open(broker, "127.0.0.1", robot->getPort(), 30), notice);
    client.request({{"Arm", 0, 10}, {"Leg", 0, 10}});
    std::vector<KeyHistory> answers;
    const auto count = [&] {
        for (KeyHistory& answer : client.take()) {
            answers.push_back(std::move(answer));
        }
        return answers.size();
    };
    QTRY_COMPARE(count(), std::size_t(2));
    QVERIFY(!answers[0].fHasFailed);
    QCOMPARE(answers[0].fPoints.size(), std::size_t(1));
    QVERIFY(answers[1].fHasFailed);
    QCOMPARE(calls.load(), refused + 2);
}

OBVISTA_QTEST_MAIN(HistoryClientTest)
#include "history_client_test.moc"

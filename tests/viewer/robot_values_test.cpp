#include <obvista/viewer/robot_values.h>
#include <robaxi/kv_broker.h>
#include <robaxi/kv_connection.h>
#include <robaxi/kv_module.h>
#include <robaxi/kv_value_table.h>

#include <gtest/gtest.h>

#include <atomic>
#include <eventually.h>
#include <loopback_broker.h>
#include <map>
#include <memory>
#include <string>
#include <utility>

using obvista::RobotValues;

namespace {

constexpr double a_rate = 100;
constexpr double a_timeOut = 30;

/** A robot with values, and a connection to it. */
class ShownRobot {
  public:
    ShownRobot() {
        fModule->setValues(fTable);
        fRobot->addModule(fModule);
        fConnection = KVConnection::open(KVBroker::createBroker({"Viewer"}), "127.0.0.1",
                                         fRobot->getPort(), a_timeOut);
    }

    std::uint32_t add(const std::string& name, const KVValue& value) {
        KVKeyInfo key;
        key.fName = name;
        return fTable->addKey(key, value);
    }
    KVValueTable& table() { return *fTable; }
    const std::shared_ptr<KVConnection>& connection() const { return fConnection; }

  private:
    boost::shared_ptr<KVBroker> fRobot = obvista_test::createTestBroker("Robot");
    std::shared_ptr<KVModule> fModule = std::make_shared<KVModule>("Memory", "Keeps values");
    std::shared_ptr<KVValueTable> fTable = std::make_shared<KVValueTable>();
    std::shared_ptr<KVConnection> fConnection;
};

class RobotValuesTest : public testing::Test {
  protected:
    /** Takes values until that of a key is the given one. */
    bool becomes(const std::string& name, const KVValue& value) {
        return obvista_test::eventually([&] {
            for (auto& [key, news] : fValues.take()) {
                fTaken[key] = std::move(news);
            }
            const auto found = fTaken.find(name);
            return found != fTaken.end() && found->second == value;
        });
    }

    obvista::Notice fNotice;
    ShownRobot fRobot;
    RobotValues fValues{fNotice};
    std::map<std::string, KVValue> fTaken;
};

TEST_F(RobotValuesTest, TakesTheNewestValueOfEachKeyOnce) {
    const std::uint32_t charge = fRobot.add("Charge", 1);
    fRobot.add("Volume", 60);
    fValues.start(fRobot.connection(), "Memory", a_rate);
    EXPECT_TRUE(becomes("Charge", 1));
    EXPECT_TRUE(becomes("Volume", 60));
    fRobot.table().setValue(charge, 2);
    fRobot.table().setValue(charge, 3);
    EXPECT_TRUE(becomes("Charge", 3));
    EXPECT_TRUE(fValues.take().empty());
}

TEST_F(RobotValuesTest, TakesOnlyTheValuesThatAreNamed) {
    const std::uint32_t volume = fRobot.add("Volume", 60);
    const std::uint32_t charge = fRobot.add("Charge", 1);
    fValues.start(fRobot.connection(), "Memory", {"Charge", "Later"}, a_rate);
    EXPECT_TRUE(becomes("Charge", 1));
    fRobot.table().setValues({{volume, 61}, {charge, 2}});
    fRobot.add("Later", 3);
    EXPECT_TRUE(becomes("Charge", 2));
    EXPECT_TRUE(becomes("Later", 3));
    EXPECT_EQ(fTaken.count("Volume"), 0U);
}

TEST_F(RobotValuesTest, GivesARemovedKeyAValueOfNothing) {
    const std::uint32_t charge = fRobot.add("Charge", 1);
    fValues.start(fRobot.connection(), "Memory", a_rate);
    EXPECT_TRUE(becomes("Charge", 1));
    fRobot.table().removeKey(charge);
    EXPECT_TRUE(becomes("Charge", {}));
    fRobot.add("Charge", 2);
    EXPECT_TRUE(becomes("Charge", 2));
}

TEST_F(RobotValuesTest, KnowsTheIdentifiersOfTheRobotToWhichItBelongs) {
    fRobot.add("Charge", 1);
    fRobot.add("Volume", 60);
    fValues.start(fRobot.connection(), "Memory", a_rate);
    EXPECT_TRUE(becomes("Volume", 60));
    ShownRobot other;
    other.add("Volume", 61);
    other.add("Charge", 2);
    fValues.start(other.connection(), "Memory", a_rate);
    EXPECT_TRUE(becomes("Charge", 2));
    EXPECT_TRUE(becomes("Volume", 61));
}

TEST_F(RobotValuesTest, EndsIfTheRobotHasNoSuchModule) {
    std::atomic<bool> isGiven{false};
    fNotice.set([&] { isGiven = true; });
    fRobot.add("Charge", 1);
    fValues.start(fRobot.connection(), "Vision", a_rate);
    EXPECT_TRUE(obvista_test::eventually([&] { return isGiven.load(); }));
    EXPECT_TRUE(fValues.hasEnded());
    fValues.start(fRobot.connection(), "Memory", a_rate);
    EXPECT_TRUE(becomes("Charge", 1));
    EXPECT_FALSE(fValues.hasEnded());
    fNotice.set(nullptr);
}

TEST_F(RobotValuesTest, GivesNoticeAndKeepsWhatCameBeforeItWasStopped) {
    std::atomic<bool> isGiven{false};
    fNotice.set([&] { isGiven = true; });
    fRobot.add("Charge", 1);
    fValues.start(fRobot.connection(), "Memory", a_rate);
    EXPECT_TRUE(obvista_test::eventually([&] { return isGiven.load(); }));
    fValues.stop();
    EXPECT_EQ(fValues.take(), (std::map<std::string, KVValue>{{"Charge", 1}}));
    fNotice.set(nullptr);
}

}  // namespace

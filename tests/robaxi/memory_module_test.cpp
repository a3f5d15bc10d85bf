#include "recording_listener.h"
#include "test_broker.h"

#include <robaxi/kv_connection.h>
#include <robaxi/kv_memory_module.h>
#include <robaxi/kv_proxy.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

using namespace robaxi_test;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

const auto a_accept = [](const KVValue&) {};

/** A robot's memory, seen by a client. */
class MemoryModule : public testing::Test {
  protected:
    MemoryModule() {
        fServer->addModule(fMemory);
        fConnection = KVConnection::open(makeClient(), a_loopback, fServer->getPort(), 20);
        fProxy = std::make_unique<KVProxy>("KVMemory", fConnection, 20);
    }

    KVValue value(const std::string& key) { return fProxy->callValue("getData", {key}); }

    KVError refusal(const std::string& key, const KVValue& value) {
        return errorOf([&] { fProxy->callValue("setData", {key, value}); });
    }

    BrokerPtr fServer = makeServer();
    std::shared_ptr<KVMemoryModule> fMemory = std::make_shared<KVMemoryModule>();
    std::shared_ptr<KVConnection> fConnection;
    std::unique_ptr<KVProxy> fProxy;
};

}  // namespace

TEST_F(MemoryModule, answersTheWholeContract) {
    const KVModuleInfo info = fProxy->getInfo();
    EXPECT_EQ(info.fName, "KVMemory");
    EXPECT_TRUE(info.fHasValues);
    std::vector<std::string> signatures;
    for (const KVMethodInfo& method : info.fMethods) {
        signatures.push_back(method.fSignature);
        EXPECT_FALSE(method.fDescription.empty()) << method.fName;
    }
    EXPECT_THAT(signatures, ElementsAre("getData(string) -> value", "setData(string, value)",
                                        "getDataList(string) -> list"));
}

TEST_F(MemoryModule, everyMethodIsInTheReference) {
    std::ifstream file(std::string(std::getenv("OBVISTA_SOURCE_DIR")) + "/docs/memory.md");
    const std::string page{std::istreambuf_iterator<char>(file), {}};
    for (const KVMethodInfo& method : fMemory->getInfo().fMethods) {
        EXPECT_THAT(page, HasSubstr("\n| `" + method.fName + "` |"));
    }
}

TEST_F(MemoryModule, givesValuesAndNames) {
    fMemory->addKey({"A/One", "", "", 1});
    fMemory->addKey({"A/Two", "", "", "two"});
    fMemory->addKey({"B/One", "", "", true});
    EXPECT_EQ(value("A/Two"), KVValue("two"));
    EXPECT_EQ(fProxy->callValue("getDataList", {"A/"}), KVValue(KVValue::List{"A/One", "A/Two"}));
    EXPECT_EQ(fProxy->callValue("getDataList", {""}).getSize(), 3);
    EXPECT_EQ(fProxy->callValue("getDataList", {"C"}).getSize(), 0);
    fMemory->setValue("A/Two", "zwei");
    EXPECT_EQ(value("A/Two"), KVValue("zwei"));
}

TEST_F(MemoryModule, subscribersReceiveTheMetadata) {
    fMemory->addKey({"Head/Yaw", "rad", "Angle of the head", 0.25, a_accept, KVRange{-2, 2.5}});
    fMemory->addKey({"Name", "", "", "marvin"});
    RecordingListener listener;
    const auto subscription = KVSubscription::start(
        fConnection, "KVMemory", KVSubscription::Selection::AllKeys, 50, listener.callbacks());
    ASSERT_TRUE(listener.waitForValue("Head/Yaw", 0.25));
    ASSERT_TRUE(listener.waitForValue("Name", "marvin"));
    const KVKeyInfo head = listener.fKeys[listener.idOf("Head/Yaw")];
    EXPECT_EQ(head.fUnit, "rad");
    EXPECT_EQ(head.fDescription, "Angle of the head");
    EXPECT_EQ(head.fType, KVValue::Type::Float);
    EXPECT_TRUE(head.fWritable);
    ASSERT_TRUE(head.fRange);
    EXPECT_EQ(head.fRange->fLowest, -2);
    EXPECT_EQ(head.fRange->fHighest, 2.5);
    EXPECT_FALSE(listener.fKeys[listener.idOf("Name")].fRange);
    EXPECT_FALSE(listener.fKeys[listener.idOf("Name")].fWritable);
    fMemory->setValue("Head/Yaw", 0.5);
    EXPECT_TRUE(listener.waitForValue("Head/Yaw", 0.5));
}

TEST_F(MemoryModule, aWriteRunsTheHandlerOfItsKey) {
    std::atomic<double> written{0};
    std::atomic<int> writes{0};
    fMemory->addKey({"Head/Yaw", "rad", "", 0.0, [&](const KVValue& angle) {
                         written = angle.toFloat();
                         ++writes;
                     }});
    fMemory->addKey({"Note", "", "", "", [](const KVValue&) { throw std::runtime_error("no"); }});
    fProxy->callValue("setData", {"Head/Yaw", 1});
    EXPECT_EQ(written, 1.0);
    EXPECT_EQ(writes, 1);
    EXPECT_EQ(value("Head/Yaw"), KVValue(1.0));
    const KVError error = refusal("Note", "text");
    EXPECT_CAUSE(error, RaisedByModule);
    EXPECT_EQ(error.toString(), "no");
    EXPECT_EQ(value("Note"), KVValue(""));
}

TEST_F(MemoryModule, refusesWhatAKeyDoesNotAccept) {
    fMemory->addKey({"Fixed", "", "", 1});
    fMemory->addKey({"Free", "", "", 1, a_accept});
    EXPECT_CAUSE(refusal("Absent", 1), InvalidArgument);
    EXPECT_CAUSE(refusal("Free", "text"), WrongType);
    const KVError fixed = refusal("Fixed", 2);
    EXPECT_CAUSE(fixed, RaisedByModule);
    EXPECT_EQ(fixed.toString(), "The key Fixed is only for reading.");
    const KVError unknown = errorOf([&] { value("Absent"); });
    EXPECT_CAUSE(unknown, InvalidArgument);
    EXPECT_EQ(unknown.toString(), "There is no key named Absent.");
    EXPECT_CAUSE(errorOf([&] { fMemory->setValue("Absent", 1); }), InvalidArgument);
}

TEST_F(MemoryModule, aWriteOutsideTheRangeReachesNoHandler) {
    std::atomic<int> writes{0};
    const auto count = [&](const KVValue&) { ++writes; };
    fMemory->addKey({"Volume", "%", "", 60, count, KVRange{0, 100}});
    fMemory->addKey({"Angle", "rad", "", 0.0, count, KVRange{-2, 2.5}});
    fMemory->addKey({"Note", "", "", "x", count, KVRange{1, 4}});
    fMemory->addKey({"Plan", "", "", KVValue::List{}, count, KVRange{0, 2}});
    fMemory->addKey({"On", "", "", true, count, KVRange{5, 6}});

    EXPECT_EQ(refusal("Volume", 101).toString(),
              "Volume was not changed: it accepts 0 to 100 %, not 101.");
    EXPECT_EQ(refusal("Angle", -2.25).toString(),
              "Angle was not changed: it accepts -2 to 2.5 rad, not -2.25.");
    EXPECT_CAUSE(refusal("Angle", std::numeric_limits<double>::quiet_NaN()), RaisedByModule);
    EXPECT_EQ(refusal("Note", "").toString(),
              "Note was not changed: it accepts a text of 1 to 4 bytes, not 0.");
    EXPECT_EQ(refusal("Plan", KVValue::List{1, 2, 3}).toString(),
              "Plan was not changed: it accepts a list of at most 2 elements, not 3.");
    EXPECT_EQ(writes, 0);

    fProxy->callValue("setData", {"Volume", 100});
    fProxy->callValue("setData", {"Angle", -2});
    fProxy->callValue("setData", {"Note", "four"});
    fProxy->callValue("setData", {"Plan", KVValue::List{1, 2}});
    fProxy->callValue("setData", {"On", false});
    EXPECT_EQ(writes, 5);
}

TEST_F(MemoryModule, aRobotSetsValuesOutsideTheRange) {
    fMemory->addKey({"Volume", "%", "", 60, a_accept, KVRange{0, 100}});
    fMemory->setValue("Volume", 120);
    EXPECT_EQ(value("Volume"), KVValue(120));
}

TEST_F(MemoryModule, keysLeaveAndReturnWithOtherHandlers) {
    fMemory->addKey({"A", "", "", 1, a_accept});
    EXPECT_CAUSE(errorOf([&] { fMemory->addKey({"A", "", "", 2}); }), InvalidArgument);
    EXPECT_CAUSE(errorOf([&] { fMemory->addKey({"", "", "", 2}); }), InvalidArgument);
    const KVError error = errorOf([&] {
        fMemory->addKey({"B", "", "", 2, a_accept, KVRange{2, 1}});
    });
    EXPECT_CAUSE(error, InvalidArgument);
    EXPECT_EQ(error.toString(), "The range of the key B is empty.");
    fProxy->callValue("setData", {"A", 3});
    fMemory->removeKey("A");
    fMemory->removeKey("A");
    EXPECT_CAUSE(errorOf([&] { value("A"); }), InvalidArgument);
    fMemory->addKey({"A", "", "", 4});
    EXPECT_CAUSE(refusal("A", 5), RaisedByModule);
    EXPECT_EQ(value("A"), KVValue(4));
}

TEST_F(MemoryModule, aHandlerMayUseItsModule) {
    fMemory->addKey({"Copy", "", "", 0});
    fMemory->addKey({"A", "", "", 0, [this](const KVValue& value) {
                         fMemory->setValue("Copy", value);
                         fMemory->removeKey("A");
                     }});
    fProxy->callValue("setData", {"A", 7});
    EXPECT_EQ(value("Copy"), KVValue(7));
    EXPECT_CAUSE(errorOf([&] { value("A"); }), InvalidArgument);
}

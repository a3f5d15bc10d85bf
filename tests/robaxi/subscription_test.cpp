#include "recording_listener.h"
#include "test_broker.h"

#include <robaxi/kv_connection.h>
#include <robaxi/kv_subscription.h>
#include <robaxi/kv_value_table.h>

#include <boost/make_shared.hpp>
#include <gtest/gtest.h>

#include <thread>

using namespace robaxi_test;

namespace {

KVKeyInfo key(const std::string& name, const std::string& unit = "") {
    KVKeyInfo info;
    info.fName = name;
    info.fUnit = unit;
    return info;
}

/** A server with a module "Memory" that offers a table, and a connection to it. */
class Subscription : public testing::Test {
  protected:
    Subscription() {
        fMemory->setValues(fTable);
        fServer->addModule(fMemory);
        fConnection = KVConnection::open(makeClient(), a_loopback, fServer->getPort(), 2);
    }

    boost::shared_ptr<KVSubscription> subscribe(
        double rate, KVSubscription::Selection selection = KVSubscription::Selection::AllKeys) {
        return KVSubscription::start(fConnection, "Memory", selection, rate, &fListener);
    }

    BrokerPtr fServer = makeServer();
    ModulePtr fMemory = boost::make_shared<KVModule>("Memory", "Keeps values");
    boost::shared_ptr<KVValueTable> fTable = boost::make_shared<KVValueTable>();
    boost::shared_ptr<KVConnection> fConnection;
    RecordingListener fListener;
};

}  // namespace

TEST_F(Subscription, BringsTheTableThenTheValues) {
    KVKeyInfo described = key("Joint/HeadYaw/Position", "rad");
    described.fDescription = "Angle of the head";
    described.fWritable = true;
    fTable->addKey(described, 0.25);
    fTable->addKey(key("System/Name"), "robot");

    const auto subscription = subscribe(50);

    ASSERT_TRUE(fListener.waitForValue("Joint/HeadYaw/Position", 0.25));
    ASSERT_TRUE(fListener.waitForValue("System/Name", "robot"));
    const KVKeyInfo received = fListener.fKeys[fListener.idOf("Joint/HeadYaw/Position")];
    EXPECT_EQ(received.fUnit, "rad");
    EXPECT_EQ(received.fDescription, "Angle of the head");
    EXPECT_EQ(received.fType, KVValue::Type::Float);
    EXPECT_TRUE(received.fWritable);
}

TEST_F(Subscription, SendsOnlyWhatChanged) {
    const std::uint32_t a = fTable->addKey(key("a"), 1);
    fTable->addKey(key("b"), 2);
    const auto subscription = subscribe(1000);
    ASSERT_TRUE(fListener.waitForValue("b", 2));

    fTable->setValue(a, 5, 1234567);
    ASSERT_TRUE(fListener.waitForValue("a", 5));

    const auto updates = fListener.updates();
    ASSERT_EQ(updates.size(), 2U);
    ASSERT_EQ(updates[1].fChanges.size(), 1U);
    EXPECT_EQ(updates[1].fChanges[0].fId, a);
    EXPECT_EQ(updates[1].fChanges[0].fTime, 1234567);
}

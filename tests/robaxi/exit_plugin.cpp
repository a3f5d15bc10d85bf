// A plugin with a static object whose brokers are in use until after main().
#include "recording_listener.h"
#include "test_broker.h"

#include <robaxi/kv_connection.h>
#include <robaxi/kv_proxy.h>
#include <robaxi/kv_subscription.h>
#include <robaxi/kv_value_table.h>

#include <memory>

namespace {

struct Held {
    void fill() {
        fServer = robaxi_test::makeServer();
        const auto table = std::make_shared<KVValueTable>();
        KVKeyInfo key;
        key.fName = "a";
        table->addKey(key, 1);
        const auto module = std::make_shared<KVModule>("Held", "");
        module->setValues(table);
        fServer->addModule(module);
        fClient = robaxi_test::makeClient();
        fProxy = std::make_shared<KVProxy>("Held", robaxi_test::a_loopback, fServer->getPort(),
                                           fClient, 10, 0);
        fConnection = KVConnection::open(fClient, robaxi_test::a_loopback, fServer->getPort(), 10);
        fSubscription = KVSubscription::start(
            fConnection, "Held", KVSubscription::Selection::AllKeys, 100, fListener.callbacks());
        fListener.waitForValue("a", 1);
    }

    robaxi_test::RecordingListener fListener;
    robaxi_test::BrokerPtr fServer;
    robaxi_test::BrokerPtr fClient;
    std::shared_ptr<KVProxy> fProxy;
    std::shared_ptr<KVConnection> fConnection;
    std::shared_ptr<KVSubscription> fSubscription;
};

Held held;

}  // namespace

extern "C" __attribute__((visibility("default"))) void holdBrokers() {
    held.fill();
}

extern "C" __attribute__((visibility("default"))) void throwError() {
    const auto client = robaxi_test::makeClient();
    KVProxy proxy("Held", robaxi_test::a_loopback, 0, client, 1, 0);
}

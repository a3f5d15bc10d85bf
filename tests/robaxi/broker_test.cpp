#include "process_figures.h"
#include "test_broker.h"

#include <robaxi/kv_proxy.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <sys/resource.h>

using namespace robaxi_test;
using obvista_test::countListeningSockets;

namespace {

BrokerPtr create(const std::string& ip, int port, const std::string& parentIP = "",
                 int parentPort = 0, const std::string& name = "Broker") {
    return KVBroker::createBroker(name, ip, port, parentIP, parentPort, 19, "", false);
}

}  // namespace

TEST(Broker, WithoutAddressPortAndParentListensNowhere) {
    const std::size_t before = countListeningSockets();
    const auto light = KVBroker::createBroker("LightBonjourBroker", "", 0, "", 0, 19, "", false);
    EXPECT_EQ(light->getName(), "LightBonjourBroker");
    EXPECT_EQ(light->getIP(), "");
    EXPECT_EQ(light->getPort(), 0);
    EXPECT_FALSE(light->isListening());
    EXPECT_EQ(countListeningSockets(), before);

    const auto server = makeServer();
    server->addModule(makeEcho());
    EXPECT_EQ(countListeningSockets(), before + 1) << "the count sees a socket that listens";
    KVProxy proxy("Echo", a_loopback, server->getPort(), light, a_timeOut, 0);
    EXPECT_EQ(proxy.call<int>("echo", 1), 1);
    EXPECT_EQ(countListeningSockets(), before + 1);
}

TEST(Broker, ListensOnItsAddressUntilItGoes) {
    const int port = obvista_test::freePort();
    {
        const auto broker = create(a_loopback, port);
        EXPECT_TRUE(broker->isListening());
        EXPECT_EQ(broker->getPort(), port);
        EXPECT_EQ(broker->getIP(), a_loopback);
    }
    EXPECT_TRUE(create(a_loopback, port)->isListening()) << "the port is free again at once";
}

TEST(Broker, ListensOnAllAddressesWhenOnlyAPortIsGiven) {
    const auto server = create("", obvista_test::freePort());
    server->addModule(makeEcho());
    KVProxy proxy("Echo", "127.0.0.1", server->getPort(), makeClient(), a_timeOut, 0);
    EXPECT_EQ(proxy.call<int>("echo", 1), 1);
}

TEST(Broker, ListensOnTheAddressOfAHostName) {
    const auto server = create("localhost", obvista_test::freePort());
    server->addModule(makeEcho());
    for (const char* address : {"localhost", "127.0.0.1"}) {
        KVProxy proxy("Echo", address, server->getPort(), makeClient(), a_timeOut, 0);
        EXPECT_EQ(proxy.call<int>("echo", 1), 1);
    }
}

TEST(Broker, WithPortZeroListensOnAnyFreePort) {
    for (const char* address : {a_loopback, a_loopback, "localhost", "0.0.0.0"}) {
        const auto server = create(address, 0);
        ASSERT_TRUE(server->isListening());
        EXPECT_EQ(server->getIP(), address);
        EXPECT_GT(server->getPort(), 0);
        server->addModule(makeEcho());
        KVProxy proxy("Echo", std::string(address) == "0.0.0.0" ? a_loopback : address,
                      server->getPort(), makeClient(), a_timeOut, 0);
        EXPECT_EQ(proxy.call<int>("echo", 1), 1);
    }
    const auto first = create(a_loopback, 0);
    EXPECT_NE(create(a_loopback, 0)->getPort(), first->getPort());
    const KVError error = errorOf([] { create("192.0.2.1", 0); });
    EXPECT_CAUSE(error, CannotListen);
    EXPECT_EQ(error.toString().find("Cannot listen on 192.0.2.1: "), 0U) << error.toString();
}

TEST(Broker, IsCreatedFromOptions) {
    KVBrokerOptions options;
    options.fName = "Options";
    EXPECT_FALSE(KVBroker::createBroker(options)->isListening());
    options.fAddress = a_loopback;
    options.fSettings = KVSettings();
    options.fSettings->fLimits.fModules = 1;
    const auto server = KVBroker::createBroker(options);
    EXPECT_EQ(server->getName(), "Options");
    server->addModule(makeEcho());
    const auto second = std::make_shared<KVModule>("Second", "");
    EXPECT_CAUSE(errorOf([&] { server->addModule(second); }), TooMany);
    options.fAddress.clear();
    options.fParentAddress = a_loopback;
    options.fParentPort = server->getPort();
    EXPECT_FALSE(KVBroker::createBroker(options)->isListening());
}

TEST(Broker, SaysThatAPortIsInUse) {
    const auto server = makeServer();
    const std::string port = std::to_string(server->getPort());
    const KVError error = errorOf([&] { create(a_loopback, server->getPort()); });
    EXPECT_CAUSE(error, AddressInUse);
    EXPECT_EQ(error.toString(), "Cannot listen on 127.0.0.1 port " + port +
                                    ": the port is in use by another program. Choose another "
                                    "port, or end that program.");
    EXPECT_CAUSE(errorOf([&] { create("", server->getPort()); }), AddressInUse);
}

TEST(Broker, SaysThatAnAddressCannotBeUsed) {
    const KVError error = errorOf([] { create("192.0.2.1", obvista_test::freePort()); });
    EXPECT_CAUSE(error, CannotListen);
    EXPECT_EQ(error.toString().find("Cannot listen on 192.0.2.1 port "), 0U) << error.toString();
    EXPECT_CAUSE(errorOf([] { create(std::string(70, 'x'), 9559); }), NameNotFound);
}

TEST(Broker, SaysThatThereAreNoDescriptors) {
    const auto loaded = makeServer();  // what a broker loads needs descriptors, too
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    rlimit none = before;
    none.rlim_cur = 0;
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
    const KVError error = errorOf([] {
        KVBroker::createBroker({"Broker", a_loopback, 0, KVSettings()});
    });
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_CAUSE(error, CannotListen);
    EXPECT_NE(error.toString().find("Too many open files"), std::string::npos) << error.toString();
}

TEST(Broker, RefusesPortsOutOfRangeAndAnEmptyName) {
    for (const int port : {-1, 65536, 65536 + 9559}) {
        EXPECT_CAUSE(errorOf([&] { create(a_loopback, port); }), InvalidArgument);
        EXPECT_CAUSE(errorOf([&] { create("", port); }), InvalidArgument);
        EXPECT_CAUSE(errorOf([&] { create("", 0, a_loopback, port); }), InvalidArgument);
    }
    EXPECT_CAUSE(errorOf([] { create("", 0, a_loopback, 0); }), InvalidArgument);
    EXPECT_CAUSE(errorOf([] { create("", 0, "", 0, ""); }), InvalidArgument);
}

TEST(Broker, ConnectsToItsParent) {
    const auto parent = makeServer("Parent");
    EXPECT_FALSE(create("", 0, a_loopback, parent->getPort())->isListening());
    const int port = obvista_test::freePort();
    EXPECT_CAUSE(errorOf([&] { create("", 0, a_loopback, port); }), Refused);
}

TEST(Broker, HostsNoModuleThatIsNotThere) {
    EXPECT_CAUSE(errorOf([] { makeServer()->addModule(nullptr); }), InvalidArgument);
}

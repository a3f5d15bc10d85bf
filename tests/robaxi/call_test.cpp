#include "test_broker.h"

#include <robaxi/kv_connection.h>
#include <robaxi/kv_proxy.h>

#include <gtest/gtest.h>

using namespace robaxi_test;

TEST(Call, ReturnsWhatTheMethodReturns) {
    const auto server = makeServer();
    server->addModule(makeEcho());
    KVProxy proxy("Echo", a_loopback, server->getPort(), makeClient(), 2, 0);
    EXPECT_EQ(proxy.call<int>("echo", 42), 42);
    EXPECT_EQ(proxy.call<std::string>("echo", std::string("hello")), "hello");
}

TEST(Call, ToAPortOnWhichNothingListensIsRefused) {
    const int port = findFreePort();
    const auto client = makeClient();
    const KVError error = errorOf([&] { KVProxy proxy("Echo", a_loopback, port, client, 2, 0); });
    EXPECT_CAUSE(error, Refused);
}

#ifndef OBVISTA_TESTS_ROBAXI_TEST_BROKER_H
#define OBVISTA_TESTS_ROBAXI_TEST_BROKER_H

#include <robaxi/kv_broker.h>
#include <robaxi/kv_error.h>
#include <robaxi/kv_module.h>
#include <robaxi/kv_settings.h>

#include <gtest/gtest.h>

#include <free_port.h>
#include <functional>
#include <memory>
#include <string>

namespace robaxi_test {

using BrokerPtr = boost::shared_ptr<KVBroker>;
using ModulePtr = std::shared_ptr<KVModule>;

constexpr const char* a_loopback = "127.0.0.1";
/** Seconds until a call or an attempt to connect fails; this machine may be busy. */
constexpr int a_timeOut = 60;

/** Creates a broker that listens on a free port of the loopback. */
BrokerPtr makeServer(const std::string& name = "Server");

/** Creates the same with settings. */
BrokerPtr makeServer(const std::string& name, const KVSettings& settings);

/** Creates a broker that does not listen, like those of the host and its plugins. */
BrokerPtr makeClient(const std::string& name = "Client");
BrokerPtr makeClient(const KVSettings& settings);

/** Creates a module "Echo" with "echo(any)", which returns its argument, and "fail(string)". */
ModulePtr makeEcho();

/** Returns the error that an action throws; the test fails if it throws none. */
KVError errorOf(const std::function<void()>& action);

testing::AssertionResult hasCause(const KVError& error, KVError::Cause cause);

}  // namespace robaxi_test

#define EXPECT_CAUSE(error, wanted) \
    EXPECT_TRUE(robaxi_test::hasCause(error, KVError::Cause::wanted))

#endif

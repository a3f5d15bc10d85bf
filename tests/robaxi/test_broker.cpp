#include "test_broker.h"

#include <boost/make_shared.hpp>

#include <stdexcept>
#include <unistd.h>

namespace robaxi_test {

namespace {

constexpr int a_firstPort = 21000;
constexpr int a_numberOfPorts = 8000;

/** Tests run side by side, so each process begins somewhere else. */
int firstPortOfProcess() {
    return a_firstPort + (static_cast<int>(::getpid()) * 37) % a_numberOfPorts;
}

int nextPort() {
    static int next = firstPortOfProcess();
    if (++next >= a_firstPort + a_numberOfPorts) {
        next = a_firstPort;
    }
    return next;
}

}  // namespace

BrokerPtr makeServer(const std::string& name) {
    return makeServer(name, KVSettings());
}

BrokerPtr makeServer(const std::string& name, const KVSettings& settings) {
    for (int attempt = 0; attempt < a_numberOfPorts; ++attempt) {
        try {
            return KVBroker::createBroker(name, a_loopback, nextPort(), "", 0, 0, "", false,
                                          settings);
        } catch (const KVError& error) {
            if (error.cause() != KVError::Cause::AddressInUse) {
                throw;
            }
        }
    }
    throw std::runtime_error("no port is free");
}

BrokerPtr makeClient(const std::string& name) {
    return KVBroker::createBroker(name, "", 0, "", 0, 0, "", false);
}

BrokerPtr makeClient(const KVSettings& settings) {
    return KVBroker::createBroker("Client", "", 0, "", 0, 0, "", false, settings);
}

int findFreePort() {
    return makeServer()->getPort();
}

ModulePtr makeEcho() {
    auto echo = boost::make_shared<KVModule>("Echo", "Says what it hears");
    echo->bindMethod({"echo", "echo(value)", "Returns its argument"}, {KVValue::Type::Nothing},
                     [](const KVValue::List& arguments) { return arguments.front(); });
    echo->bindMethod({"fail", "fail(reason: string)", "Fails"}, {KVValue::Type::String},
                     [](const KVValue::List& arguments) -> KVValue {
                         throw std::runtime_error(arguments.front().toString());
                     });
    return echo;
}

KVError errorOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const KVError& error) {
        return error;
    }
    ADD_FAILURE() << "no KVError was thrown";
    return KVError(KVError::Cause::Internal, "no KVError was thrown");
}

testing::AssertionResult hasCause(const KVError& error, KVError::Cause cause) {
    if (error.cause() == cause) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure()
           << "cause " << static_cast<int>(error.cause()) << " in place of "
           << static_cast<int>(cause) << ": " << error.toString();
}

}  // namespace robaxi_test

#include "test_broker.h"

#include <loopback_broker.h>
#include <memory>
#include <stdexcept>

namespace robaxi_test {

BrokerPtr makeServer(const std::string& name) {
    return makeServer(name, KVSettings());
}

BrokerPtr makeServer(const std::string& name, const KVSettings& settings) {
    return obvista_test::createTestBroker(name, settings);
}

BrokerPtr makeClient(const std::string& name) {
    return KVBroker::createBroker({name});
}

BrokerPtr makeClient(const KVSettings& settings) {
    return KVBroker::createBroker({"Client", "", 0, settings});
}

ModulePtr makeEcho() {
    auto echo = std::make_shared<KVModule>("Echo", "Says what it hears");
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

#include "network/robot_link.h"

#include "network/aliases.h"
#include "process/failure.h"

#include <memory>

namespace robaxi_tool {

namespace {

/** Connects. Files named by the settings are read now. @throws Failure WrongUsage if that fails */
std::shared_ptr<KVConnection> connect(const boost::shared_ptr<KVBroker>& broker,
                                      const Endpoint& endpoint, int timeout) {
    try {
        return KVConnection::open(broker, endpoint.fHost, endpoint.fPort, timeout,
                                  endpoint.fAddresses);
    } catch (const KVError& error) {
        if (error.cause() == KVError::Cause::InvalidArgument) {
            throw Failure(ExitStatus::WrongUsage, error.toString());
        }
        throw;
    }
}

}  // namespace

boost::shared_ptr<KVBroker> makeBroker(const KVSettings& settings) {
    return KVBroker::createBroker({"robaxi", "", 0, settings});
}

KVSettings loadSettings() {
    try {
        return KVSettings::load();
    } catch (const KVError& error) {
        throw Failure(ExitStatus::WrongUsage, error.toString());
    }
}

RobotLink::RobotLink(const std::string& host, int timeout, Interruption& interruption)
    // In braces, which evaluate in order: settings are loaded, and refused, before the search.
    : RobotLink{loadSettings(), findHost(givenTarget(host), timeout, interruption), timeout} {
    interruption.check();
}

RobotLink::RobotLink(const KVSettings& settings, const Endpoint& endpoint, int timeout)
    : fTimeout(timeout),
      fEndpoint(endpoint),
      fBroker(makeBroker(settings)),
      fConnection(connect(fBroker, endpoint, timeout)) {
}

std::unique_ptr<KVProxy> RobotLink::module(const std::string& name) const {
    auto proxy = std::make_unique<KVProxy>(name, fConnection, fTimeout);
    proxy->getInfo();  // fails if there is no such module
    return proxy;
}

}  // namespace robaxi_tool

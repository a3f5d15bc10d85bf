#include "robot_link.h"

#include "failure.h"

namespace robaxi_tool {

boost::shared_ptr<KVBroker> makeBroker() {
    return KVBroker::createBroker("robaxi", "", 0, "", 0, 0, "", false, loadSettings());
}

KVSettings loadSettings() {
    try {
        return KVSettings::load();
    } catch (const KVError& error) {
        throw Failure(ExitStatus::WrongUsage, error.toString());
    }
}

RobotLink::RobotLink(const std::string& host, int timeout, Interruption& interruption)
    : fTimeout(timeout),
      fBroker(makeBroker()),
      fEndpoint(findHost(parseTarget(host), timeout, interruption)),
      fConnection(KVConnection::open(fBroker, fEndpoint.fHost, fEndpoint.fPort, timeout)) {
    interruption.check();
}

std::unique_ptr<KVProxy> RobotLink::module(const std::string& name) const {
    return std::make_unique<KVProxy>(name, fEndpoint.fHost, fEndpoint.fPort, fBroker, fTimeout, 0);
}

}  // namespace robaxi_tool

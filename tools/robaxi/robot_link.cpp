#include "robot_link.h"

#include "failure.h"

namespace robaxi_tool {

boost::shared_ptr<KVBroker> makeBroker(KVSettings settings, const Endpoint& endpoint) {
    if (!endpoint.fAddress.empty()) {
        KVSettings::Access access = settings.accessTo(endpoint.fHost, endpoint.fPort);
        if (access.fName.empty()) {
            access.fName = endpoint.fHost;
        }
        settings.fRobots[joined(endpoint.fAddress, endpoint.fPort)] = access;
    }
    return KVBroker::createBroker("robaxi", "", 0, "", 0, 0, "", false, settings);
}

KVSettings loadSettings() {
    try {
        return KVSettings::load();
    } catch (const KVError& error) {
        throw Failure(ExitStatus::WrongUsage, error.toString());
    }
}

RobotLink::RobotLink(const std::string& host, int timeout, Interruption& interruption)
    // In braces, so that settings are read, and refused, before the search.
    : RobotLink{loadSettings(), findHost(parseTarget(host), timeout, interruption), timeout} {
    interruption.check();
}

RobotLink::RobotLink(const KVSettings& settings, const Endpoint& endpoint, int timeout)
    : fTimeout(timeout),
      fEndpoint(endpoint),
      fBroker(makeBroker(settings, endpoint)),
      fConnection(KVConnection::open(fBroker, endpoint.reachableHost(), endpoint.fPort, timeout)) {
}

std::unique_ptr<KVProxy> RobotLink::module(const std::string& name) const {
    return std::make_unique<KVProxy>(name, fEndpoint.reachableHost(), fEndpoint.fPort, fBroker,
                                     fTimeout, 0);
}

}  // namespace robaxi_tool

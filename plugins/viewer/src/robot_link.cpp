#include "replay_client.h"

#include <obvista/viewer/robot_link.h>
#include <robaxi/kv_connection.h>

namespace obvista {

RobotLink::RobotLink(const boost::shared_ptr<KVBroker>& broker, const std::string& ip, int port,
                     double timeOut)
    : fAddress(ip), fPort(port), fConnection(KVConnection::open(broker, ip, port, timeOut)) {
    fRobotName = fConnection->getPeerName();
    fConnection->setLostHandler([this](const KVError&) {
        fIsLost = true;
        fNotice.give();
    });
    fReplay = std::make_unique<ReplayClient>(fConnection, fNotice);
}

RobotLink::~RobotLink() = default;

void RobotLink::close() {
    if (isClosed()) {
        return;
    }
    fConnection->setLostHandler(nullptr);
    stop();
    fReplay.reset();
    fConnection.reset();
    fNotice.give();
}

double RobotLink::silence() const {
    const bool isSilent = fConnection && fConnection->getState() == KVConnection::State::Silent;
    return isSilent ? fConnection->getSilence() : 0;
}

void RobotLink::closeSilently() {
    fNotice.set(nullptr);
    close();
}

}  // namespace obvista

#include "announcement.h"
#include "reconnection.h"
#include "replay_client.h"

#include <obvista/viewer/robot_link.h>
#include <robaxi/kv_connection.h>

#include <utility>

namespace obvista {

RobotLink::RobotLink(const boost::shared_ptr<KVBroker>& broker, const std::string& ip, int port,
                     double timeOut)
    : fBroker(broker),
      fHost(ip),
      fAddress(ip),
      fPort(port),
      fConnection(KVConnection::open(broker, ip, port, timeOut)) {
    fRobotName = fConnection->getPeerName();
    xListenForLoss();
    fReplay = std::make_unique<ReplayClient>(fConnection, fNotice);
}

RobotLink::~RobotLink() = default;

void RobotLink::xListenForLoss() {
    fConnection->setLostHandler([this](const KVError&) {
        fIsLost = true;
        fNotice.give();
    });
}

void RobotLink::close() {
    if (isClosed()) {
        return;
    }
    fConnection->setLostHandler(nullptr);
    fReconnection.reset();
    stop();
    fReplay.reset();
    fConnection.reset();
    fBroker.reset();
    fNotice.give();
}

double RobotLink::silence() const {
    const bool isSilent = fConnection && fConnection->getState() == KVConnection::State::Silent;
    return isSilent ? fConnection->getSilence() : 0;
}

/** Another robot may have got the address of one that does not answer. */
void RobotLink::noteAnnouncement() {
    if (silence() > 0) {
        return;
    }
    if (const auto announcement = announcedAt({fAddress, fPort})) {
        fAnnouncement = std::make_shared<Announcement>(*announcement);
    }
}

void RobotLink::closeSilently() {
    fNotice.set(nullptr);
    close();
}

void RobotLink::startReconnecting() {
    if (isClosed() || fReconnection) {
        return;
    }
    if (!fAnnouncement) {
        noteAnnouncement();
    }
    stop();
    fReplay.reset();
    KnownRobot lost{fHost, {fAddress, fPort}, fRobotName, std::nullopt};
    if (fAnnouncement) {
        lost.fAnnouncement = *fAnnouncement;
    }
    fReconnection = std::make_unique<Reconnection>(fBroker, std::move(lost), fNotice);
}

void RobotLink::stopReconnecting() {
    fReconnection.reset();
}

RobotLink::Return RobotLink::reconnect() {
    std::optional<Reconnection::Success> success =
        fReconnection ? fReconnection->advance() : std::nullopt;
    if (!success) {
        return Return::None;
    }
    fReconnection.reset();
    fConnection->setLostHandler(nullptr);
    fConnection = std::move(success->fConnection);
    fAddress = success->fRobot.fPlace.fAddress;
    fPort = success->fRobot.fPlace.fPort;
    fRobotName = success->fRobot.fName;
    const std::optional<Announcement>& announcement = success->fRobot.fAnnouncement;
    fAnnouncement = announcement ? std::make_shared<Announcement>(*announcement) : nullptr;
    fIsLost = false;
    fReplay = std::make_unique<ReplayClient>(fConnection, fNotice);
    restart();
    xListenForLoss();
    return success->fIsOther ? Return::OtherRobot : Return::SameRobot;
}

std::string RobotLink::stranger() const {
    return fReconnection ? fReconnection->stranger() : std::string();
}

void RobotLink::acceptStranger() {
    if (fReconnection) {
        fReconnection->acceptStranger();
    }
}

}  // namespace obvista

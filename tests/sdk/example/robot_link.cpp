#include "robot_link.h"

#include <robaxi/kv_broker.h>
#include <robaxi/kv_connection.h>
#include <robaxi/kv_error.h>

#include <algorithm>
#include <cstdlib>

namespace {

constexpr double a_timeOut = 2;  // seconds
constexpr double a_rate = 1;     // updates a second
constexpr int a_firstBrokerPort = 54010;
constexpr int a_lastBrokerPort = 65535;

boost::shared_ptr<KVBroker> createBroker(int port) {
    return KVBroker::createBroker("example", "127.0.0.1", port, "", 0, 0, "", false);
}

/** The broker on the given port; for 0 on the first free one. */
boost::shared_ptr<KVBroker> openBroker(int brokerPort) {
    if (brokerPort != 0) {
        return createBroker(brokerPort);
    }
    for (int port = a_firstBrokerPort; port < a_lastBrokerPort; ++port) {
        try {
            return createBroker(port);
        } catch (const KVError& error) {
            if (error.cause() != KVError::Cause::AddressInUse) {
                throw;
            }
        }
    }
    return createBroker(a_lastBrokerPort);
}

/** The open links. Never destroyed, since a plugin object may be deleted after main(). */
std::vector<RobotLink*>& openLinks() {
    static auto* const links = [] {
        // A process may also end with windows open. Registered after the first connection was made,
        // this runs before the libraries that a connection needs take themselves apart.
        std::atexit(RobotLink::closeAll);
        return new std::vector<RobotLink*>;
    }();
    return *links;
}

}  // namespace

RobotLink::RobotLink(const std::string& ip, int port, int brokerPort)
    : fConnection(KVConnection::open(openBroker(brokerPort), ip, port, a_timeOut)) {
    fRobotName = QString::fromStdString(fConnection->getPeerName());
    openLinks().push_back(this);
}

RobotLink::~RobotLink() {
    close();
}

void RobotLink::start() {
    fConnection->setLostHandler([this](const KVError&) { Q_EMIT lost(); });
    fSubscription = KVSubscription::start(fConnection, "KVMemory",
                                          KVSubscription::Selection::AllKeys, a_rate, this);
}

void RobotLink::close() {
    fSubscription.reset();
    fConnection.reset();
    auto& links = openLinks();
    links.erase(std::remove(links.begin(), links.end(), this), links.end());
}

void RobotLink::closeAll() {
    while (!openLinks().empty()) {
        openLinks().back()->close();
    }
}

void RobotLink::keysAdded(const std::vector<KVKeyInfo>& keys) {
    for (const KVKeyInfo& key : keys) {
        if (key.fName == "Battery/Charge") {
            fBattery = key.fId;
        }
    }
}

void RobotLink::keysRemoved(const std::vector<std::uint32_t>& /*ids*/) {
}

void RobotLink::valuesChanged(const std::vector<KVChange>& changes) {
    for (const KVChange& change : changes) {
        if (change.fId == fBattery && change.fValue.type() == KVValue::Type::Float) {
            Q_EMIT batteryChanged(change.fValue.toFloat());
        }
    }
}

/** A robot without this module has no battery to show; a lost connection reports itself. */
void RobotLink::ended(const KVError& /*error*/) {
}

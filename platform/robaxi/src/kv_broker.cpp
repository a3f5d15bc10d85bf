#include "broker_private.h"
#include "deadline.h"
#include "settings_fields.h"

#include <robaxi/kv_broker.h>
#include <robaxi/kv_error.h>
#include <robaxi/kv_settings.h>

#include <utility>

namespace {

constexpr double a_parentTimeOut = 2;

void checkAddress(const std::string& ip, int port) {
    if (!ip.empty() || port != 0) {
        robaxi::checkPort(port);
    }
}

void checkSettings(const KVSettings& settings) {
    try {
        robaxi::checkLimits(settings.fLimits);
        robaxi::checkAccess(settings);
    } catch (const robaxi::Failure& failure) {
        throw KVError(failure.fCause, "The settings cannot be used: " + failure.fDetail + ".");
    }
}

}  // namespace

boost::shared_ptr<KVBroker> KVBroker::createBroker(const std::string& name, const std::string& ip,
                                                   int port, const std::string& parentIP,
                                                   int parentPort, int flags, std::string path,
                                                   bool keepAlive) {
    return createBroker(name, ip, port, parentIP, parentPort, flags, std::move(path), keepAlive,
                        KVSettings::load());
}

boost::shared_ptr<KVBroker> KVBroker::createBroker(
    const std::string& name, const std::string& ip, int port, const std::string& parentIP,
    int parentPort, int /*flags*/,
    // NOLINTNEXTLINE(performance-unnecessary-value-param): the interface has it so
    std::string /*path*/, bool /*keepAlive*/, const KVSettings& settings) {
    if (name.empty()) {
        throw KVError(KVError::Cause::InvalidArgument, "A broker needs a name.");
    }
    checkAddress(ip, port);
    checkAddress(parentIP, parentPort);
    checkSettings(settings);
    auto implementation = std::make_shared<Private>(name, ip, port, settings);
    boost::shared_ptr<KVBroker> broker(new KVBroker(implementation));
    if (port != 0) {
        try {
            implementation->fServer = robaxi::engine().listen(implementation->fRuntime,
                                                              implementation->fModules, ip, port);
        } catch (const robaxi::Failure& failure) {
            throw robaxi::describeListening(ip, port, failure);
        }
    }
    if (!parentIP.empty()) {
        try {
            implementation->fParent = implementation->fLinks.obtain(
                parentIP, parentPort, robaxi::deadlineAfter(a_parentTimeOut));
        } catch (const robaxi::Failure& failure) {
            throw robaxi::describe({{}, {}, parentIP, parentPort, a_parentTimeOut}, failure);
        }
    }
    return broker;
}

KVBroker::KVBroker(std::shared_ptr<Private> implementation) : fPrivate(std::move(implementation)) {
}

KVBroker::~KVBroker() {
    fPrivate->fServer.reset();
    fPrivate->fParent.reset();
    fPrivate->fRuntime->stop();
}

const std::string& KVBroker::getName() const {
    return fPrivate->fRuntime->fBrokerName;
}

const std::string& KVBroker::getIP() const {
    return fPrivate->fIP;
}

int KVBroker::getPort() const {
    return fPrivate->fPort;
}

bool KVBroker::isListening() const {
    return fPrivate->fServer != nullptr;
}

void KVBroker::addModule(boost::shared_ptr<KVModule> module) {
    fPrivate->fModules->add(std::move(module));
}

void KVBroker::removeModule(const std::string& name) {
    fPrivate->fModules->remove(name);
    if (fPrivate->fServer) {
        fPrivate->fServer->moduleRemoved(name);
    }
}

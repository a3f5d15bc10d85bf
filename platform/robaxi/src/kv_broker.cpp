#include "broker_private.h"
#include "deadline.h"
#include "settings_fields.h"

#include <robaxi/kv_broker.h>
#include <robaxi/kv_error.h>
#include <robaxi/kv_settings.h>

#include <memory>
#include <utility>

namespace {

constexpr double a_parentTimeOut = 2;

bool listens(const KVBrokerOptions& options) {
    return !options.fAddress.empty() || options.fPort != 0;
}

void checkAddresses(const KVBrokerOptions& options) {
    if (options.fPort != 0) {
        robaxi::checkPort(options.fPort);
    }
    if (!options.fParentAddress.empty() || options.fParentPort != 0) {
        robaxi::checkPort(options.fParentPort);
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

boost::shared_ptr<KVBroker> KVBroker::createBroker(
    const std::string& name, const std::string& ip, int port, const std::string& parentIP,
    int parentPort, int /*flags*/,
    // NOLINTNEXTLINE(performance-unnecessary-value-param): the interface has it so
    std::string /*path*/, bool /*keepAlive*/) {
    return createBroker({name, ip, port, std::nullopt, parentIP, parentPort});
}

boost::shared_ptr<KVBroker> KVBroker::createBroker(const KVBrokerOptions& options) {
    if (options.fName.empty()) {
        throw KVError(KVError::Cause::InvalidArgument, "A broker needs a name.");
    }
    checkAddresses(options);
    const KVSettings settings = options.fSettings ? *options.fSettings : KVSettings::load();
    checkSettings(settings);
    auto implementation = std::make_shared<Private>(options.fName, options.fAddress, settings);
    boost::shared_ptr<KVBroker> broker(new KVBroker(implementation));
    if (listens(options)) {
        try {
            implementation->fServer =
                robaxi::engine().listen(implementation->fRuntime, implementation->fModules,
                                        options.fAddress, options.fPort);
        } catch (const robaxi::Failure& failure) {
            throw robaxi::describeListening(options.fAddress, options.fPort, failure);
        }
    }
    if (!options.fParentAddress.empty()) {
        try {
            implementation->fParent =
                implementation->fLinks.obtain({options.fParentAddress, options.fParentPort},
                                              robaxi::deadlineAfter(a_parentTimeOut));
        } catch (const robaxi::Failure& failure) {
            throw robaxi::describe(
                {{}, {}, options.fParentAddress, options.fParentPort, a_parentTimeOut}, failure);
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
    return fPrivate->fServer ? fPrivate->fServer->port() : 0;
}

bool KVBroker::isListening() const {
    return fPrivate->fServer != nullptr;
}

void KVBroker::addModule(std::shared_ptr<KVModule> module) {
    fPrivate->fModules->add(std::move(module));
}

void KVBroker::removeModule(const std::string& name) {
    fPrivate->fModules->remove(name);
    if (fPrivate->fServer) {
        fPrivate->fServer->moduleRemoved(name);
    }
}

#include "connection_private.h"

#include <robaxi/kv_subscription.h>

#include <memory>
#include <utility>

namespace {

void checkRate(double rate) {
    if (!(rate > 0 && rate <= robaxi::limits::a_highestRate)) {
        throw KVError(KVError::Cause::InvalidArgument,
                      "A rate is above 0 and at most 1000 updates a second.");
    }
}

}  // namespace

struct KVSubscription::Private {
    std::shared_ptr<KVConnection> fConnection;
    std::shared_ptr<robaxi::ValueStream> fStream;  // destroyed before the connection
};

std::shared_ptr<KVSubscription> KVSubscription::start(std::shared_ptr<KVConnection> connection,
                                                      const std::string& module,
                                                      Selection selection, double rate,
                                                      Callbacks callbacks) {
    return xStart(std::move(connection), module, selection, {}, rate, std::move(callbacks));
}

std::shared_ptr<KVSubscription> KVSubscription::start(std::shared_ptr<KVConnection> connection,
                                                      const std::string& module,
                                                      const std::vector<std::string>& names,
                                                      double rate, Callbacks callbacks) {
    if (names.empty()) {
        throw KVError(KVError::Cause::InvalidArgument, "A subscription needs the names of keys.");
    }
    return xStart(std::move(connection), module, Selection::ChosenKeys, names, rate,
                  std::move(callbacks));
}

std::shared_ptr<KVSubscription> KVSubscription::xStart(std::shared_ptr<KVConnection> connection,
                                                       const std::string& module,
                                                       Selection selection,
                                                       const std::vector<std::string>& names,
                                                       double rate, Callbacks callbacks) {
    if (!connection || module.empty()) {
        throw KVError(KVError::Cause::InvalidArgument,
                      "A subscription needs a connection and the name of a module.");
    }
    checkRate(rate);
    const auto& link = *connection->fPrivate;
    robaxi::Target target = link.fTarget;
    target.fModule = module;
    auto implementation = std::make_shared<Private>();
    implementation->fStream =
        link.fLink->subscribe(target, selection, names, rate, std::move(callbacks));
    implementation->fConnection = std::move(connection);
    return std::shared_ptr<KVSubscription>(new KVSubscription(std::move(implementation)));
}

KVSubscription::KVSubscription(std::shared_ptr<Private> implementation)
    : fPrivate(std::move(implementation)) {
}

KVSubscription::~KVSubscription() {
    stop();
}

void KVSubscription::setKeys(const std::vector<std::uint32_t>& ids) {
    fPrivate->fStream->setKeys(ids);
}

void KVSubscription::setRate(double rate) {
    checkRate(rate);
    fPrivate->fStream->setRate(rate);
}

void KVSubscription::stop() {
    fPrivate->fStream->stop();
}

#include "connection_private.h"

#include <robaxi/kv_subscription.h>

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
    boost::shared_ptr<KVConnection> fConnection;
    std::shared_ptr<robaxi::ValueStream> fStream;  // destroyed before the connection
};

KVSubscription::Listener::~Listener() = default;

boost::shared_ptr<KVSubscription> KVSubscription::start(boost::shared_ptr<KVConnection> connection,
                                                        const std::string& module,
                                                        Selection selection, double rate,
                                                        Listener* listener) {
    if (!connection || module.empty() || listener == nullptr) {
        throw KVError(KVError::Cause::InvalidArgument,
                      "A subscription needs a connection, the name of a module and a listener.");
    }
    checkRate(rate);
    const auto& link = *connection->fPrivate;
    robaxi::Target target = link.fTarget;
    target.fModule = module;
    auto implementation = std::make_shared<Private>();
    implementation->fStream = link.fLink->subscribe(target, selection, rate, listener);
    implementation->fConnection = std::move(connection);
    return boost::shared_ptr<KVSubscription>(new KVSubscription(std::move(implementation)));
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

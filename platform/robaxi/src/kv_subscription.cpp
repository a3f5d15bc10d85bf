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

class CallbackListener : public KVSubscription::Listener {
  public:
    explicit CallbackListener(KVSubscription::Callbacks callbacks)
        : fCallbacks(std::move(callbacks)) {}

    void keysAdded(const std::vector<KVKeyInfo>& keys) override {
        if (fCallbacks.fKeysAdded) {
            fCallbacks.fKeysAdded(keys);
        }
    }
    void keysRemoved(const std::vector<std::uint32_t>& ids) override {
        if (fCallbacks.fKeysRemoved) {
            fCallbacks.fKeysRemoved(ids);
        }
    }
    void valuesChanged(const std::vector<KVChange>& changes) override {
        if (fCallbacks.fValuesChanged) {
            fCallbacks.fValuesChanged(changes);
        }
    }
    void ended(const KVError& error) override {
        if (fCallbacks.fEnded) {
            fCallbacks.fEnded(error);
        }
    }

  private:
    const KVSubscription::Callbacks fCallbacks;
};

}  // namespace

struct KVSubscription::Private {
    Selection fSelection = Selection::ChosenKeys;
    std::vector<std::string> fNames;  // selects keys, unless it is empty
    Listener* fListener = nullptr;
    std::unique_ptr<Listener> fCallbacks;  // destroyed after the stream, which calls it
    boost::shared_ptr<KVConnection> fConnection;
    std::shared_ptr<robaxi::ValueStream> fStream;  // destroyed before the connection
};

KVSubscription::Listener::~Listener() = default;

boost::shared_ptr<KVSubscription> KVSubscription::start(boost::shared_ptr<KVConnection> connection,
                                                        const std::string& module,
                                                        Selection selection, double rate,
                                                        Listener* listener) {
    auto implementation = std::make_shared<Private>();
    implementation->fSelection = selection;
    implementation->fListener = listener;
    return xStart(std::move(connection), module, rate, std::move(implementation));
}

boost::shared_ptr<KVSubscription> KVSubscription::start(boost::shared_ptr<KVConnection> connection,
                                                        const std::string& module,
                                                        Selection selection, double rate,
                                                        Callbacks callbacks) {
    auto implementation = std::make_shared<Private>();
    implementation->fSelection = selection;
    implementation->fCallbacks = std::make_unique<CallbackListener>(std::move(callbacks));
    implementation->fListener = implementation->fCallbacks.get();
    return xStart(std::move(connection), module, rate, std::move(implementation));
}

boost::shared_ptr<KVSubscription> KVSubscription::start(boost::shared_ptr<KVConnection> connection,
                                                        const std::string& module,
                                                        const std::vector<std::string>& names,
                                                        double rate, Callbacks callbacks) {
    if (names.empty()) {
        throw KVError(KVError::Cause::InvalidArgument, "A subscription needs the names of keys.");
    }
    auto implementation = std::make_shared<Private>();
    implementation->fNames = names;
    implementation->fCallbacks = std::make_unique<CallbackListener>(std::move(callbacks));
    implementation->fListener = implementation->fCallbacks.get();
    return xStart(std::move(connection), module, rate, std::move(implementation));
}

boost::shared_ptr<KVSubscription> KVSubscription::xStart(boost::shared_ptr<KVConnection> connection,
                                                         const std::string& module, double rate,
                                                         std::shared_ptr<Private> implementation) {
    if (!connection || module.empty() || implementation->fListener == nullptr) {
        throw KVError(KVError::Cause::InvalidArgument,
                      "A subscription needs a connection, the name of a module and a listener.");
    }
    checkRate(rate);
    const auto& link = *connection->fPrivate;
    robaxi::Target target = link.fTarget;
    target.fModule = module;
    implementation->fStream =
        link.fLink->subscribe(target, implementation->fSelection, implementation->fNames, rate,
                              implementation->fListener);
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

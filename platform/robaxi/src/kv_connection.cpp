#include "broker_private.h"
#include "connection_private.h"
#include "deadline.h"

#include <robaxi/kv_broker.h>
#include <robaxi/kv_connection.h>

#include <memory>
#include <utility>

using robaxi::Failure;

KVConnection::Private::Private(boost::shared_ptr<KVBroker> broker,
                               std::shared_ptr<robaxi::Runtime> runtime,
                               std::shared_ptr<robaxi::Link> link, robaxi::Target target)
    : fBroker(std::move(broker)),
      fRuntime(std::move(runtime)),
      fLink(std::move(link)),
      fTarget(std::move(target)),
      fStrand(robaxi::Strand::create(fRuntime->fNotices)) {
}

void KVConnection::Private::start() {
    const auto loss = fLink->addListener(this);
    if (loss) {
        linkLost(*loss);
    }
}

void KVConnection::Private::stop() {
    fLink->removeListener(this);
    LostHandler lostHandler;
    StateHandler stateHandler;
    std::unique_lock lock(fMutex);
    fLostHandler.swap(lostHandler);
    fStateHandler.swap(stateHandler);
    lock.unlock();
    fStrand->close();
    lock.lock();
    waitForHandler(lock);
    lock.unlock();  // before the captures of the handlers are released
}

void KVConnection::Private::linkLost(const Failure& loss) {
    {
        const std::lock_guard lock(fMutex);
        fLoss = loss;
    }
    setState(State::Lost);
}

void KVConnection::Private::linkSilent(bool isSilent) {
    setState(isSilent ? State::Silent : State::Connected);
}

void KVConnection::Private::setState(State state) {
    {
        const std::lock_guard lock(fMutex);
        fState = state;
    }
    fStrand->post([weak = weak_from_this()] {
        if (const auto self = weak.lock()) {
            self->tell();
        }
    });
}

void KVConnection::Private::tell() {
    std::unique_lock lock(fMutex);
    if (fHandlerThread != std::thread::id() && fHandlerThread != std::this_thread::get_id()) {
        return;  // that thread looks again
    }
    const std::thread::id outer = std::exchange(fHandlerThread, std::this_thread::get_id());
    while (auto notice = takeNotice()) {
        lock.unlock();
        notice();
        notice = nullptr;
        lock.lock();
    }
    fHandlerThread = outer;  // restores this thread's id for a handler that was set by another one
    fHandlerEnded.notify_all();
}

/** Returns the next call of a handler, if any; called with fMutex locked. */
std::function<void()> KVConnection::Private::takeNotice() {
    if (fStateHandler && fState != fToldState) {
        fToldState = fState;
        return [handler = fStateHandler, state = fState] { handler(state); };
    }
    if (fLostHandler && fLoss) {
        return [handler = std::exchange(fLostHandler, nullptr),
                error = robaxi::describe(fTarget, *fLoss)] { handler(error); };
    }
    return nullptr;
}

void KVConnection::Private::waitForHandler(std::unique_lock<std::mutex>& lock) {
    fHandlerEnded.wait(lock, [this] {
        return fHandlerThread == std::thread::id() || fHandlerThread == std::this_thread::get_id();
    });
}

void KVConnection::Private::setLostHandler(LostHandler handler) {
    {
        std::unique_lock lock(fMutex);
        waitForHandler(lock);
        fLostHandler.swap(handler);
    }
    tell();
}

void KVConnection::Private::setStateHandler(StateHandler handler) {
    {
        std::unique_lock lock(fMutex);
        waitForHandler(lock);
        fStateHandler.swap(handler);
        fToldState = State::Connected;
    }
    tell();
}

std::shared_ptr<KVConnection> KVConnection::open(boost::shared_ptr<KVBroker> broker,
                                                 const std::string& ip, int port, double timeOut) {
    return open(std::move(broker), ip, port, timeOut, {});
}

std::shared_ptr<KVConnection> KVConnection::open(boost::shared_ptr<KVBroker> broker,
                                                 const std::string& ip, int port, double timeOut,
                                                 const std::vector<std::string>& addresses) {
    if (!broker) {
        throw KVError(KVError::Cause::InvalidArgument, "A connection needs a broker.");
    }
    robaxi::checkPort(port);
    const robaxi::Deadline deadline = robaxi::deadlineAfter(timeOut);
    robaxi::Target target{{}, {}, ip, port, timeOut};
    try {
        const auto runtime = broker->fPrivate->fRuntime;
        auto link = broker->fPrivate->fLinks.obtain({ip, port, addresses}, deadline);
        auto implementation = std::make_shared<Private>(std::move(broker), runtime, std::move(link),
                                                        std::move(target));
        implementation->start();
        return std::shared_ptr<KVConnection>(new KVConnection(std::move(implementation)));
    } catch (const Failure& failure) {
        throw robaxi::describe(target, failure);
    }
}

KVConnection::KVConnection(std::shared_ptr<Private> implementation)
    : fPrivate(std::move(implementation)) {
}

KVConnection::~KVConnection() {
    fPrivate->stop();
}

const std::string& KVConnection::getIP() const {
    return fPrivate->fTarget.fAddress;
}

std::string KVConnection::getAddress() const {
    return fPrivate->fLink->address();
}

int KVConnection::getPort() const {
    return fPrivate->fTarget.fPort;
}

std::string KVConnection::getPeerName() const {
    return fPrivate->fLink->peerName();
}

bool KVConnection::isConnected() const {
    return !fPrivate->fLink->loss();
}

KVConnection::State KVConnection::getState() const {
    if (fPrivate->fLink->loss()) {
        return State::Lost;
    }
    return fPrivate->fLink->isSilent() ? State::Silent : State::Connected;
}

double KVConnection::getSilence() const {
    return fPrivate->fLink->silence();
}

double KVConnection::getRoundTrip() const {
    return fPrivate->fLink->roundTrip();
}

std::vector<KVModuleInfo> KVConnection::getModules(double timeOut) const {
    robaxi::Target target = fPrivate->fTarget;
    target.fTimeOut = timeOut;
    robaxi::CallOwner owner;
    return fPrivate->fLink->listModules(target, owner, robaxi::deadlineAfter(timeOut));
}

void KVConnection::setLostHandler(LostHandler handler) {
    const auto self = fPrivate;  // the handler may destroy the connection
    self->setLostHandler(std::move(handler));
}

void KVConnection::setStateHandler(StateHandler handler) {
    const auto self = fPrivate;
    self->setStateHandler(std::move(handler));
}

#include "broker_private.h"
#include "connection_private.h"
#include "deadline.h"

#include <robaxi/kv_broker.h>
#include <robaxi/kv_connection.h>

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
    const auto loss = fLink->addLossListener(this);
    if (loss) {
        linkLost(*loss);
    }
}

void KVConnection::Private::stop() {
    fLink->removeLossListener(this);
    fStrand->close();
}

void KVConnection::Private::linkLost(const Failure& loss) {
    {
        const std::lock_guard lock(fMutex);
        fLoss = loss;
    }
    fStrand->post([weak = weak_from_this()] {
        if (const auto self = weak.lock()) {
            self->tellLoss();
        }
    });
}

void KVConnection::Private::tellLoss() {
    LostHandler handler;
    Failure loss;
    std::thread::id outer;
    {
        const std::lock_guard lock(fMutex);
        if (!fLoss || !fHandler) {
            return;
        }
        loss = *fLoss;
        handler = std::exchange(fHandler, nullptr);
        outer = std::exchange(fHandlerThread, std::this_thread::get_id());
    }
    handler(robaxi::describe(fTarget, loss));
    handler = nullptr;
    const std::lock_guard lock(fMutex);
    fHandlerThread = outer;  // restores this thread's id for a handler that was set by another one
    fHandlerEnded.notify_all();
}

void KVConnection::Private::setLostHandler(LostHandler handler) {
    {
        std::unique_lock lock(fMutex);
        fHandlerEnded.wait(lock, [this] {
            return fHandlerThread == std::thread::id() ||
                   fHandlerThread == std::this_thread::get_id();
        });
        fHandler.swap(handler);
    }
    tellLoss();
}

boost::shared_ptr<KVConnection> KVConnection::open(boost::shared_ptr<KVBroker> broker,
                                                   const std::string& ip, int port,
                                                   double timeOut) {
    if (!broker) {
        throw KVError(KVError::Cause::InvalidArgument, "A connection needs a broker.");
    }
    robaxi::checkPort(port);
    const robaxi::Deadline deadline = robaxi::deadlineAfter(timeOut);
    robaxi::Target target{{}, {}, ip, port, timeOut};
    try {
        const auto runtime = broker->fPrivate->fRuntime;
        auto link = broker->fPrivate->fLinks.obtain(ip, port, deadline);
        auto implementation = std::make_shared<Private>(std::move(broker), runtime, std::move(link),
                                                        std::move(target));
        implementation->start();
        return boost::shared_ptr<KVConnection>(new KVConnection(std::move(implementation)));
    } catch (const Failure& failure) {
        throw robaxi::describe(target, failure);
    }
}

KVConnection::KVConnection(std::shared_ptr<Private> implementation)
    : fPrivate(std::move(implementation)) {
}

KVConnection::~KVConnection() {
    fPrivate->stop();
    fPrivate->setLostHandler(nullptr);
}

const std::string& KVConnection::getIP() const {
    return fPrivate->fTarget.fAddress;
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
    fPrivate->setLostHandler(std::move(handler));
}

#include "broker_private.h"
#include "connection_private.h"
#include "deadline.h"

#include <robaxi/kv_broker.h>
#include <robaxi/kv_proxy.h>

#include <memory>
#include <utility>

/**
 * Shared by the proxy and each call in flight, so that the proxy may be destroyed during a call.
 */
struct KVProxy::Private {
    boost::shared_ptr<KVBroker> fBroker;
    std::shared_ptr<robaxi::Link> fLink;  // destroyed before the broker
    robaxi::Target fTarget;
    robaxi::CallOwner fOwner;

    robaxi::Target xMethod(const std::string& method) const {
        robaxi::Target target = fTarget;
        target.fMethod = method;
        return target;
    }

    robaxi::Deadline xDeadline() const { return robaxi::deadlineAfter(fTarget.fTimeOut); }
};

KVProxy::KVProxy(const std::string& moduleName, const std::string& ip, int port,
                 boost::shared_ptr<KVBroker> broker, int timeOut, int /*flags*/)
    : fPrivate(std::make_shared<Private>()) {
    if (moduleName.empty() || !broker) {
        throw KVError(KVError::Cause::InvalidArgument,
                      "A proxy needs the name of a module and a broker.");
    }
    robaxi::checkPort(port);
    const robaxi::Deadline deadline = robaxi::deadlineAfter(timeOut);
    fPrivate->fBroker = std::move(broker);
    fPrivate->fTarget = {moduleName, {}, ip, port, static_cast<double>(timeOut)};
    try {
        fPrivate->fLink = fPrivate->fBroker->fPrivate->fLinks.obtain({ip, port}, deadline);
    } catch (const robaxi::Failure& failure) {
        throw robaxi::describe(fPrivate->fTarget, failure);
    }
    fPrivate->fLink->listModules(fPrivate->fTarget, fPrivate->fOwner, deadline);
}

KVProxy::KVProxy(const std::string& moduleName, const std::shared_ptr<KVConnection>& connection,
                 double timeOut)
    : fPrivate(std::make_shared<Private>()) {
    if (moduleName.empty() || !connection) {
        throw KVError(KVError::Cause::InvalidArgument,
                      "A proxy needs the name of a module and a connection.");
    }
    const KVConnection::Private& connected = *connection->fPrivate;
    fPrivate->fBroker = connected.fBroker;
    fPrivate->fLink = connected.fLink;
    fPrivate->fTarget = connected.fTarget;
    fPrivate->fTarget.fModule = moduleName;
    fPrivate->fTarget.fTimeOut = timeOut;
    static_cast<void>(fPrivate->xDeadline());  // reports an invalid time-out at once
}

KVProxy::~KVProxy() {
    close();
}

KVValue KVProxy::callValue(const std::string& method, const KVValue::List& arguments) {
    const auto self = fPrivate;
    return self->fLink->call(self->xMethod(method), arguments, self->fOwner, self->xDeadline());
}

int KVProxy::postValue(const std::string& method, const KVValue::List& arguments) {
    const auto self = fPrivate;
    return self->fLink->post(self->xMethod(method), arguments, self->fOwner, self->xDeadline());
}

void KVProxy::cancel() {
    const auto self = fPrivate;
    self->fLink->cancel(self->fOwner);
}

void KVProxy::close() {
    fPrivate->fLink->close(fPrivate->fOwner);
}

KVModuleInfo KVProxy::getInfo() {
    const auto self = fPrivate;
    const auto modules = self->fLink->listModules(self->fTarget, self->fOwner, self->xDeadline());
    return modules.empty() ? KVModuleInfo() : modules.front();
}

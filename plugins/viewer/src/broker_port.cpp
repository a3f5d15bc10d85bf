#include <obvista/viewer/broker_port.h>
#include <robaxi/kv_broker.h>
#include <robaxi/kv_error.h>

namespace obvista {

namespace {

constexpr int a_lastBrokerPort = 65535;

boost::shared_ptr<KVBroker> createBroker(const std::string& name, int port) {
    return KVBroker::createBroker({name, "127.0.0.1", port});
}

/** Listening is the only test of a port without a race condition. */
boost::shared_ptr<KVBroker> createBrokerOnFirstFreePort(const std::string& name) {
    for (int port = a_firstBrokerPort; port <= a_lastBrokerPort; ++port) {
        try {
            return createBroker(name, port);
        } catch (const KVError& error) {
            if (error.cause() != KVError::Cause::AddressInUse) {
                throw;
            }
        }
    }
    throw KVError(KVError::Cause::AddressInUse,
                  "no port from " + std::to_string(a_firstBrokerPort) + " to " +
                      std::to_string(a_lastBrokerPort) + " is free on 127.0.0.1");
}

}  // namespace

boost::shared_ptr<KVBroker> openBroker(const std::string& name, int port) {
    return port == 0 ? createBrokerOnFirstFreePort(name) : createBroker(name, port);
}

}  // namespace obvista

#include "brokers.h"

#include <robaxi/kv_error.h>

namespace bench {

boost::shared_ptr<KVBroker> listenOnLoopback() {
    for (int port = 23000;; ++port) {
        try {
            return KVBroker::createBroker("Bench", a_loopback, port, "", 0, 0, "", false);
        } catch (const KVError& error) {
            if (error.cause() != KVError::Cause::AddressInUse) {
                throw;
            }
        }
    }
}

boost::shared_ptr<KVBroker> makeClient() {
    return KVBroker::createBroker("Bench", "", 0, "", 0, 0, "", false);
}

}  // namespace bench

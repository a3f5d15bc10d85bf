#include "test_broker.h"

#include <robaxi/kv_broker.h>
#include <robaxi/kv_error.h>

#include <robot_process.h>

namespace obvista_test {

boost::shared_ptr<KVBroker> createTestBroker(const std::string& name) {
    // Another test may take the port between the look and the listening.
    for (int attempt = 0;; ++attempt) {
        try {
            return KVBroker::createBroker(name, "127.0.0.1", freePort(), "", 0, 0, "", true);
        } catch (const KVError& error) {
            if (error.cause() != KVError::Cause::AddressInUse || attempt == 20) {
                throw;
            }
        }
    }
}

}  // namespace obvista_test

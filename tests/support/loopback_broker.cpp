#include "loopback_broker.h"

#include "free_port.h"

#include <robaxi/kv_broker.h>
#include <robaxi/kv_error.h>
#include <robaxi/kv_settings.h>

namespace obvista_test {

namespace {

constexpr int a_attempts = 20;

}  // namespace

boost::shared_ptr<KVBroker> createTestBroker(const std::string& name, int port) {
    return port == 0 ? createTestBroker(name, KVSettings::load())
                     : KVBroker::createBroker({name, "127.0.0.1", port, KVSettings::load()});
}

boost::shared_ptr<KVBroker> createTestBroker(const std::string& name, const KVSettings& settings) {
    // Another test may take the port between the check and the listening.
    for (int attempt = 1;; ++attempt) {
        try {
            return KVBroker::createBroker({name, "127.0.0.1", freePort(), settings});
        } catch (const KVError& error) {
            if (error.cause() != KVError::Cause::AddressInUse || attempt == a_attempts) {
                throw;
            }
        }
    }
}

}  // namespace obvista_test

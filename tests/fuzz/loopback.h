#ifndef OBVISTA_TESTS_FUZZ_LOOPBACK_H
#define OBVISTA_TESTS_FUZZ_LOOPBACK_H

#include <robaxi/kv_broker.h>
#include <robaxi/kv_error.h>
#include <robaxi/kv_settings.h>

namespace obvista_fuzz {

constexpr const char* a_loopback = "127.0.0.1";

/** Creates a broker on a free port of the loopback. */
inline boost::shared_ptr<KVBroker> listenOnLoopback(const KVSettings& settings = {}) {
    for (int port = 27000;; ++port) {
        try {
            return KVBroker::createBroker("Fuzz", a_loopback, port, "", 0, 0, "", false, settings);
        } catch (const KVError& error) {
            if (error.cause() != KVError::Cause::AddressInUse) {
                throw;
            }
        }
    }
}

}  // namespace obvista_fuzz

#endif

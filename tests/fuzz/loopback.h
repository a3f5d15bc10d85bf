#ifndef OBVISTA_TESTS_FUZZ_LOOPBACK_H
#define OBVISTA_TESTS_FUZZ_LOOPBACK_H

#include <robaxi/kv_broker.h>
#include <robaxi/kv_settings.h>

namespace obvista_fuzz {

constexpr const char* a_loopback = "127.0.0.1";

/** Creates a broker on a free port of the loopback. */
inline boost::shared_ptr<KVBroker> listenOnLoopback(const KVSettings& settings = {}) {
    return KVBroker::createBroker({"Fuzz", a_loopback, 0, settings});
}

}  // namespace obvista_fuzz

#endif

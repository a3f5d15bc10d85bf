#ifndef OBVISTA_BENCH_ROBAXI_BROKERS_H
#define OBVISTA_BENCH_ROBAXI_BROKERS_H

#include <robaxi/kv_broker.h>

namespace bench {

constexpr const char* a_loopback = "127.0.0.1";

/** Creates a broker on a free port of the loopback. */
boost::shared_ptr<KVBroker> listenOnLoopback();

/** Creates a broker that does not listen. */
boost::shared_ptr<KVBroker> makeClient();

}  // namespace bench

#endif

#ifndef OBVISTA_BENCH_ROBAXI_BROKERS_H
#define OBVISTA_BENCH_ROBAXI_BROKERS_H

#include <robaxi/kv_broker.h>

namespace bench {

constexpr const char* a_loopback = "127.0.0.1";

/** A broker on a port of the loopback that was free. */
boost::shared_ptr<KVBroker> listenOnLoopback();

/** A broker that listens nowhere. */
boost::shared_ptr<KVBroker> makeClient();

}  // namespace bench

#endif

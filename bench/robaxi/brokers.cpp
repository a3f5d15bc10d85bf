#include "brokers.h"

namespace bench {

boost::shared_ptr<KVBroker> listenOnLoopback() {
    return KVBroker::createBroker({"Bench", a_loopback, 0});
}

boost::shared_ptr<KVBroker> makeClient() {
    return KVBroker::createBroker({"Bench"});
}

}  // namespace bench

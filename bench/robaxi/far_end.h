#ifndef OBVISTA_BENCH_ROBAXI_FAR_END_H
#define OBVISTA_BENCH_ROBAXI_FAR_END_H

#include <robaxi/kv_broker.h>

#include <string>
#include <sys/types.h>

namespace bench {

constexpr const char* a_loopback = "127.0.0.1";

/** A broker on a port of the loopback that was free. */
boost::shared_ptr<KVBroker> listenOnLoopback();

/** A broker that listens nowhere. */
boost::shared_ptr<KVBroker> makeClient();

/** This program once more, with an argument; it ends with the object. */
class FarEnd {
  public:
    explicit FarEnd(const std::string& argument = "--serve");
    ~FarEnd();
    FarEnd(const FarEnd&) = delete;
    FarEnd& operator=(const FarEnd&) = delete;

    pid_t pid() const { return fPid; }
    int brokerPort() const { return fBrokerPort; }
    int plainPort() const { return fPlainPort; }

  private:
    pid_t fPid = -1;
    int fInput = -1;
    int fBrokerPort = 0;
    int fPlainPort = 0;
};

/** To be called in the far end: tells its ports and returns when it is to end. */
void serveAt(int brokerPort, int plainPort);

}  // namespace bench

#endif

#ifndef OBVISTA_BENCH_ROBAXI_FAR_END_H
#define OBVISTA_BENCH_ROBAXI_FAR_END_H

#include <string>
#include <sys/types.h>

namespace bench {

/**
 * A child process, this program or another one, with an argument. It is ready when it has called
 * serveAt(), and ends with the object.
 */
class FarEnd {
  public:
    explicit FarEnd(const std::string& argument = "--serve",
                    std::string program = "/proc/self/exe");
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

/** Called in the far end: reports its ports and returns when it is to end. */
void serveAt(int brokerPort, int plainPort);

}  // namespace bench

#endif

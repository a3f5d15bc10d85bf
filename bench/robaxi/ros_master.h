#ifndef OBVISTA_BENCH_ROBAXI_ROS_MASTER_H
#define OBVISTA_BENCH_ROBAXI_ROS_MASTER_H

#include <string>
#include <sys/types.h>

namespace bench {

/**
 * ROS's name server, on a free port of the loopback. It ends with the object.
 *
 * It sets the environment of this process so that this process and the programs that it starts find
 * the server, and write their logs to a folder that is removed with it.
 */
class RosMaster {
  public:
    /** Returns when it listens. @throws std::runtime_error if it does not */
    RosMaster();
    ~RosMaster();
    RosMaster(const RosMaster&) = delete;
    RosMaster& operator=(const RosMaster&) = delete;

  private:
    void xStart(const std::string& port);
    void xAwait(int port) const;

    std::string fFolder;
    pid_t fPid = -1;
};

}  // namespace bench

#endif

#ifndef OBVISTA_BENCH_ROBAXI_ROS_MASTER_H
#define OBVISTA_BENCH_ROBAXI_ROS_MASTER_H

#include <string>
#include <sys/types.h>

namespace bench {

/**
 * ROS's name server, at a port of the loopback that was free. It ends with the object.
 *
 * The environment of this process is set so that it and the programs it starts from now on find
 * it, and keep their logs in a folder that goes with it.
 */
class RosMaster {
  public:
    /** Returns when it listens. @throws std::runtime_error when it does not */
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

#ifndef OBVISTA_BENCH_ROBAXI_LOOPBACK_H
#define OBVISTA_BENCH_ROBAXI_LOOPBACK_H

/** Plain TCP sockets on the loopback; each operation throws std::runtime_error when it fails. */
namespace loopback {

/** Listens at a port that was free. */
int listen(int& port);
int connect(int port);
/** Sends small messages without waiting for more. */
void sendAtOnce(int socket);

}  // namespace loopback

#endif

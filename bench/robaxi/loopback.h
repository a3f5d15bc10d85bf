#ifndef OBVISTA_BENCH_ROBAXI_LOOPBACK_H
#define OBVISTA_BENCH_ROBAXI_LOOPBACK_H

/** Plain TCP sockets on the loopback; each operation throws std::runtime_error when it fails. */
namespace loopback {

/** Listens on a free port. */
int listen(int& port);
int connect(int port);
/** Disables delayed sending of small messages. */
void sendAtOnce(int socket);

}  // namespace loopback

#endif

#ifndef ROBAXI_CHANNEL_RELEASE_H
#define ROBAXI_CHANNEL_RELEASE_H

#include <grpcpp/grpcpp.h>

#include <memory>

namespace robaxi {

/**
 * Releases a channel, as soon as it does not connect any more if it does. Does not wait.
 *
 * gRPC 1.51 forgets a connection whose channel is destroyed after the TCP handshake and before the
 * robot's first frame, which comes late if the robot is stopped or the network is slow: the socket
 * is never closed, and gRPC keeps its threads. A channel connects for 20 seconds at most.
 */
void releaseChannel(std::shared_ptr<grpc::Channel> channel);

}  // namespace robaxi

#endif

#include "channel.h"

#include "limits.h"

namespace robaxi {

std::shared_ptr<grpc::Channel> createChannel(const std::string& target) {
    grpc::ChannelArguments arguments;
    arguments.SetMaxReceiveMessageSize(static_cast<int>(limits::a_largestBatch));
    arguments.SetMaxSendMessageSize(static_cast<int>(limits::a_largestBatch));
    // A robot is never behind the proxy that the environment names for web pages.
    arguments.SetInt(GRPC_ARG_ENABLE_HTTP_PROXY, 0);
    arguments.SetInt(GRPC_ARG_SERVICE_CONFIG_DISABLE_RESOLUTION, 1);
    arguments.SetInt(GRPC_ARG_ENABLE_RETRIES, 0);
    // Otherwise brokers of one process that reach the same robot share a connection, and the end
    // of one broker's would be the end of the other's.
    arguments.SetInt(GRPC_ARG_USE_LOCAL_SUBCHANNEL_POOL, 1);
    // A fixed window for each stream in place of one that gRPC widens as it measures the network:
    // pictures then queue up nowhere for long, so that calls do not wait behind them, and are read
    // while they are still in the processor's cache, which halves what they cost.
    arguments.SetInt(GRPC_ARG_HTTP2_BDP_PROBE, 0);
    arguments.SetInt(GRPC_ARG_HTTP2_STREAM_LOOKAHEAD_BYTES,
                     static_cast<int>(limits::a_streamWindow));
    return grpc::CreateCustomChannel(target, grpc::InsecureChannelCredentials(), arguments);
}

void configureServer(grpc::ServerBuilder& builder) {
    builder.SetMaxReceiveMessageSize(static_cast<int>(limits::a_largestBatch));
    builder.SetMaxSendMessageSize(static_cast<int>(limits::a_largestBatch));
    // Two robots on one port would each get every second connection.
    builder.AddChannelArgument(GRPC_ARG_ALLOW_REUSEPORT, 0);
    builder.AddChannelArgument(GRPC_ARG_MAX_CONCURRENT_STREAMS,
                               static_cast<int>(2 + 2 * (limits::a_subscriptionsOfSession +
                                                         limits::a_watchedCamerasOfSession)));
    // With its silence only the session of a client ends that was stopped or has vanished. This
    // ends the connection under it.
    constexpr int longestWithoutSession = 2000;  // milliseconds
    builder.AddChannelArgument(GRPC_ARG_MAX_CONNECTION_IDLE_MS, longestWithoutSession);
}

}  // namespace robaxi

#include "net/channel.h"

#include "wire/limits.h"

#include <grpc/support/log.h>

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <mutex>

namespace robaxi {

namespace {

constexpr std::size_t a_mostStreams = 1000000;

/** Size of a batch, or of a part of a frame. */
int largestBatch(const KVSettings::Limits& limits) {
    return static_cast<int>(
        std::max(limits.fMessage + limits::a_roomForBatch, 2 * limits::a_partOfFrame));
}

/** Suppresses gRPC's log on standard error; our errors report the same to the user. */
void keepGrpcQuiet() {
    static std::once_flag done;
    std::call_once(done, [] {
        if (std::getenv("GRPC_VERBOSITY") == nullptr) {
            gpr_set_log_function([](gpr_log_func_args*) {});
        }
    });
}

}  // namespace

std::shared_ptr<grpc::Channel> createChannel(const std::string& target,
                                             const ClientSecurity& security,
                                             const KVSettings::Limits& limits) {
    keepGrpcQuiet();
    grpc::ChannelArguments arguments;
    arguments.SetMaxReceiveMessageSize(largestBatch(limits));
    arguments.SetMaxSendMessageSize(largestBatch(limits));
    if (security.usesTls()) {
        arguments.SetSslTargetNameOverride(security.name());
    }
    // The environment's proxy is for web pages; robots are never behind it.
    arguments.SetInt(GRPC_ARG_ENABLE_HTTP_PROXY, 0);
    arguments.SetInt(GRPC_ARG_SERVICE_CONFIG_DISABLE_RESOLUTION, 1);
    arguments.SetInt(GRPC_ARG_ENABLE_RETRIES, 0);
    // Otherwise brokers of one process that reach the same robot would share a connection, and
    // closing one broker's would close the other's.
    arguments.SetInt(GRPC_ARG_USE_LOCAL_SUBCHANNEL_POOL, 1);
    // A fixed window for each stream instead of one that gRPC adapts to the network: pictures then
    // never queue for long, so that calls do not wait behind them, and they are read while they are
    // still in the processor's cache, which halves their cost.
    arguments.SetInt(GRPC_ARG_HTTP2_BDP_PROBE, 0);
    arguments.SetInt(GRPC_ARG_HTTP2_STREAM_LOOKAHEAD_BYTES,
                     static_cast<int>(limits::a_streamWindow));
    // TCP_USER_TIMEOUT, which gRPC only sets with keepalive pings. These never become due, since
    // the heartbeats do more.
    arguments.SetInt(GRPC_ARG_KEEPALIVE_TIME_MS, std::numeric_limits<int>::max() - 1);
    arguments.SetInt(GRPC_ARG_KEEPALIVE_TIMEOUT_MS,
                     static_cast<int>(limits::timeOutOfTransport(limits).count()));
    return grpc::CreateCustomChannel(target, security.credentials(), arguments);
}

void configureServer(grpc::ServerBuilder& builder, const KVSettings::Limits& limits) {
    keepGrpcQuiet();
    builder.SetMaxReceiveMessageSize(largestBatch(limits));
    builder.SetMaxSendMessageSize(largestBatch(limits));
    builder.AddChannelArgument(
        GRPC_ARG_MAX_CONCURRENT_STREAMS,
        static_cast<int>(
            std::min(2 + 2 * (limits.fSubscriptions + limits.fCameras), a_mostStreams)));
    // When a client that was stopped or has vanished is silent, only its session ends; this closes
    // the connection. Not sooner, since a client may be suspended between connecting and hello, and
    // would find the connection closed.
    builder.AddChannelArgument(GRPC_ARG_MAX_CONNECTION_IDLE_MS,
                               static_cast<int>(limits::timeForFirstMessage(limits).count()));
}

}  // namespace robaxi

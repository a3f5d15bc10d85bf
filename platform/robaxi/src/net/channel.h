#ifndef ROBAXI_CHANNEL_H
#define ROBAXI_CHANNEL_H

#include "net/security.h"

#include <robaxi/kv_settings.h>

#include <grpcpp/grpcpp.h>

#include <memory>
#include <string>

namespace robaxi {

/**
 * Creates a channel to one numeric address that shares nothing with other channels of the process.
 */
std::shared_ptr<grpc::Channel> createChannel(const std::string& target,
                                             const ClientSecurity& security,
                                             const KVSettings::Limits& limits);

/** Sets the options of every connection to our server. */
void configureServer(grpc::ServerBuilder& builder, const KVSettings::Limits& limits);

}  // namespace robaxi

#endif

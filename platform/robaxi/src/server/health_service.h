#ifndef ROBAXI_HEALTH_SERVICE_H
#define ROBAXI_HEALTH_SERVICE_H

#include "grpc/health/v1/health.grpc.pb.h"

#include <memory>

namespace robaxi {

class Server;

/** Creates gRPC's health service: the robot and its services serve as long as they answer. */
std::unique_ptr<grpc::Service> makeHealthService(Server& server);

}  // namespace robaxi

#endif

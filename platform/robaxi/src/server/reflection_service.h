#ifndef ROBAXI_REFLECTION_SERVICE_H
#define ROBAXI_REFLECTION_SERVICE_H

#include "grpc/reflection/v1alpha/reflection.grpc.pb.h"

#include <memory>

namespace robaxi {

class Server;

/** Creates gRPC's reflection service, with which generic clients find services and messages. */
std::unique_ptr<grpc::Service> makeReflectionService(Server& server);

}  // namespace robaxi

#endif

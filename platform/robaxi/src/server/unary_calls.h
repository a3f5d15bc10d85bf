#ifndef ROBAXI_UNARY_CALLS_H
#define ROBAXI_UNARY_CALLS_H

#include "robaxi/v1/robaxi.pb.h"

#include <grpcpp/grpcpp.h>

/** Calls of methods and the list of modules without a session. */
namespace robaxi {

class Server;

/** Runs a call on the broker's threads, as for a session. */
grpc::ServerUnaryReactor* startUnaryCall(Server& server, grpc::CallbackServerContext* context,
                                         const v1::Call& request, v1::Result* response);

grpc::ServerUnaryReactor* startUnaryList(Server& server, grpc::CallbackServerContext* context,
                                         const v1::ListModules& request, v1::ModuleList* response);

}  // namespace robaxi

#endif

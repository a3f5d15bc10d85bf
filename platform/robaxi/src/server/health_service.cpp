#include "server/health_service.h"

#include "server/descriptor_index.h"
#include "server/free_stream.h"
#include "server/server.h"
#include "server/unary_rpc.h"

namespace robaxi {

namespace {

namespace health = grpc::health::v1;
using Request = health::HealthCheckRequest;
using Response = health::HealthCheckResponse;

bool isServed(const std::string& service) {
    return service.empty() || DescriptorIndex::instance().hasService(service);
}

class CheckRpc : public UnaryRpc<Request, Response> {
  public:
    using UnaryRpc::UnaryRpc;

  private:
    void xAnswer() override {
        if (isServed(fRequest.service())) {
            Response response;
            response.set_status(Response::SERVING);
            xSend(std::move(response));
        } else {
            xEnd(grpc::Status(grpc::StatusCode::NOT_FOUND, "there is no service of that name"));
        }
    }
};

/** Reports the state once, since it does not change, and ends with its client. */
class WatchRpc : public FreeStream<grpc::ServerWriteReactor<Response>> {
  public:
    WatchRpc(Server& server, grpc::CallbackServerContext* context, const Request& request)
        : FreeStream(server, context) {
        fResponse.set_status(isServed(request.service()) ? Response::SERVING
                                                         : Response::SERVICE_UNKNOWN);
    }

    void OnWriteDone(bool ok) override {
        const GrpcReaction reaction(this);
        if (!ok) {
            xEnd(grpc::Status::CANCELLED);
        }
    }

  private:
    void xBegin() override { StartWrite(&fResponse); }

    Response fResponse;
};

class HealthService : public health::Health::CallbackService {
  public:
    explicit HealthService(Server& server) : fServer(server) {}

    grpc::ServerUnaryReactor* Check(grpc::CallbackServerContext* context, const Request* request,
                                    Response* response) override {
        return startUnary<CheckRpc>(fServer, context, *request, response);
    }

    grpc::ServerWriteReactor<Response>* Watch(grpc::CallbackServerContext* context,
                                              const Request* request) override {
        auto* const watch = new WatchRpc(fServer, context, *request);
        watch->start();
        return watch;
    }

  private:
    Server& fServer;
};

}  // namespace

std::unique_ptr<grpc::Service> makeHealthService(Server& server) {
    return std::make_unique<HealthService>(server);
}

}  // namespace robaxi

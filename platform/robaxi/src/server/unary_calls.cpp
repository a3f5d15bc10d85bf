#include "server/unary_calls.h"

#include "server/module_calls.h"
#include "server/server.h"
#include "server/unary_rpc.h"

namespace robaxi {

namespace {

/** The server is not used in a call: it may be destroyed while a method runs. */
class UnaryCall : public UnaryRpc<v1::Call, v1::Result> {
  public:
    UnaryCall(Server& server, grpc::CallbackServerContext* context, const v1::Call& request,
              v1::Result* response)
        : UnaryRpc(server, context, request, response),
          fModules(server.modules()),
          fPool(server.calls()),
          fLimits(server.limits()) {}

  private:
    void xAnswer() override {
        fPool->post([this, self = shared_from_this()] { xRun(); });
    }

    void xRun() {
        if (xHasEnded()) {
            return;  // cancelled while it waited
        }
        if (const auto refusal = fAdmission.refusalForRoom()) {
            xRefuse(*refusal);  // results wait to be sent
            return;
        }
        v1::Result result;
        runCall(*fModules, fRequest, fLimits, &result);
        if (result.has_error()) {
            xRefuse(result.error());
            return;
        }
        fAdmission.addResult(result.ByteSizeLong());
        xSend(std::move(result));
    }

    const std::shared_ptr<HostedModules> fModules;
    const std::shared_ptr<TaskPool> fPool;
    const KVSettings::Limits fLimits;
};

class UnaryList : public UnaryRpc<v1::ListModules, v1::ModuleList> {
  public:
    UnaryList(Server& server, grpc::CallbackServerContext* context, const v1::ListModules& request,
              v1::ModuleList* response)
        : UnaryRpc(server, context, request, response), fModules(server.modules()) {}

  private:
    void xAnswer() override {
        v1::ModuleList list;
        if (listModules(*fModules, fRequest.module(), &list)) {
            xSend(std::move(list));
        } else {
            xRefuse(makeError(v1::Error::NO_SUCH_MODULE));
        }
    }

    const std::shared_ptr<HostedModules> fModules;
};

}  // namespace

grpc::ServerUnaryReactor* startUnaryCall(Server& server, grpc::CallbackServerContext* context,
                                         const v1::Call& request, v1::Result* response) {
    return startUnary<UnaryCall>(server, context, request, response);
}

grpc::ServerUnaryReactor* startUnaryList(Server& server, grpc::CallbackServerContext* context,
                                         const v1::ListModules& request, v1::ModuleList* response) {
    return startUnary<UnaryList>(server, context, request, response);
}

}  // namespace robaxi

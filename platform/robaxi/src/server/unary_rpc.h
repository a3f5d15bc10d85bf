#ifndef ROBAXI_UNARY_RPC_H
#define ROBAXI_UNARY_RPC_H

#include "server/admission.h"
#include "wire/grpc_handover.h"
#include "wire/status_codec.h"

#include <grpcpp/grpcpp.h>

#include <atomic>
#include <memory>
#include <optional>
#include <utility>

namespace robaxi {

/**
 * Base of the robot's ends of RPCs with one request and one response, which end when they are
 * answered or when the client cancels them. The RPC owns itself until OnDone(); what still runs for
 * it owns it longer.
 */
template <class Request, class Response>
class UnaryRpc : public grpc::ServerUnaryReactor,
                 public std::enable_shared_from_this<UnaryRpc<Request, Response>> {
  public:
    UnaryRpc(Server& server, grpc::CallbackServerContext* context, const Request& request,
             Response* response)
        : fAdmission(server, context), fRequest(request), fContext(context), fResponse(response) {}
    UnaryRpc(const UnaryRpc&) = delete;
    UnaryRpc& operator=(const UnaryRpc&) = delete;

    void start() {
        fSelf = this->shared_from_this();
        giveToGrpc(this);
        fAdmission.start(fRequest.ByteSizeLong(), [this](const std::optional<v1::Error>& refusal) {
            if (refusal) {
                xRefuse(*refusal);
            } else {
                xAnswer();
            }
        });
    }

    void OnCancel() final {
        const GrpcReaction reaction(this);
        xRefuse(makeError(v1::Error::CANCELLED));
    }

    void OnDone() final {
        takeFromGrpc(this);
        const auto self = std::move(fSelf);
    }

  protected:
    /** Answers the request with xSend() or xRefuse(), perhaps later and on another thread. */
    virtual void xAnswer() = 0;

    bool xHasEnded() const { return fHasEnded; }

    // The RPC may be destroyed as soon as one of these has finished it.

    void xSend(Response&& response) {
        if (!fHasEnded.exchange(true)) {
            *fResponse = std::move(response);
            giveToGrpc(this);
            Finish(grpc::Status::OK);
        }
    }

    void xRefuse(const v1::Error& error) {
        if (!fHasEnded.exchange(true)) {
            const grpc::Status status = encodeStatus(error, *fContext);
            giveToGrpc(this);
            Finish(status);
        }
    }

    void xEnd(const grpc::Status& status) {
        if (!fHasEnded.exchange(true)) {
            giveToGrpc(this);
            Finish(status);
        }
    }

    Admission fAdmission;
    const Request fRequest;

  private:
    grpc::CallbackServerContext* const fContext;
    Response* const fResponse;  // valid until Finish()
    std::atomic<bool> fHasEnded{false};
    std::shared_ptr<UnaryRpc> fSelf;
};

/** Starts an RPC of a class derived from UnaryRpc. */
template <class Rpc, class Request, class Response>
grpc::ServerUnaryReactor* startUnary(Server& server, grpc::CallbackServerContext* context,
                                     const Request& request, Response* response) {
    const auto rpc = std::make_shared<Rpc>(server, context, request, response);
    rpc->start();
    return rpc.get();
}

}  // namespace robaxi

#endif

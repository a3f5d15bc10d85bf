#ifndef ROBAXI_FREE_STREAM_H
#define ROBAXI_FREE_STREAM_H

#include "server/admission.h"
#include "wire/grpc_handover.h"
#include "wire/status_codec.h"

#include <grpcpp/grpcpp.h>

#include <atomic>
#include <optional>

namespace robaxi {

/** Base of the robot's ends of streams that belong to no session. Owns itself until OnDone(). */
template <class Reactor>
class FreeStream : public Reactor {
  public:
    FreeStream(Server& server, grpc::CallbackServerContext* context)
        : fAdmission(server, context), fContext(context) {}
    FreeStream(const FreeStream&) = delete;
    FreeStream& operator=(const FreeStream&) = delete;

    void start() {
        giveToGrpc(this);
        fAdmission.start(0, [this](const std::optional<v1::Error>& refusal) {
            if (refusal) {
                xEnd(encodeStatus(refusal, *fContext));
            } else {
                xBegin();
            }
        });
    }

    void OnCancel() final {
        const GrpcReaction reaction(this);
        xEnd(grpc::Status::CANCELLED);
    }

    void OnDone() final {
        takeFromGrpc(this);
        delete this;
    }

  protected:
    /** Starts to read or write; on the timer thread or one of gRPC's. */
    virtual void xBegin() = 0;

    void xEnd(const grpc::Status& status) {
        if (!fHasEnded.exchange(true)) {
            giveToGrpc(this);
            this->Finish(status);
        }
    }

  private:
    Admission fAdmission;
    grpc::CallbackServerContext* const fContext;
    std::atomic<bool> fHasEnded{false};
};

}  // namespace robaxi

#endif

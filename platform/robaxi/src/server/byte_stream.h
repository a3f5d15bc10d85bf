#ifndef ROBAXI_BYTE_STREAM_H
#define ROBAXI_BYTE_STREAM_H

#include "wire/grpc_handover.h"
#include "wire/status_codec.h"

#include <grpcpp/grpcpp.h>

#include <mutex>
#include <optional>

namespace robaxi {

/** Base of the robot's ends of the session and of the streams beside it, which parse messages. */
class ByteStream : public grpc::ServerBidiReactor<grpc::ByteBuffer, grpc::ByteBuffer> {
  protected:
    explicit ByteStream(grpc::CallbackServerContext* context) : fContext(context) {}

    /** Starts to receive a message into fIncoming. */
    void xRead() {
        giveToGrpc(&fIncoming);
        StartRead(&fIncoming);
    }

    /** Ends the stream with the status of fEnding if `now` is true. Called without fMutex. */
    void xFinishWhen(bool now) {
        if (!now) {
            return;
        }
        grpc::Status status;
        {
            const std::lock_guard lock(fMutex);
            status = encodeStatus(fEnding, *fContext);
        }
        giveToGrpc(this);
        Finish(status);
    }

    grpc::CallbackServerContext* const fContext;
    grpc::ByteBuffer fIncoming;
    std::mutex fMutex;
    std::optional<v1::Error> fEnding;  // reason for the end, guarded by fMutex
};

}  // namespace robaxi

#endif

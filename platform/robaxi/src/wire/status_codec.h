#ifndef ROBAXI_STATUS_CODEC_H
#define ROBAXI_STATUS_CODEC_H

#include "failure.h"
#include "robaxi/v1/robaxi.pb.h"

#include <grpcpp/grpcpp.h>

#include <optional>
#include <string>

/** The end of an RPC: a status of gRPC, and a v1::Error in the trailing metadata. */
namespace robaxi {

v1::Error makeError(v1::Error::Cause cause, const std::string& text = std::string());

/** Returns the status of gRPC for a cause; INTERNAL for an unknown one. */
grpc::StatusCode statusCodeOf(v1::Error::Cause cause);

/** Returns the cause in words, for a status without a text. */
const char* sentenceOf(v1::Error::Cause cause);

/** Returns the status for an error, and adds its details to the trailing metadata; OK without one.
 */
grpc::Status encodeStatus(const std::optional<v1::Error>& error, grpc::ServerContextBase& context);

/** The end of an RPC as its client sees it. */
struct EndOfRpc {
    v1::Error::Cause fCause;
    Failure fFailure;
    bool fHasDetails = false;  // the robot sent them
};

/**
 * Returns why an RPC has ended.
 *
 * @param context of the RPC, which has ended
 * @param notFound cause of the status NOT_FOUND if the robot sends no details
 */
EndOfRpc decodeStatus(const grpc::Status& status, const grpc::ClientContext& context,
                      v1::Error::Cause notFound);

}  // namespace robaxi

#endif

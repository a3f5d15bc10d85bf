#include "wire/status_codec.h"

#include "error_sentences.h"
#include "wire/message_codec.h"

#include <base/safe_text.h>

#include <string>

namespace robaxi {

namespace {

constexpr const char* a_detailsKey = "robaxi-error-bin";

/** gRPC limits all metadata of an RPC to 8 KiB, and escapes up to three bytes for each. */
constexpr std::size_t a_longestText = 1000;

/** gRPC ends an RPC with the same status as a robot that has reached a limit. */
bool isTooLarge(const grpc::Status& status) {
    return status.error_message().find("larger than max") != std::string::npos;
}

/** Returns the cause of a status without details, which may come from gRPC itself. */
v1::Error::Cause causeOf(const grpc::Status& status, v1::Error::Cause notFound) {
    switch (status.error_code()) {
        case grpc::StatusCode::INVALID_ARGUMENT:
            return v1::Error::INVALID_ARGUMENT;
        case grpc::StatusCode::NOT_FOUND:
            return notFound;
        case grpc::StatusCode::UNAUTHENTICATED:
        case grpc::StatusCode::PERMISSION_DENIED:
            return v1::Error::NOT_AUTHORISED;
        case grpc::StatusCode::RESOURCE_EXHAUSTED:
            return isTooLarge(status) ? v1::Error::TOO_LARGE : v1::Error::TOO_MANY;
        case grpc::StatusCode::FAILED_PRECONDITION:
        case grpc::StatusCode::UNIMPLEMENTED:
            return v1::Error::PROTOCOL_VERSION;
        default:
            return v1::Error::CONNECTION_LOST;
    }
}

/** Returns the message of a robot; those of gRPC itself mean nothing to users. */
std::string textOf(const grpc::Status& status, v1::Error::Cause cause) {
    switch (cause) {
        case v1::Error::CONNECTION_LOST:
            return "the robot ended it";
        case v1::Error::TOO_LARGE:
        case v1::Error::PROTOCOL_VERSION:
            return {};
        default:
            return base::shortened(status.error_message(), a_longestText);
    }
}

}  // namespace

v1::Error makeError(v1::Error::Cause cause, const std::string& text) {
    v1::Error error;
    error.set_cause(cause);
    error.set_text(text);
    return error;
}

grpc::StatusCode statusCodeOf(v1::Error::Cause cause) {
    switch (cause) {
        case v1::Error::INVALID_ARGUMENT:
        case v1::Error::WRONG_ARGUMENTS:
        case v1::Error::WRONG_TYPE:
            return grpc::StatusCode::INVALID_ARGUMENT;
        case v1::Error::NO_SUCH_MODULE:
        case v1::Error::NO_SUCH_METHOD:
        case v1::Error::NO_SUCH_STREAM:
            return grpc::StatusCode::NOT_FOUND;
        case v1::Error::RAISED_BY_MODULE:
            return grpc::StatusCode::UNKNOWN;
        case v1::Error::NOT_AUTHORISED:
            return grpc::StatusCode::PERMISSION_DENIED;
        case v1::Error::TOKEN_MISSING:
        case v1::Error::TOKEN_WRONG:
            return grpc::StatusCode::UNAUTHENTICATED;
        case v1::Error::TOO_LARGE:
        case v1::Error::TOO_MANY:
            return grpc::StatusCode::RESOURCE_EXHAUSTED;
        case v1::Error::CANCELLED:
            return grpc::StatusCode::CANCELLED;
        case v1::Error::TIMED_OUT:
            return grpc::StatusCode::DEADLINE_EXCEEDED;
        case v1::Error::PROTOCOL_VERSION:
            return grpc::StatusCode::FAILED_PRECONDITION;
        case v1::Error::NAME_NOT_FOUND:
        case v1::Error::NO_ROUTE:
        case v1::Error::REFUSED:
        case v1::Error::CONNECTION_LOST:
        case v1::Error::ADDRESS_IN_USE:
        case v1::Error::CANNOT_LISTEN:
        case v1::Error::NOT_TRUSTED:
            return grpc::StatusCode::UNAVAILABLE;
        default:
            return grpc::StatusCode::INTERNAL;
    }
}

const char* sentenceOf(v1::Error::Cause cause) {
    switch (cause) {
        case v1::Error::TOKEN_MISSING:
            return "the robot requires a token";
        case v1::Error::TOKEN_WRONG:
            return "the token is not the right one";
        default:
            return reasonOf(decodeCause(cause));
    }
}

grpc::Status encodeStatus(const std::optional<v1::Error>& error, grpc::ServerContextBase& context) {
    if (!error) {
        return grpc::Status::OK;
    }
    v1::Error details = *error;
    details.set_text(base::shortened(error->text(), a_longestText));
    context.AddTrailingMetadata(a_detailsKey, details.SerializeAsString());
    return {statusCodeOf(error->cause()),
            details.text().empty() ? sentenceOf(error->cause()) : details.text()};
}

EndOfRpc decodeStatus(const grpc::Status& status, const grpc::ClientContext& context,
                      v1::Error::Cause notFound) {
    const auto& metadata = context.GetServerTrailingMetadata();
    const auto found = metadata.find(a_detailsKey);
    v1::Error error;
    if (!status.ok() && found != metadata.end() &&
        error.ParseFromArray(found->second.data(), static_cast<int>(found->second.size()))) {
        return {error.cause(), {decodeCause(error.cause()), error.text()}, true};
    }
    const v1::Error::Cause cause = causeOf(status, notFound);
    return {cause, {decodeCause(cause), textOf(status, cause)}};
}

}  // namespace robaxi

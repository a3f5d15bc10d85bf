// Messages from a client on a subscription, received by our broker.
#include "fuzz_target.h"
#include "hosting_broker.h"
#include "pieces.h"

namespace {

using obvista_fuzz::HostingBroker;
using obvista_fuzz::require;
using robaxi::v1::SubscriptionRequest;
using robaxi::v1::SubscriptionUpdate;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // Placeholder for the session's id in the inputs, since the id differs in each run.
    constexpr std::uint64_t thisSession = 1;
    HostingBroker& broker = HostingBroker::instance();
    const std::uint64_t session = broker.keepSession();
    grpc::ClientContext context;
    HostingBroker::setDeadline(context);
    const auto stream = broker.stub().Subscribe(&context);
    SubscriptionUpdate update;
    bool mayRead = true;
    SubscriptionRequest request;
    for (const std::string& bytes : obvista_fuzz::pieces(data, size)) {
        if (!request.ParseFromString(bytes)) {
            break;
        }
        if (request.start().session_id() == thisSession) {
            request.mutable_start()->set_session_id(session);
        }
        if (!stream->Write(request)) {
            break;
        }
        // Every subscription is answered once, with its keys or with its end.
        if (std::exchange(mayRead, false) && !stream->Read(&update)) {
            break;
        }
    }
    stream->WritesDone();
    while (stream->Read(&update)) {
    }
    require(stream->Finish().error_code() != grpc::StatusCode::DEADLINE_EXCEEDED,
            "a subscription ends when its client ends it");
    return 0;
}

// Messages from a client on a session, received by our broker, in batches.
//
// The first byte of an input selects whether hello is sent before (0), is left to the input (1), or
// is left to it at a broker that requires a token (2).
#include "fuzz_target.h"
#include "hosting_broker.h"
#include "pieces.h"

#include <algorithm>

namespace {

using obvista_fuzz::HostingBroker;
using obvista_fuzz::require;
using robaxi::v1::ClientBatch;
using robaxi::v1::ServerBatch;

constexpr std::uint8_t a_saysHello = 0;
constexpr std::uint8_t a_asksForToken = 2;

constexpr std::uint64_t a_heartbeat = 0xFEEDBEEF;

/** Received messages of a session. */
struct Answers {
    bool fHasHeartbeat = false;
    bool fHasOthers = false;

    void add(const ServerBatch& batch) {
        for (const auto& message : batch.messages()) {
            if (message.heartbeat().number() == a_heartbeat) {
                fHasHeartbeat = true;
            } else {
                fHasOthers = true;
            }
        }
    }
};

/** Returns when the robot has read everything that was sent, or has ended the session. */
void awaitEcho(HostingBroker::Session& session, Answers& answers) {
    ClientBatch heartbeat;
    heartbeat.add_messages()->mutable_heartbeat()->set_number(a_heartbeat);
    session.Write(heartbeat);
    ServerBatch batch;
    while (!answers.fHasHeartbeat && session.Read(&batch)) {
        answers.add(batch);
    }
}

/** Returns true if an input may contain the broker's token, perhaps split into parts. */
bool mayHoldToken(const ClientBatch& batch) {
    return batch.SerializeAsString().find(HostingBroker::a_token) != std::string::npos ||
           std::any_of(batch.messages().begin(), batch.messages().end(),
                       [](const auto& message) { return message.has_fragment(); });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const bool isGuarded = data[0] == a_asksForToken;
    HostingBroker& broker = isGuarded ? HostingBroker::guarded() : HostingBroker::instance();
    grpc::ClientContext context;
    HostingBroker::setDeadline(context);
    const auto session = broker.stub().Session(&context);
    if (data[0] == a_saysHello) {
        require(HostingBroker::sayHello(*session) != 0, "a client is let in");
    }
    bool mayKnowToken = false;
    ClientBatch batch;
    for (const std::string& bytes : obvista_fuzz::pieces(data + 1, size - 1)) {
        if (!batch.ParseFromString(bytes)) {
            break;
        }
        mayKnowToken |= mayHoldToken(batch);
        if (!session->Write(batch)) {
            break;
        }
    }
    Answers answers;
    awaitEcho(*session, answers);
    session->WritesDone();
    ServerBatch rest;
    while (session->Read(&rest)) {
        answers.add(rest);
    }
    const grpc::StatusCode code = session->Finish().error_code();
    require(code != grpc::StatusCode::DEADLINE_EXCEEDED, "a session ends when its client ends it");
    require(!isGuarded || mayKnowToken || (code != grpc::StatusCode::OK && !answers.fHasHeartbeat),
            "who does not know the token is refused");
    require(!isGuarded || mayKnowToken || !answers.fHasOthers,
            "who does not know the token gets no other answer");
    return 0;
}

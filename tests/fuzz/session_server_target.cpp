// What a client may send on a session: batches of messages, to a broker of ours.
//
// The first byte of an input says whether hello is said before (0) or is up to the input.
#include "fuzz_target.h"
#include "hosting_broker.h"
#include "pieces.h"

namespace {

using obvista_fuzz::HostingBroker;
using obvista_fuzz::require;
using robaxi::v1::ClientBatch;
using robaxi::v1::ServerBatch;

/** Whether one of the messages gives a heartbeat back. */
bool hasHeartbeat(const ServerBatch& batch, std::uint64_t number) {
    for (const auto& message : batch.messages()) {
        if (message.heartbeat().number() == number) {
            return true;
        }
    }
    return false;
}

/** Returns when the robot has read all that was sent, or has ended the session. */
void awaitEcho(HostingBroker::Session& session) {
    constexpr std::uint64_t number = 0xFEEDBEEF;
    ClientBatch heartbeat;
    heartbeat.add_messages()->mutable_heartbeat()->set_number(number);
    session.Write(heartbeat);
    ServerBatch batch;
    while (session.Read(&batch) && !hasHeartbeat(batch, number)) {
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    HostingBroker& broker = HostingBroker::instance();
    grpc::ClientContext context;
    HostingBroker::setDeadline(context);
    const auto session = broker.stub().Session(&context);
    if (data[0] == 0) {
        require(HostingBroker::sayHello(*session) != 0, "a client is let in");
    }
    ClientBatch batch;
    for (const std::string& bytes : obvista_fuzz::pieces(data + 1, size - 1)) {
        if (!batch.ParseFromString(bytes) || !session->Write(batch)) {
            break;
        }
    }
    awaitEcho(*session);
    session->WritesDone();
    ServerBatch rest;
    while (session->Read(&rest)) {
    }
    require(session->Finish().error_code() != grpc::StatusCode::DEADLINE_EXCEEDED,
            "a session ends when its client ends it");
    return 0;
}

#include "lying_robot.h"

#include "loopback.h"

#include <chrono>
#include <utility>

namespace obvista_fuzz {

namespace {

using namespace robaxi::v1;

/** Returns the id of a request that waits for an answer, or 0. */
std::uint64_t questionOf(const ClientMessage& message) {
    return message.has_call() ? message.call().call_id() : message.list_modules().call_id();
}

/** Returns an answer to a request that the input may have left unanswered. */
ServerBatch refusalOf(std::uint64_t callId) {
    ServerBatch batch;
    Result* result = batch.add_messages()->mutable_result();
    result->set_call_id(callId);
    result->mutable_error()->set_cause(Error::NO_SUCH_METHOD);
    return batch;
}

bool sayHello(grpc::ServerReaderWriter<ServerBatch, ClientBatch>& stream) {
    ClientBatch hello;
    ServerBatch answer;
    HelloReply* reply = answer.add_messages()->mutable_hello_reply();
    reply->set_protocol_version(1);
    reply->set_session_id(1);
    reply->set_takes_fragments(true);
    return stream.Read(&hello) && stream.Write(answer);
}

}  // namespace

LyingRobot& LyingRobot::instance() {
    static LyingRobot robot;
    return robot;
}

LyingRobot::LyingRobot() : fClient(KVBroker::createBroker({"Fuzz"})) {
    grpc::ServerBuilder builder;
    builder.AddListeningPort("127.0.0.1:0", grpc::InsecureServerCredentials(), &fPort);
    builder.RegisterService(this);
    fServer = builder.BuildAndStart();
}

LyingRobot::~LyingRobot() {
    fServer->Shutdown(std::chrono::system_clock::now());
}

void LyingRobot::setBatches(std::vector<std::string> batches) {
    const std::lock_guard lock(fMutex);
    fBatches = std::move(batches);
    fUpdates.clear();
}

void LyingRobot::setUpdates(std::vector<std::string> updates) {
    const std::lock_guard lock(fMutex);
    fUpdates = std::move(updates);
    fBatches.clear();
}

std::vector<std::string> LyingRobot::xBatches() {
    const std::lock_guard lock(fMutex);
    return fBatches;
}

std::vector<std::string> LyingRobot::xUpdates() {
    const std::lock_guard lock(fMutex);
    return fUpdates;
}

grpc::Status LyingRobot::Session(grpc::ServerContext* /*context*/, SessionStream* stream) {
    if (!sayHello(*stream)) {
        return grpc::Status::OK;
    }
    const std::vector<std::string> batches = xBatches();
    const bool endsSessions = xUpdates().empty();
    std::size_t said = 0;
    ClientBatch heard;
    while (stream->Read(&heard)) {
        for (const ClientMessage& message : heard.messages()) {
            const std::uint64_t question = questionOf(message);
            if (question == 0) {
                continue;
            }
            ServerBatch batch;
            if (said < batches.size() && batch.ParseFromString(batches[said++])) {
                stream->Write(batch);
            } else if (endsSessions) {
                return grpc::Status::OK;
            }
            stream->Write(refusalOf(question));
        }
    }
    return grpc::Status::OK;
}

grpc::Status LyingRobot::Subscribe(grpc::ServerContext* /*context*/, SubscriptionStream* stream) {
    SubscriptionRequest request;
    stream->Read(&request);
    for (const std::string& bytes : xUpdates()) {
        SubscriptionUpdate update;
        if (!update.ParseFromString(bytes) || !stream->Write(update)) {
            break;
        }
    }
    return grpc::Status::OK;
}

}  // namespace obvista_fuzz

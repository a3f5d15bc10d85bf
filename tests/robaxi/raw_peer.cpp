#include "raw_peer.h"

namespace robaxi_test {

namespace {

constexpr int a_unlimited = -1;

}  // namespace

RawClient::RawClient(int port) {
    grpc::ChannelArguments arguments;
    arguments.SetMaxReceiveMessageSize(a_unlimited);
    fStub = v1::Robaxi::NewStub(grpc::CreateCustomChannel(
        "ipv4:127.0.0.1:" + std::to_string(port), grpc::InsecureChannelCredentials(), arguments));
    fSession = fStub->Session(&fContext);
}

RawClient::~RawClient() {
    if (!fIsFinished) {
        fContext.TryCancel();
        fSession->Finish();
    }
}

v1::HelloReply RawClient::hello(std::uint32_t version, bool takesFragments) {
    v1::Hello hello;
    hello.set_protocol_version(version);
    hello.set_takes_fragments(takesFragments);
    return this->hello(hello);
}

v1::HelloReply RawClient::hello(const v1::Hello& hello) {
    v1::ClientMessage message;
    *message.mutable_hello() = hello;
    v1::ServerMessage answer;
    return send(message) && receive(answer) ? answer.hello_reply() : v1::HelloReply();
}

bool RawClient::send(const v1::ClientMessage& message) {
    v1::ClientBatch batch;
    *batch.add_messages() = message;
    return send(batch);
}

bool RawClient::receive(v1::ServerMessage& message) {
    do {
        while (fNext == fBatch.messages_size()) {
            fNext = 0;
            if (!fSession->Read(&fBatch)) {
                fBatch.Clear();
                return false;
            }
        }
        message = fBatch.messages(fNext++);
    } while (message.has_heartbeat());
    return true;
}

bool RawClient::receiveSignOfLife() {
    return fNext == fBatch.messages_size() && fSession->Read(&fBatch) &&
           fBatch.messages(0).has_heartbeat();
}

v1::Result RawClient::echo(const v1::Value& argument) {
    v1::ClientMessage message;
    message.mutable_call()->set_call_id(++fLastCallId);
    message.mutable_call()->set_module("Echo");
    message.mutable_call()->set_method("echo");
    *message.mutable_call()->add_arguments() = argument;
    v1::ServerMessage answer;
    return send(message) && receive(answer) ? answer.result() : v1::Result();
}

grpc::Status RawClient::finish() {
    v1::ServerMessage message;
    while (receive(message)) {
    }
    fIsFinished = true;
    return fSession->Finish();
}

v1::Error RawClient::details() const {
    return detailsOf(fContext);
}

RawServer::RawServer() {
    fHelloReply.set_protocol_version(1);
    fHelloReply.set_session_id(4711);
    grpc::ServerBuilder builder;
    builder.AddListeningPort("127.0.0.1:0", grpc::InsecureServerCredentials(), &fPort);
    builder.RegisterService(this);
    fServer = builder.BuildAndStart();
}

RawServer::~RawServer() {
    fServer->Shutdown(std::chrono::system_clock::now());
}

grpc::Status RawServer::xEnd(grpc::ServerContext* context, const grpc::Status& status) const {
    if (fDetails) {
        context->AddTrailingMetadata("robaxi-error-bin", fDetails->SerializeAsString());
    }
    return status;
}

grpc::Status RawServer::Session(grpc::ServerContext* context, SessionStream* stream) {
    if (!fSessionStatus.ok()) {
        return xEnd(context, fSessionStatus);
    }
    v1::ClientBatch batch;
    while (stream->Read(&batch)) {
        if (batch.messages_size() == 1 && batch.messages(0).hello().has_resume() && fResumption) {
            return xEnd(context, fResumption(*stream));
        }
        v1::ServerBatch answers;
        for (const v1::ClientMessage& message : batch.messages()) {
            v1::ServerMessage answer;
            if (xAnswer(message, answer)) {
                *answers.add_messages() = answer;
            }
        }
        if (answers.messages_size() != 0 && !fIsSilent) {
            stream->Write(answers);
        }
    }
    return grpc::Status::OK;
}

bool RawServer::xAnswer(const v1::ClientMessage& message, v1::ServerMessage& answer) const {
    if (message.has_hello()) {
        *answer.mutable_hello_reply() = fHelloReply;
        return true;
    }
    if (message.has_heartbeat()) {
        *answer.mutable_heartbeat() = message.heartbeat();
        if (fHeartbeat) {
            fHeartbeat();
        }
        return true;
    }
    return fAnswer && fAnswer(message, answer);
}

void RawServer::sendFrames(const std::vector<v1::WatchUpdate>& updates) {
    const std::lock_guard lock(fMutex);
    fFrames = updates;
}

void RawServer::sendUpdates(const std::vector<v1::SubscriptionUpdate>& updates) {
    const std::lock_guard lock(fMutex);
    fUpdates = updates;
}

template <class Stream, class Update>
void RawServer::xSend(Stream& stream, const std::vector<Update>& updates) {
    std::vector<Update> copies;
    {
        const std::lock_guard lock(fMutex);
        copies = updates;
    }
    for (const Update& update : copies) {
        stream.Write(update);
    }
}

grpc::Status RawServer::Subscribe(grpc::ServerContext* context, SubscriptionStream* stream) {
    v1::SubscriptionRequest request;
    if (stream->Read(&request)) {
        if (fSubscription) {
            fSubscription(*stream);
        }
        xSend(*stream, fUpdates);
    }
    if (!fStreamStatus.ok()) {
        return xEnd(context, fStreamStatus);
    }
    while (stream->Read(&request)) {
    }
    return grpc::Status::OK;
}

grpc::Status RawServer::Watch(grpc::ServerContext* context, WatchStream* stream) {
    v1::WatchRequest request;
    if (stream->Read(&request)) {
        if (fWatch) {
            fWatch(*stream);
        }
        xSend(*stream, fFrames);
    }
    if (!fStreamStatus.ok()) {
        return xEnd(context, fStreamStatus);
    }
    while (stream->Read(&request)) {
    }
    return grpc::Status::OK;
}

v1::Error detailsOf(const grpc::ClientContext& context) {
    const auto& metadata = context.GetServerTrailingMetadata();
    const auto found = metadata.find("robaxi-error-bin");
    v1::Error error;
    if (found != metadata.end()) {
        error.ParseFromArray(found->second.data(), static_cast<int>(found->second.size()));
    }
    return error;
}

v1::Value textValue(const std::string& text) {
    v1::Value value;
    value.set_type(v1::Value::STRING);
    value.set_string_value(text);
    return value;
}

v1::Value nestedValue(int depth) {
    v1::Value outermost;
    v1::Value* value = &outermost;
    for (int i = 0; i < depth; ++i) {
        value->set_type(v1::Value::LIST);
        value = value->add_elements();
    }
    return outermost;
}

}  // namespace robaxi_test

// A robot with another version of the protocol, as a later one will have:
//
//   newer_robot ADDRESS:PORT
//
// It refuses every client as the protocol specifies. It reports when it listens, and runs until it
// is killed.
#include <robaxi/v1/robaxi.grpc.pb.h>

#include <grpcpp/grpcpp.h>

#include <cstdio>

namespace {

namespace v1 = robaxi::v1;

class NewerRobot : public v1::Robaxi::Service {
  public:
    grpc::Status Session(
        grpc::ServerContext* context,
        grpc::ServerReaderWriter<v1::ServerBatch, v1::ClientBatch>* stream) override {
        v1::ClientBatch hello;
        stream->Read(&hello);
        v1::Error details;
        details.set_cause(v1::Error::PROTOCOL_VERSION);
        details.set_text("it speaks version 2, this program version 1");
        context->AddTrailingMetadata("robaxi-error-bin", details.SerializeAsString());
        return {grpc::StatusCode::FAILED_PRECONDITION, details.text()};
    }
};

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "newer_robot takes ADDRESS:PORT\n");
        return 2;
    }
    NewerRobot robot;
    grpc::ServerBuilder builder;
    int port = 0;
    builder.AddListeningPort(argv[1], grpc::InsecureServerCredentials(), &port);
    builder.RegisterService(&robot);
    const auto server = builder.BuildAndStart();
    if (server == nullptr || port == 0) {
        std::fprintf(stderr, "newer_robot cannot listen on %s\n", argv[1]);
        return 1;
    }
    std::printf("newer_robot listens on %d\n", port);
    std::fflush(stdout);
    server->Wait();
}

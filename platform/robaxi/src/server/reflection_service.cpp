#include "server/reflection_service.h"

#include "server/descriptor_index.h"
#include "server/free_stream.h"
#include "server/server.h"

#include <cstddef>

namespace robaxi {

namespace {

namespace reflection = grpc::reflection::v1alpha;
using Request = reflection::ServerReflectionRequest;
using Response = reflection::ServerReflectionResponse;

/** Bytes of a request, which the response repeats; enough for any name. */
constexpr std::size_t a_largestRequest = 4096;

void setError(grpc::StatusCode code, const char* text, Response* response) {
    response->mutable_error_response()->set_error_code(code);
    response->mutable_error_response()->set_error_message(text);
}

void setFile(const std::string* file, Response* response) {
    if (file == nullptr) {
        setError(grpc::StatusCode::NOT_FOUND, "there is nothing of that name", response);
    } else {
        response->mutable_file_descriptor_response()->add_file_descriptor_proto(*file);
    }
}

void setServices(Response* response) {
    for (const std::string& name : DescriptorIndex::instance().services()) {
        response->mutable_list_services_response()->add_service()->set_name(name);
    }
}

Response answer(const Request& request) {
    const DescriptorIndex& index = DescriptorIndex::instance();
    Response response;
    response.set_valid_host(request.host());
    *response.mutable_original_request() = request;
    switch (request.message_request_case()) {
        case Request::kFileByFilename:
            setFile(index.fileNamed(request.file_by_filename()), &response);
            break;
        case Request::kFileContainingSymbol:
            setFile(index.fileWithSymbol(request.file_containing_symbol()), &response);
            break;
        case Request::kListServices:
            setServices(&response);
            break;
        case Request::kFileContainingExtension:
        case Request::kAllExtensionNumbersOfType:
            setError(grpc::StatusCode::NOT_FOUND, "there are no extensions", &response);
            break;
        default:
            setError(grpc::StatusCode::INVALID_ARGUMENT, "the request has no content", &response);
            break;
    }
    return response;
}

/** Reads a request, answers it, and reads the next one. */
class ReflectionStream : public FreeStream<grpc::ServerBidiReactor<Request, Response>> {
  public:
    using FreeStream::FreeStream;

    void OnReadDone(bool ok) override {
        const GrpcReaction reaction(this);
        if (!ok) {
            xEnd(grpc::Status::OK);
            return;
        }
        if (fRequest.ByteSizeLong() > a_largestRequest) {
            fRequest.Clear();
            xEnd(grpc::Status(grpc::StatusCode::RESOURCE_EXHAUSTED, "the request is too large"));
            return;
        }
        fResponse = answer(fRequest);
        StartWrite(&fResponse);
    }

    void OnWriteDone(bool ok) override {
        const GrpcReaction reaction(this);
        if (ok) {
            StartRead(&fRequest);
        } else {
            xEnd(grpc::Status::CANCELLED);
        }
    }

  private:
    void xBegin() override { StartRead(&fRequest); }

    Request fRequest;
    Response fResponse;
};

class ReflectionService : public reflection::ServerReflection::CallbackService {
  public:
    explicit ReflectionService(Server& server) : fServer(server) {}

    grpc::ServerBidiReactor<Request, Response>* ServerReflectionInfo(
        grpc::CallbackServerContext* context) override {
        auto* const stream = new ReflectionStream(fServer, context);
        stream->start();
        return stream;
    }

  private:
    Server& fServer;
};

}  // namespace

std::unique_ptr<grpc::Service> makeReflectionService(Server& server) {
    return std::make_unique<ReflectionService>(server);
}

}  // namespace robaxi

// Messages that arrive in parts, from either side.
#include "fuzz_target.h"
#include "pieces.h"
#include "robaxi/v1/robaxi.pb.h"
#include "wire/fragment_assembler.h"

namespace {

using namespace robaxi::v1;

template <class Batch, class Message>
void assemble(const std::vector<std::string>& batches) {
    robaxi::FragmentAssembler<Message> assembler;
    const auto handle = [](const Message& message) {
        obvista_fuzz::require(!message.has_fragment(), "no part is taken for a message");
    };
    for (const std::string& bytes : batches) {
        Batch batch;
        if (!batch.ParseFromString(bytes)) {
            return;
        }
        for (Message& message : *batch.mutable_messages()) {
            if (!assembler.take(message, handle)) {
                return;
            }
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::string> batches = obvista_fuzz::pieces(data, size);
    assemble<ClientBatch, ClientMessage>(batches);
    assemble<ServerBatch, ServerMessage>(batches);
    return 0;
}

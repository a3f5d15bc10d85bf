// A camera's frames, which are parsed without protobuf.
//
// The first byte of an input is the size of the slices in which gRPC has received it.
#include "failure.h"
#include "fuzz_target.h"
#include "pieces.h"
#include "wire/frame_codec.h"

#include <algorithm>
#include <cstring>

namespace {

using obvista_fuzz::require;

constexpr std::size_t a_largestFrame = std::size_t{1} << 20U;

grpc::ByteBuffer inSlices(const std::string& bytes, std::size_t sizeOfSlice) {
    std::vector<grpc::Slice> slices;
    for (std::size_t at = 0; at < bytes.size(); at += sizeOfSlice) {
        slices.emplace_back(bytes.data() + at, std::min(sizeOfSlice, bytes.size() - at));
    }
    return {slices.data(), slices.size()};
}

bool isSame(const KVFrame& one, const KVFrame& other) {
    return one.fNumber == other.fNumber && one.fTime == other.fTime && one.fWidth == other.fWidth &&
           one.fHeight == other.fHeight && one.fStride == other.fStride &&
           one.fFormat == other.fFormat && one.fSize == other.fSize &&
           (one.fSize == 0 || std::memcmp(one.fData.get(), other.fData.get(), one.fSize) == 0);
}

void requireRoundTrip(const KVFrame& frame) {
    static const auto pool = robaxi::TaskPool::create(1);
    robaxi::FrameSplitter splitter(frame, pool);
    robaxi::FrameAssembler assembler(a_largestFrame);
    std::optional<KVFrame> again;
    while (!splitter.isComplete()) {
        grpc::ByteBuffer update = splitter.next();
        require(!again, "a frame is complete with its last update");
        again = assembler.take(update);
    }
    require(again && isSame(frame, *again), "a frame that was read can be sent and read again");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const std::size_t sizeOfSlice = data[0] + std::size_t{1};
    robaxi::FrameAssembler assembler(a_largestFrame);
    try {
        for (const std::string& bytes : obvista_fuzz::pieces(data + 1, size - 1)) {
            grpc::ByteBuffer update = inSlices(bytes, sizeOfSlice);
            if (const auto frame = assembler.take(update)) {
                require(frame->fSize <= a_largestFrame, "a frame is bounded");
                requireRoundTrip(*frame);
            }
        }
    } catch (const robaxi::Failure&) {
        // Refused, as it should be.
    }
    return 0;
}

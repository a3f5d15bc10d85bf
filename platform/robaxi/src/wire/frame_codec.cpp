#include "wire/frame_codec.h"

#include "failure.h"
#include "wire/grpc_handover.h"
#include "wire/limits.h"
#include "wire/message_codec.h"

#include <base/time.h>

#include <grpcpp/support/proto_buffer_reader.h>

#include <algorithm>
#include <array>
#include <utility>

namespace robaxi {

namespace {

using google::protobuf::io::CodedInputStream;
using google::protobuf::io::CodedOutputStream;

constexpr std::uint32_t a_lengthDelimited = 2;
constexpr std::uint32_t a_typeBits = 3;
constexpr std::uint32_t tagOf(int field) {
    return (static_cast<std::uint32_t>(field) << a_typeBits) | a_lengthDelimited;
}
constexpr std::uint32_t a_headerTag = tagOf(v1::WatchUpdate::kHeaderFieldNumber);
constexpr std::uint32_t a_dataTag = tagOf(v1::WatchUpdate::kDataFieldNumber);
/** Maximum size of a header, in which a later revision may have more fields. */
constexpr std::uint32_t a_largestField = 128 * 1024;
constexpr std::uint32_t a_largestSkip = 1U << 30U;

[[noreturn]] void throwUnreadable() {
    throw Failure{KVError::Cause::Internal, "the robot sent a frame that cannot be read"};
}

// encodeFormat() and decodeFormat() rely on the same order in both.
static_assert(static_cast<int>(KVPixelFormat::Unknown) == v1::FrameHeader::UNKNOWN);
static_assert(static_cast<int>(KVPixelFormat::Rgb888) == v1::FrameHeader::RGB888);
static_assert(static_cast<int>(KVPixelFormat::Yuv422) == v1::FrameHeader::YUV422);
static_assert(static_cast<int>(KVPixelFormat::Grey8) == v1::FrameHeader::GREY8);
static_assert(static_cast<int>(KVPixelFormat::Jpeg) == v1::FrameHeader::JPEG);
static_assert(static_cast<int>(KVPixelFormat::H264) == v1::FrameHeader::H264);

v1::FrameHeader::Format encodeFormat(KVPixelFormat format) {
    return static_cast<v1::FrameHeader::Format>(format);
}

KVPixelFormat decodeFormat(v1::FrameHeader::Format format) {
    return v1::FrameHeader::Format_IsValid(format) ? static_cast<KVPixelFormat>(format)
                                                   : KVPixelFormat::Unknown;
}

std::string encodeHeader(const KVFrame& frame) {
    v1::WatchUpdate update;
    v1::FrameHeader* header = update.mutable_header();
    header->set_number(frame.fNumber);
    header->set_time(frame.fTime);
    header->set_width(frame.fWidth);
    header->set_height(frame.fHeight);
    header->set_stride(frame.fStride);
    header->set_format(encodeFormat(frame.fFormat));
    header->set_size(frame.fSize);
    header->set_is_key(frame.fIsKey);
    header->set_sequence(frame.fSequence);
    return update.SerializeAsString();
}

/** Returns the field's prefix, which precedes the bytes. */
std::string encodeDataPrefix(std::size_t size) {
    constexpr std::size_t longestPrefix = 16;
    std::array<std::uint8_t, longestPrefix> prefix{};
    std::uint8_t* end = CodedOutputStream::WriteVarint32ToArray(a_dataTag, prefix.data());
    end = CodedOutputStream::WriteVarint32ToArray(static_cast<std::uint32_t>(size), end);
    return {prefix.data(), end};
}

std::string readField(CodedInputStream& input) {
    std::uint32_t size = 0;
    std::string field;
    if (!input.ReadVarint32(&size) || size > a_largestField ||
        !input.ReadString(&field, static_cast<int>(size))) {
        throwUnreadable();
    }
    return field;
}

void skipField(CodedInputStream& input, std::uint32_t tag) {
    std::uint64_t ignored = 0;
    std::uint32_t size = 0;
    bool readable = false;
    switch (tag & ((1U << a_typeBits) - 1)) {
        case 0:
            readable = input.ReadVarint64(&ignored);
            break;
        case 1:
            readable = input.ReadLittleEndian64(&ignored);
            break;
        case a_lengthDelimited:
            readable = input.ReadVarint32(&size) && size <= a_largestSkip &&
                       input.Skip(static_cast<int>(size));
            break;
        case 5:  // NOLINT(readability-magic-numbers): the wire type of 32 bits
            readable = input.ReadLittleEndian32(&size);
            break;
        default:
            break;
    }
    if (!readable) {
        throwUnreadable();
    }
}

}  // namespace

/** Shared by gRPC's slices, the last of which may be released on one of its threads. */
struct FrameSplitter::Bytes {
    Bytes(const KVFrame& frame, std::shared_ptr<TaskPool> pool)
        : fData(frame.fData), fSize(frame.fSize), fPool(std::move(pool)) {}
    ~Bytes() {
        fPool->post([data = std::move(fData)] {});
    }
    Bytes(const Bytes&) = delete;
    Bytes& operator=(const Bytes&) = delete;

    std::shared_ptr<const unsigned char> fData;
    const std::size_t fSize;
    const std::shared_ptr<TaskPool> fPool;
};

FrameSplitter::FrameSplitter(const KVFrame& frame, const std::shared_ptr<TaskPool>& pool)
    : fBytes(std::make_shared<Bytes>(frame, pool)), fHeader(encodeHeader(frame)) {
}

FrameSplitter::~FrameSplitter() = default;

grpc::Slice FrameSplitter::xSlice(std::size_t size) const {
    using Holder = std::shared_ptr<const Bytes>;
    const auto letGo = [](void* holder) {
        takeFromGrpc(holder);
        delete static_cast<Holder*>(holder);
    };
    // gRPC's parameter is not const, but it does not write to the bytes.
    auto* const begin = const_cast<unsigned char*>(fBytes->fData.get() + fOffset);
    auto* const holder = new Holder(fBytes);
    giveToGrpc(holder);
    return {begin, size, letGo, holder};
}

grpc::ByteBuffer FrameSplitter::next() {
    const std::size_t size = std::min(limits::a_partOfFrame, fBytes->fSize - fOffset);
    const std::string before = std::exchange(fHeader, std::string()) + encodeDataPrefix(size);
    std::array<grpc::Slice, 2> slices{grpc::Slice(before), grpc::Slice()};
    if (size > 0) {
        slices[1] = xSlice(size);
    }
    fOffset += size;
    fIsComplete = fOffset == fBytes->fSize;
    return grpc::ByteBuffer(slices.data(), slices.size());
}

FrameAssembler::FrameAssembler(std::size_t largestFrame) : fLargestFrame(largestFrame) {
}

void FrameAssembler::restart() {
    fFrame.reset();
    fData.reset();
    fReceived = 0;
}

std::optional<KVFrame> FrameAssembler::take(grpc::ByteBuffer& update) {
    grpc::ProtoBufferReader reader(&update);
    if (!reader.status().ok()) {
        throwUnreadable();
    }
    CodedInputStream input(&reader);
    while (const std::uint32_t tag = input.ReadTag()) {
        if (tag == a_headerTag) {
            xBegin(readField(input));
        } else if (tag == a_dataTag) {
            xTakeData(input);
        } else {
            skipField(input, tag);
        }
    }
    if (!input.ConsumedEntireMessage()) {
        throwUnreadable();
    }
    if (!fFrame || fReceived < fFrame->fSize) {
        return std::nullopt;
    }
    fFrame->fData = std::exchange(fData, nullptr);
    return std::exchange(fFrame, std::nullopt);
}

void FrameAssembler::xTakeData(CodedInputStream& input) {
    std::uint32_t size = 0;
    if (!input.ReadVarint32(&size) || !fFrame || size > fFrame->fSize - fReceived ||
        !input.ReadRaw(fData.get() + fReceived, static_cast<int>(size))) {
        throwUnreadable();
    }
    fReceived += size;
}

void FrameAssembler::xBegin(const std::string& field) {
    v1::FrameHeader header;
    if (fFrame || !header.ParseFromString(field)) {
        throwUnreadable();
    }
    if (header.size() > fLargestFrame) {
        throw Failure{KVError::Cause::TooLarge, "a frame of the camera"};
    }
    KVFrame frame;
    frame.fNumber = header.number();
    frame.fTime = base::withinCalendar(header.time());
    frame.fWidth = header.width();
    frame.fHeight = header.height();
    frame.fStride = header.stride();
    frame.fFormat = decodeFormat(header.format());
    frame.fSize = header.size();
    frame.fIsKey = header.is_key();
    frame.fSequence = header.sequence();
    fData = fBuffers.obtain(frame.fSize);
    fReceived = 0;
    fFrame = std::move(frame);
}

}  // namespace robaxi

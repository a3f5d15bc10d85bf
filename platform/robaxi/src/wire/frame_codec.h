#ifndef ROBAXI_FRAME_CODEC_H
#define ROBAXI_FRAME_CODEC_H

#include "robaxi/v1/robaxi.pb.h"
#include "task_pool.h"
#include "wire/frame_buffers.h"

#include <robaxi/kv_frame.h>

#include <google/protobuf/io/coded_stream.h>
#include <grpcpp/grpcpp.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>

/**
 * v1::WatchUpdate, without the copies that a message of protobuf would make: the bytes of a frame
 * go to gRPC from where their publisher has them, and from what gRPC has received to where the
 * frame is put together.
 */
namespace robaxi {

/** Cuts one frame into updates. */
class FrameEncoder {
  public:
    /** @param pool lets go of the frame's bytes, which are the publisher's, when gRPC is done */
    FrameEncoder(const KVFrame& frame, const std::shared_ptr<TaskPool>& pool);
    ~FrameEncoder();
    FrameEncoder(const FrameEncoder&) = delete;
    FrameEncoder& operator=(const FrameEncoder&) = delete;

    /** The next update; to be called until the frame is complete. */
    grpc::ByteBuffer next();
    bool isComplete() const { return fIsComplete; }

  private:
    struct Bytes;

    grpc::Slice xSlice(std::size_t size) const;

    std::shared_ptr<const Bytes> fBytes;
    std::string fHeader;  // the serialised field; empty when it was sent
    std::size_t fOffset = 0;
    bool fIsComplete = false;
};

grpc::ByteBuffer encodeEndOfWatch(const v1::Error& reason);

/** Puts frames together. What it reads is checked against the protocol, but a frame is not checked
 *  for being a picture. */
class FrameAssembler {
  public:
    explicit FrameAssembler(std::size_t largestFrame);

    /**
     * Takes the next update of a stream.
     *
     * @return the frame that it completes, if it does
     * @throws Failure what the robot says about the end of the stream; Internal or TooLarge when it
     *         breaks the protocol
     */
    std::optional<KVFrame> take(grpc::ByteBuffer& update);

  private:
    void xBegin(const std::string& field);
    void xTakeData(google::protobuf::io::CodedInputStream& input);

    const std::size_t fLargestFrame;
    const std::shared_ptr<FrameBuffers> fBuffers;
    std::optional<KVFrame> fFrame;         // being received
    std::shared_ptr<unsigned char> fData;  // its bytes
    std::size_t fReceived = 0;
};

}  // namespace robaxi

#endif

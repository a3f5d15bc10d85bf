#ifndef ROBAXI_FRAME_CODEC_H
#define ROBAXI_FRAME_CODEC_H

#include "robaxi/v1/robaxi.pb.h"
#include "task_pool.h"

#include <base/buffer_pool.h>
#include <robaxi/kv_frame.h>

#include <google/protobuf/io/coded_stream.h>
#include <grpcpp/grpcpp.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>

/**
 * Encoding and decoding of v1::WatchUpdate without protobuf's copies: a frame's bytes are passed to
 * gRPC in the publisher's memory, and copied once from gRPC's memory into the received frame.
 */
namespace robaxi {

/** Splits one frame into updates. */
class FrameSplitter {
  public:
    /**
     * @param pool releases the frame's bytes, which belong to the publisher, when gRPC has sent
     *         them
     */
    FrameSplitter(const KVFrame& frame, const std::shared_ptr<TaskPool>& pool);
    ~FrameSplitter();
    FrameSplitter(const FrameSplitter&) = delete;
    FrameSplitter& operator=(const FrameSplitter&) = delete;

    /** Returns the next update; call it until the frame is complete. */
    grpc::ByteBuffer next();
    bool isComplete() const { return fIsComplete; }

  private:
    struct Bytes;

    grpc::Slice xSlice(std::size_t size) const;

    std::shared_ptr<const Bytes> fBytes;
    std::string fHeader;  // the serialised field; empty after it was sent
    std::size_t fOffset = 0;
    bool fIsComplete = false;
};

/**
 * Reassembles frames. Its input is checked against the protocol, but a frame is not checked for
 * being a valid picture.
 */
class FrameAssembler {
  public:
    explicit FrameAssembler(std::size_t largestFrame);

    /**
     * Adds the next update of a stream.
     *
     * @return the frame that it completes, if any
     * @throws Failure Internal or TooLarge if it breaks the protocol
     */
    std::optional<KVFrame> take(grpc::ByteBuffer& update);
    /** Drops an incomplete frame: the updates that follow are those of another stream. */
    void restart();

  private:
    void xBegin(const std::string& field);
    void xTakeData(google::protobuf::io::CodedInputStream& input);

    const std::size_t fLargestFrame;
    base::BufferPool fBuffers{3};          // as many as are in use: received, waiting, shown
    std::optional<KVFrame> fFrame;         // being received
    std::shared_ptr<unsigned char> fData;  // its bytes
    std::size_t fReceived = 0;
};

}  // namespace robaxi

#endif

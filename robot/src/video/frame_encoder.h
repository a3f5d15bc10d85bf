#ifndef OBVISTA_ROBOT_VIDEO_FRAME_ENCODER_H
#define OBVISTA_ROBOT_VIDEO_FRAME_ENCODER_H

#include "video/canvas.h"
#include "video/frame_pool.h"

#include <robaxi/kv_frame.h>

#include <memory>

namespace robot {

/** Encodes drawn pictures as frames. For one thread at a time. */
class FrameEncoder {
  public:
    /** @throws std::runtime_error if the JPEG library cannot be initialised */
    FrameEncoder();

    /**
     * Returns a frame without number and time.
     *
     * @param canvas for Yuv422 with an even width
     * @param format one of KVFrame's known formats
     * @throws std::runtime_error if the picture cannot be compressed
     */
    KVFrame encode(const Canvas& canvas, KVPixelFormat format);

  private:
    struct CompressorEnd {
        void operator()(void* handle) const;
    };

    void xEncodeJpeg(const Canvas& canvas, KVFrame& frame);

    FramePool fPool;
    std::unique_ptr<void, CompressorEnd> fCompressor;
};

}  // namespace robot

#endif

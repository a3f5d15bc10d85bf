#ifndef OBVISTA_ROBOT_VIDEO_FRAME_ENCODER_H
#define OBVISTA_ROBOT_VIDEO_FRAME_ENCODER_H

#include "video/canvas.h"

#include <base/buffer_pool.h>
#include <picture/jpeg.h>
#include <robaxi/kv_frame.h>

namespace robot {

/** Encodes drawn pictures as frames. For one thread at a time. */
class FrameEncoder {
  public:
    /**
     * Returns a frame without number and time.
     *
     * @param canvas for Yuv422 with an even width
     * @param format one of KVFrame's known formats
     * @throws std::runtime_error if the picture cannot be compressed
     */
    KVFrame encode(const Canvas& canvas, KVPixelFormat format);

  private:
    void xEncodeJpeg(const Canvas& canvas, KVFrame& frame);

    base::BufferPool fPool{4};  // as many as are in use: encoded, published, being sent
    picture::JpegWriter fJpegWriter;
};

}  // namespace robot

#endif

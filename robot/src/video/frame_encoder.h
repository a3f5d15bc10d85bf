#ifndef OBVISTA_ROBOT_VIDEO_FRAME_ENCODER_H
#define OBVISTA_ROBOT_VIDEO_FRAME_ENCODER_H

#include "video/canvas.h"

#include <base/buffer_pool.h>
#include <picture/jpeg.h>
#include <robaxi/kv_camera.h>
#include <robaxi/kv_frame.h>

#include <codec/h264_encoder.h>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace robot {

/** Returns the names of the formats in which pictures of that size can be encoded. */
std::vector<std::string> formatsOf(int width, int height);
/** Returns the bit rate of a camera's first settings; 0 if H.264 cannot be encoded. */
int firstBitRate();

/** Encodes drawn pictures as frames. For one thread at a time. */
class FrameEncoder {
  public:
    using Complain = std::function<void(const std::string&)>;

    /** @param complain called with a message when the first frame cannot be encoded; may be empty
     */
    explicit FrameEncoder(Complain complain = {}) : fComplain(std::move(complain)) {}

    /**
     * Returns a frame without number and time.
     *
     * @param canvas for Yuv422 with an even width
     * @param format one of KVFrame's known formats but H264
     * @throws std::runtime_error if the picture cannot be compressed
     */
    KVFrame encode(const Canvas& canvas, KVPixelFormat format);

    /**
     * Returns such a frame in the format of a camera's settings, which may be H264; one without
     * bytes if the picture cannot be compressed.
     */
    KVFrame encode(const Canvas& canvas, const KVCameraSettings& settings, bool isKeyWanted);

  private:
    void xEncodeJpeg(const Canvas& canvas, KVFrame& frame);

    const Complain fComplain;
    bool fHasComplained = false;
    base::BufferPool fPool{4};  // as many as are in use: encoded, published, being sent
    picture::JpegWriter fJpegWriter;
    codec::H264Encoder fH264Encoder;
};

}  // namespace robot

#endif

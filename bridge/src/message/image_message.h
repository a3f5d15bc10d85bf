#ifndef OBVISTA_BRIDGE_MESSAGE_IMAGE_MESSAGE_H
#define OBVISTA_BRIDGE_MESSAGE_IMAGE_MESSAGE_H

#include "message/cdr_reader.h"

#include <robaxi/kv_frame.h>

#include <cstdint>
#include <memory>
#include <string>

namespace bridge {

/** A picture of a message, or the reason why there is none. */
struct ImageResult {
    KVFrame fFrame;
    std::string fProblem;  ///< empty for a picture
};

/**
 * Returns the picture of a sensor_msgs/Image. Encodings that viewers know keep the message's bytes
 * (rgb8, mono8, yuv422_yuy2); others are converted: bgr8, rgba8 and bgra8 to RGB, mono16 and 16UC1
 * to the upper eight bits, yuv422 (UYVY) to YUYV, bayer_*8 and bayer_*16 to RGB in which each
 * pixel has the colours of the 2x2 pixels around it.
 *
 * @param owner keeps the message's bytes for the frame's life
 * @param time for a message without a time stamp, microseconds since 1970-01-01 UTC
 */
ImageResult imageOf(Bytes message, const std::shared_ptr<const void>& owner, std::int64_t time);

/** Returns the picture of a sensor_msgs/CompressedImage: a JPEG as it is, a PNG as its pixels. */
ImageResult compressedImageOf(Bytes message, const std::shared_ptr<const void>& owner,
                              std::int64_t time);

}  // namespace bridge

#endif

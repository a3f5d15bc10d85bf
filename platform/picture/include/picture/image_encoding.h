#ifndef OBVISTA_PICTURE_IMAGE_ENCODING_H
#define OBVISTA_PICTURE_IMAGE_ENCODING_H

#include <robaxi/kv_frame.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

/** Pictures of messages of ROS and Foxglove, as frames that viewers know. They are untrusted. */
namespace picture {

/** Rows of pixels as a message has them. */
struct EncodedRows {
    std::string_view fEncoding;  ///< such as "bgr8"; see sensor_msgs/image_encodings
    const unsigned char* fData = nullptr;
    std::size_t fSize = 0;      ///< bytes of all rows
    std::uint32_t fWidth = 0;   ///< pixels
    std::uint32_t fHeight = 0;  ///< pixels
    std::uint32_t fStride = 0;  ///< bytes from one row to the next
    bool fIsBigEndian = false;  ///< true for pixels of 16 bits whose upper byte is the first one
};

/** A frame without number and time, or the reason why there is none. */
struct ImageResult {
    KVFrame fFrame;
    std::string fProblem;  ///< empty for a frame; otherwise a part of a sentence, on one line
};

/**
 * Returns the frame of such rows. Encodings that viewers know keep the bytes (rgb8, mono8,
 * yuv422_yuy2); others are converted: bgr8, rgba8 and bgra8 to RGB, mono16 and 16UC1 to the upper
 * eight bits, yuv422 (UYVY) to YUYV, bayer_*8 and bayer_*16 to RGB in which each pixel has the
 * colours of the 2x2 pixels around it.
 *
 * @param owner keeps the bytes for the frame's life
 */
ImageResult frameOfRows(const EncodedRows& image, const std::shared_ptr<const void>& owner);

/**
 * Returns the frame of a picture in a file format: a JPEG as it is, a PNG as its pixels.
 *
 * @param format the format's name in the message, for the reason
 * @param owner keeps the bytes for the frame's life
 */
ImageResult frameOfFile(const unsigned char* data, std::size_t size, std::string_view format,
                        const std::shared_ptr<const void>& owner);

}  // namespace picture

#endif

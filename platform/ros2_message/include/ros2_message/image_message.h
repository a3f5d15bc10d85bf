#ifndef ROS2_MESSAGE_IMAGE_MESSAGE_H
#define ROS2_MESSAGE_IMAGE_MESSAGE_H

#include <picture/image_encoding.h>

#include <cstdint>
#include <memory>
#include <ros2_message/cdr_reader.h>

namespace ros2_message {

/**
 * Returns the picture of a sensor_msgs/Image, converted if viewers do not know its encoding
 * (picture::frameOfRows()).
 *
 * @param owner keeps the message's bytes for the frame's life
 * @param time for a message without a time stamp, microseconds since 1970-01-01 UTC
 */
picture::ImageResult imageOf(Bytes message, const std::shared_ptr<const void>& owner,
                             std::int64_t time);

/** Returns the picture of a sensor_msgs/CompressedImage: a JPEG as it is, a PNG as its pixels. */
picture::ImageResult compressedImageOf(Bytes message, const std::shared_ptr<const void>& owner,
                                       std::int64_t time);

}  // namespace ros2_message

#endif

#ifndef RECORDED_ROBOT_RECORDED_IMAGE_H
#define RECORDED_ROBOT_RECORDED_IMAGE_H

#include <robaxi/kv_frame.h>

#include <optional>
#include <string_view>

/**
 * Messages with pictures: foxglove.CompressedImage and foxglove.RawImage. They are untrusted: the
 * fields of a frame may contradict each other, as those of a robot may.
 */
namespace recorded_robot {

/**
 * Returns the frame of a message in protobuf, without number and time, or nothing for formats that
 * are not known. Formats of cameras keep their bytes, others are converted (picture::frameOfRows()
 * and picture::frameOfFile()). A JPEG has no width and height here; its data has them.
 *
 * @param schema name of the message's type
 */
std::optional<KVFrame> recordedFrame(std::string_view message, std::string_view schema);

/** Returns the frame of a message in JSON, whose data is base64. */
std::optional<KVFrame> recordedJsonFrame(std::string_view message, std::string_view schema);

}  // namespace recorded_robot

#endif

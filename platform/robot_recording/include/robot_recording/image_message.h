#ifndef ROBOT_RECORDING_IMAGE_MESSAGE_H
#define ROBOT_RECORDING_IMAGE_MESSAGE_H

#include <robaxi/kv_frame.h>

#include <robot_recording/message_schema.h>
#include <string>

namespace robot_recording {

/** @name The well-known messages for pictures, in protobuf */
///@{
constexpr const char* a_compressedImage = "foxglove.CompressedImage";
constexpr const char* a_compressedVideo = "foxglove.CompressedVideo";
constexpr const char* a_rawImage = "foxglove.RawImage";
///@}

/** Returns the schema for frames of a format; with an empty name if the format is unknown. */
const MessageSchema& imageSchema(KVPixelFormat format);

/** Returns a frame of a known format as a message of imageSchema(). */
std::string imageMessage(const KVFrame& frame, const std::string& camera);

}  // namespace robot_recording

#endif
